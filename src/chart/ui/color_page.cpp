#include "chart/ui/color_page.h"

#include "chart/ui/button_for_color.h"
#include "core/settings.h"

#include <QComboBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QPushButton>
#include <QScreen>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include <spdlog/spdlog.h>

namespace {

// Object names of the slot buttons, in EColorSlot order.
constexpr std::array<const char*, CColorPageLogic::kSlotCount> kButtonNames{
    "BackgroundColorButton", "GridColorButton",          "PriceDataColorButton",
    "PriceLabelColorButton", "PriceUpCandleColorButton", "PriceDownCandleColorButton",
    "PriceBarColorButton"};

int PrimaryScreenDepth() {
    const QScreen* screen = QGuiApplication::primaryScreen();
    return screen != nullptr ? screen->depth() : 24;
}

} // namespace

CColorPage::CColorPage(CSettings& settings, QWidget* parent, int screenDepth)
    : CSettingPage(parent), m_settings(settings), m_logic(settings),
      m_screenDepth(screenDepth > 0 ? screenDepth : PrimaryScreenDepth()) {
    setObjectName("ColorPage");
    const bool full = CButtonForColor::FullChooserForDepth(m_screenDepth);
    auto makeButton = [full](QWidget* group, const char* name) {
        auto* button = new CButtonForColor(group);
        button->setObjectName(name);
        button->SetFullChooser(full);
        return button;
    };

    auto* chartGroup = new QGroupBox("Chart", this);
    chartGroup->setObjectName("ChartColorGroup");
    auto* chartForm = new QFormLayout(chartGroup);
    for (int i = 0; i < CColorPageLogic::kSlotCount; ++i) {
        const auto slot = static_cast<EColorSlot>(i);
        CButtonForColor* button = makeButton(chartGroup, kButtonNames[static_cast<std::size_t>(i)]);
        button->SetColor(m_logic.Color(slot));
        chartForm->addRow(QString("%1:").arg(CColorPageLogic::SlotName(slot)), button);
        m_buttons[static_cast<std::size_t>(i)] = button;
    }

    auto* studyGroup = new QGroupBox("Studies", this);
    studyGroup->setObjectName("StudyColorGroup");
    m_studyType = new QComboBox(studyGroup);
    m_studyType->setObjectName("StudyTypeSelector");
    for (int type = 0; type < CColorPageLogic::kStudyTypeCount; ++type) {
        m_studyType->addItem(CColorPageLogic::StudyTypeName(type));
    }
    m_studyData = makeButton(studyGroup, "StudyDataColorButton");
    m_studyLabel = makeButton(studyGroup, "StudyLabelColorButton");
    auto* studyForm = new QFormLayout(studyGroup);
    studyForm->addRow("S&tudy:", m_studyType);
    studyForm->addRow("Data:", m_studyData);
    studyForm->addRow("Label:", m_studyLabel);

    auto* presetGroup = new QGroupBox("Color Set", this);
    presetGroup->setObjectName("ColorPresetGroup");
    m_lightPreset = new QPushButton("&Light", presetGroup);
    m_lightPreset->setObjectName("LightPresetButton");
    m_darkPreset = new QPushButton("Dar&k", presetGroup);
    m_darkPreset->setObjectName("DarkPresetButton");
    auto* presetRow = new QHBoxLayout(presetGroup);
    presetRow->addWidget(m_lightPreset);
    presetRow->addWidget(m_darkPreset);
    presetRow->addStretch(1);
    connect(m_lightPreset, &QPushButton::clicked, this,
            [this] { ApplyPreset(EColorPreset::Light); });
    connect(m_darkPreset, &QPushButton::clicked, this, [this] { ApplyPreset(EColorPreset::Dark); });

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(presetGroup);
    layout->addWidget(chartGroup);
    layout->addWidget(studyGroup);
    layout->addStretch(1);

    ShowStudyType();
    connect(m_studyType, &QComboBox::currentIndexChanged, this,
            [this](int index) { SelectStudyType(index); });
}

QString CColorPage::Title() const {
    return QStringLiteral("Colors");
}

CButtonForColor* CColorPage::Button(EColorSlot slot) const {
    const int index = static_cast<int>(slot);
    return index >= 0 && index < CColorPageLogic::kSlotCount
               ? m_buttons[static_cast<std::size_t>(index)]
               : nullptr;
}

void CColorPage::ReadButtons() {
    for (int i = 0; i < CColorPageLogic::kSlotCount; ++i) {
        m_logic.SetColor(static_cast<EColorSlot>(i),
                         m_buttons[static_cast<std::size_t>(i)]->Color());
    }
    m_logic.SetStudyDataColor(m_studyData->Color());
    m_logic.SetStudyLabelColor(m_studyLabel->Color());
}

void CColorPage::ShowStudyType() {
    {
        const QSignalBlocker block(m_studyType);
        m_studyType->setCurrentIndex(m_logic.StudyType());
    }
    m_studyData->SetColor(m_logic.StudyDataColor());
    m_studyLabel->SetColor(m_logic.StudyLabelColor());
}

void CColorPage::SelectStudyType(int type) {
    if (!CColorPageLogic::IsStudyType(type)) {
        ShowStudyType();
        return;
    }
    // The shown type keeps what its buttons hold before the buttons show the next one.
    ReadButtons();
    m_logic.SelectStudyType(type);
    ShowStudyType();
}

void CColorPage::ApplyPreset(EColorPreset preset) {
    m_logic.ApplyPreset(preset);
    for (int i = 0; i < CColorPageLogic::kSlotCount; ++i) {
        m_buttons[static_cast<std::size_t>(i)]->SetColor(m_logic.Color(static_cast<EColorSlot>(i)));
    }
    ShowStudyType();
}

const CColorPageLogic& CColorPage::Colors() {
    ReadButtons();
    return m_logic;
}

bool CColorPage::Check() {
    return true;
}

void CColorPage::Store() {
    ReadButtons();
    m_logic.Store(m_settings);
    spdlog::info("Colour settings applied");
}
