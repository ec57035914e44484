#include "chart/ui/display_settings_page.h"

#include "chart/color_page_logic.h"
#include "chart/display_range.h"
#include "chart/line_style.h"
#include "chart/ui/line_picture_ctrl.h"
#include "chart/value_scale.h"
#include "core/settings.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QRadioButton>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QVBoxLayout>

#include <spdlog/spdlog.h>

namespace {

QComboBox* MakeList(QWidget* parent, const char* name) {
    auto* list = new QComboBox(parent);
    list->setObjectName(name);
    return list;
}

QSpinBox* MakeSpin(QWidget* parent, const char* name, int minimum, int maximum) {
    auto* spin = new QSpinBox(parent);
    spin->setObjectName(name);
    spin->setRange(minimum, maximum);
    return spin;
}

} // namespace

CDisplaySettingsPage::CDisplaySettingsPage(IPrompt& prompt, CSettings& settings, QWidget* parent)
    : CSettingPage(parent), m_prompt(prompt), m_settings(settings) {
    setObjectName("DisplaySettingsPage");
    MakeControls();
    Show(CDisplayPageLogic::Load(m_settings));
    m_shown = Values();
}

QString CDisplaySettingsPage::Title() const {
    return QStringLiteral("Display");
}

void CDisplaySettingsPage::MakeControls() {
    m_points = MakeList(this, "DisplayPointsList");
    for (int points : DisplayPointsTable) {
        m_points->addItem(QString::number(points));
    }
    m_showGrid = new QCheckBox("Show &Grid", this);
    m_showGrid->setObjectName("ShowGridCheck");
    m_gridStyle = MakeList(this, "GridStyleList");
    for (int style = 0; style < kLineStyleCount; ++style) {
        m_gridStyle->addItem(LineStyleName(style));
    }
    m_gridPreview = new CLinePictureCtrl(this);
    m_gridPreview->setObjectName("GridStylePreview");
    m_chartType = MakeList(this, "ChartTypeList");
    for (int style = 0; style < CDisplayPageLogic::kChartStyleCount; ++style) {
        m_chartType->addItem(CDisplayPageLogic::ChartStyleName(style));
    }
    m_labelSide = MakeList(this, "ValueLabelSideList");
    for (int side = 0; side < CDisplayPageLogic::kValueLabelSideCount; ++side) {
        m_labelSide->addItem(CDisplayPageLogic::ValueLabelSideName(side));
    }
    m_priceScale = MakeList(this, "PriceScaleList");
    for (int scale = 0; scale < kPriceScaleCount; ++scale) {
        m_priceScale->addItem(PriceScaleName(static_cast<EPriceScale>(scale)));
    }
    m_showPriceBar = new QCheckBox("Show &Price Bar", this);
    m_showPriceBar->setObjectName("ShowPriceBarCheck");
    m_showLastPrice = new QCheckBox("Show &Last Price", this);
    m_showLastPrice->setObjectName("ShowLastPriceCheck");
    m_fixedY = new QCheckBox("&Fixed Y Axis Scaling", this);
    m_fixedY->setObjectName("FixedYAxisScalingCheck");

    auto* gridRow = new QHBoxLayout;
    gridRow->addWidget(m_gridStyle);
    gridRow->addWidget(m_gridPreview, 1);

    auto* chartGroup = new QGroupBox("Chart", this);
    chartGroup->setObjectName("DisplayChartGroup");
    auto* form = new QFormLayout(chartGroup);
    form->addRow("No. of &Display Pts.:", m_points);
    form->addRow(QString(), m_showGrid);
    auto* gridLabel = new QLabel("Grid &Style:", chartGroup);
    gridLabel->setBuddy(m_gridStyle);
    form->addRow(gridLabel, gridRow);
    form->addRow("&Candle Price Chart Style:", m_chartType);
    form->addRow("&Y Axis Orientation:", m_labelSide);
    form->addRow("Price sc&ale:", m_priceScale);
    form->addRow(QString(), m_showPriceBar);
    form->addRow(QString(), m_showLastPrice);
    form->addRow(QString(), m_fixedY);

    auto* scrollGroup = new QGroupBox("Scrolling", this);
    scrollGroup->setObjectName("ScrollingGroup");
    m_byItems = new QRadioButton("By &items:", scrollGroup);
    m_byItems->setObjectName("ScrollByItemsChoice");
    m_byPercent = new QRadioButton("By p&ercent:", scrollGroup);
    m_byPercent->setObjectName("ScrollByPercentChoice");
    auto* choices = new QButtonGroup(this);
    choices->addButton(m_byItems);
    choices->addButton(m_byPercent);
    m_items = MakeSpin(scrollGroup, "ScrollItemsSpin", CDisplayPageLogic::kMinScrollItems,
                       CDisplayPageLogic::kMaxScrollItems);
    m_percent = MakeSpin(scrollGroup, "ScrollPercentSpin", CDisplayPageLogic::kMinScrollPercent,
                         CDisplayPageLogic::kMaxScrollPercent);
    auto* scrollGrid = new QGridLayout(scrollGroup);
    scrollGrid->addWidget(m_byItems, 0, 0);
    scrollGrid->addWidget(m_items, 0, 1);
    scrollGrid->addWidget(m_byPercent, 1, 0);
    scrollGrid->addWidget(m_percent, 1, 1);
    scrollGrid->addWidget(new QLabel("bars per step", scrollGroup), 0, 2);
    scrollGrid->addWidget(new QLabel("% of the displayed points per step", scrollGroup), 1, 2);
    scrollGrid->setColumnStretch(3, 1);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(chartGroup);
    layout->addWidget(scrollGroup);
    layout->addStretch(1);

    // The grid setting takes effect at once; the caller may redraw before the sheet is applied.
    connect(m_showGrid, &QCheckBox::toggled, this, [this](bool checked) {
        CDisplayPageLogic::SetShowGrid(m_settings, checked);
        UpdateEnabling();
        emit showGridChanged(checked);
    });
    connect(m_gridStyle, &QComboBox::currentIndexChanged, this,
            [this](int index) { m_gridPreview->SetLineStyle(index); });
    connect(m_byItems, &QRadioButton::toggled, this, [this](bool) { UpdateEnabling(); });
}

void CDisplaySettingsPage::Show(const SDisplayPageValues& values) {
    const QSignalBlocker block(m_showGrid);
    m_points->setCurrentIndex(values.pointsIndex);
    m_showGrid->setChecked(values.showGrid);
    m_gridStyle->setCurrentIndex(values.gridStyle);
    m_gridPreview->SetLineStyle(values.gridStyle);
    m_gridPreview->SetColor(CColorPageLogic(m_settings).Color(EColorSlot::Grid));
    m_chartType->setCurrentIndex(values.chartStyle);
    m_labelSide->setCurrentIndex(values.valueLabelSide);
    m_showPriceBar->setChecked(values.showPriceBar);
    m_showLastPrice->setChecked(values.showLastPrice);
    m_fixedY->setChecked(values.fixedYAxisScaling);
    m_priceScale->setCurrentIndex(values.priceScale);
    (values.scrollByItems ? m_byItems : m_byPercent)->setChecked(true);
    m_items->setValue(values.scrollItems);
    m_percent->setValue(values.scrollPercent);
    UpdateEnabling();
}

void CDisplaySettingsPage::UpdateEnabling() {
    const bool grid = m_showGrid->isChecked();
    m_gridStyle->setEnabled(grid);
    m_gridPreview->setEnabled(grid);
    m_items->setEnabled(m_byItems->isChecked());
    m_percent->setEnabled(!m_byItems->isChecked());
}

SDisplayPageValues CDisplaySettingsPage::Values() const {
    SDisplayPageValues values;
    values.pointsIndex = m_points->currentIndex();
    values.showGrid = m_showGrid->isChecked();
    values.gridStyle = m_gridStyle->currentIndex();
    values.chartStyle = m_chartType->currentIndex();
    values.valueLabelSide = m_labelSide->currentIndex();
    values.showPriceBar = m_showPriceBar->isChecked();
    values.showLastPrice = m_showLastPrice->isChecked();
    values.fixedYAxisScaling = m_fixedY->isChecked();
    values.priceScale = m_priceScale->currentIndex();
    values.scrollByItems = m_byItems->isChecked();
    values.scrollItems = m_items->value();
    values.scrollPercent = m_percent->value();
    return values;
}

bool CDisplaySettingsPage::Check() {
    return CDisplayPageLogic::Check(m_prompt, Values());
}

void CDisplaySettingsPage::Store() {
    const SDisplayPageValues values = Values();
    CDisplayPageLogic::Store(m_settings, values, m_shown);
    m_shown = values;
    spdlog::info("Display settings applied");
}
