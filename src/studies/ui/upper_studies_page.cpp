#include "studies/ui/upper_studies_page.h"

#include "chart/ui/button_for_color.h"
#include "core/settings.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QGuiApplication>
#include <QLabel>
#include <QLineEdit>
#include <QScreen>
#include <QSpinBox>
#include <QVBoxLayout>

#include <spdlog/spdlog.h>

#include <algorithm>

namespace {

int PrimaryScreenDepth() {
    const QScreen* screen = QGuiApplication::primaryScreen();
    return screen != nullptr ? screen->depth() : 24;
}

QSpinBox* MakePeriodSpin(QWidget* parent, const QString& name) {
    auto* spin = new QSpinBox(parent);
    spin->setObjectName(name);
    spin->setRange(CUpperPageLogic::kMinPeriod, CUpperPageLogic::kMaxPeriod);
    return spin;
}

// The bands' period field: its arrows step within 2 to 999 like the averages' spin controls, but
// any number may be typed, so that OK can tell the user that it is out of range.
class CTypedPeriodSpin : public QSpinBox {
public:
    explicit CTypedPeriodSpin(QWidget* parent) : QSpinBox(parent) { setRange(0, kTypedMax); }

    void stepBy(int steps) override {
        setValue(
            std::clamp(value() + steps, CUpperPageLogic::kMinPeriod, CUpperPageLogic::kMaxPeriod));
        selectAll();
    }

protected:
    StepEnabled stepEnabled() const override {
        StepEnabled enabled = StepNone;
        if (value() < CUpperPageLogic::kMaxPeriod) {
            enabled |= StepUpEnabled;
        }
        if (value() > CUpperPageLogic::kMinPeriod) {
            enabled |= StepDownEnabled;
        }
        return enabled;
    }

private:
    static constexpr int kTypedMax = 99999;
};

std::size_t Slot(int number) {
    return static_cast<std::size_t>(number - 1);
}

} // namespace

CUpperStudiesSettingPage::CUpperStudiesSettingPage(IPrompt& prompt, CSettings& settings,
                                                   QWidget* parent, int screenDepth)
    : CSettingPage(parent), m_prompt(prompt), m_settings(settings) {
    setObjectName("UpperStudiesSettingPage");
    const bool full =
        CButtonForColor::FullChooserForDepth(screenDepth > 0 ? screenDepth : PrimaryScreenDepth());
    auto makeButton = [full](QWidget* group, const QString& name) {
        auto* button = new CButtonForColor(group);
        button->setObjectName(name);
        button->SetFullChooser(full);
        return button;
    };

    auto* averages = new QGroupBox("Moving averages", this);
    averages->setObjectName("MovingAveragesGroup");
    m_masShow = new QCheckBox("&Show moving averages", averages);
    m_masShow->setObjectName("ShowMovingAveragesCheck");
    m_exponential = new QCheckBox("&Exponential", averages);
    m_exponential->setObjectName("ExponentialCheck");
    auto* averageGrid = new QGridLayout(averages);
    averageGrid->addWidget(m_masShow, 0, 0, 1, 3);
    averageGrid->addWidget(new QLabel("Period:", averages), 1, 1);
    averageGrid->addWidget(new QLabel("Color:", averages), 1, 2);
    for (int number = 1; number <= 3; ++number) {
        const QString prefix = QString("MovingAverage%1").arg(number);
        auto* check = new QCheckBox(QString("Average &%1").arg(number), averages);
        check->setObjectName(prefix + "Check");
        m_select[Slot(number)] = check;
        m_points[Slot(number)] = MakePeriodSpin(averages, prefix + "Spin");
        m_colors[Slot(number)] = makeButton(averages, prefix + "ColorButton");
        averageGrid->addWidget(check, number + 1, 0);
        averageGrid->addWidget(m_points[Slot(number)], number + 1, 1);
        averageGrid->addWidget(m_colors[Slot(number)], number + 1, 2);
    }
    averageGrid->addWidget(m_exponential, 5, 0, 1, 3);
    averageGrid->setColumnStretch(3, 1);

    auto* bands = new QGroupBox("Bollinger bands", this);
    bands->setObjectName("BollingerBandsGroup");
    m_bandsShow = new QCheckBox("Show &Bollinger bands", bands);
    m_bandsShow->setObjectName("ShowBandsCheck");
    m_bandsColor = makeButton(bands, "BandsColorButton");
    m_bandsPeriod = new CTypedPeriodSpin(bands);
    m_bandsPeriod->setObjectName("BandsPeriodSpin");
    m_deviations = new QLineEdit(bands);
    m_deviations->setObjectName("DeviationsEdit");
    auto* bandsGrid = new QGridLayout(bands);
    bandsGrid->addWidget(m_bandsShow, 0, 0, 1, 2);
    auto* periodLabel = new QLabel("&Period:", bands);
    periodLabel->setBuddy(m_bandsPeriod);
    auto* deviationsLabel = new QLabel("No. of &Deviations:", bands);
    deviationsLabel->setBuddy(m_deviations);
    bandsGrid->addWidget(periodLabel, 1, 0);
    bandsGrid->addWidget(m_bandsPeriod, 1, 1);
    bandsGrid->addWidget(deviationsLabel, 2, 0);
    bandsGrid->addWidget(m_deviations, 2, 1);
    bandsGrid->addWidget(new QLabel("Color:", bands), 3, 0);
    bandsGrid->addWidget(m_bandsColor, 3, 1);
    bandsGrid->setColumnStretch(2, 1);

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(averages);
    layout->addWidget(bands);
    layout->addStretch(1);

    Show(SUpperStudySettings::Read(m_settings));
    m_shown = Values();
    connect(m_deviations, &QLineEdit::textChanged, this, [this] { FilterDeviations(); });
}

QString CUpperStudiesSettingPage::Title() const {
    return QStringLiteral("Upper Studies");
}

QCheckBox* CUpperStudiesSettingPage::AverageCheck(int number) const {
    return number >= 1 && number <= 3 ? m_select[Slot(number)] : nullptr;
}

QSpinBox* CUpperStudiesSettingPage::AverageSpin(int number) const {
    return number >= 1 && number <= 3 ? m_points[Slot(number)] : nullptr;
}

CButtonForColor* CUpperStudiesSettingPage::AverageColorButton(int number) const {
    return number >= 1 && number <= 3 ? m_colors[Slot(number)] : nullptr;
}

void CUpperStudiesSettingPage::Show(const SUpperStudySettings& settings) {
    m_masShow->setChecked(settings.masShow);
    for (int number = 1; number <= 3; ++number) {
        m_select[Slot(number)]->setChecked(settings.select[Slot(number)]);
        m_points[Slot(number)]->setValue(settings.points[Slot(number)]);
        m_colors[Slot(number)]->SetColor(settings.colors[Slot(number)]);
    }
    m_exponential->setChecked(settings.exponential);
    m_bandsShow->setChecked(settings.bandsShow);
    m_bandsColor->SetColor(settings.bandsColor);
    m_bandsPeriod->setValue(settings.bandsPeriod);
    m_deviations->setText(
        QString::fromStdString(CUpperPageLogic::FormatDeviations(settings.bandsDeviations)));
}

void CUpperStudiesSettingPage::FilterDeviations() {
    const QString text = m_deviations->text();
    const QString kept =
        QString::fromStdString(CUpperPageLogic::FilterDeviations(text.toStdString()));
    if (kept != text) {
        // Writing back emits textChanged again, with a text the filter keeps whole.
        m_deviations->setText(kept);
    }
    m_deviations->setCursorPosition(static_cast<int>(m_deviations->text().size()));
}

SUpperPageValues CUpperStudiesSettingPage::Values() const {
    SUpperPageValues values;
    SUpperStudySettings& s = values.settings;
    s.masShow = m_masShow->isChecked();
    for (int number = 1; number <= 3; ++number) {
        s.select[Slot(number)] = m_select[Slot(number)]->isChecked();
        s.points[Slot(number)] = m_points[Slot(number)]->value();
        s.colors[Slot(number)] = m_colors[Slot(number)]->Color();
    }
    s.exponential = m_exponential->isChecked();
    s.bandsShow = m_bandsShow->isChecked();
    s.bandsColor = m_bandsColor->Color();
    s.bandsPeriod = m_bandsPeriod->value();
    s.bandsDeviations = m_deviations->text().toDouble();
    values.bandsPeriodText = m_bandsPeriod->cleanText().toStdString();
    values.deviationsText = m_deviations->text().toStdString();
    return values;
}

bool CUpperStudiesSettingPage::Check() {
    const SUpperPageValues values = Values();
    if (const char* refusal = CUpperPageLogic::Refusal(values)) {
        // The field the message is about takes the focus.
        (refusal == CUpperPageLogic::kPeriodRangeText ? static_cast<QWidget*>(m_bandsPeriod)
                                                      : m_deviations)
            ->setFocus();
    }
    return CUpperPageLogic::Check(m_prompt, values);
}

void CUpperStudiesSettingPage::Store() {
    const SUpperPageValues values = Values();
    CUpperPageLogic::Store(m_settings, values, m_shown);
    m_shown = values;
    spdlog::info("Upper study settings applied");
}
