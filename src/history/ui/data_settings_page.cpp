#include "history/ui/data_settings_page.h"

#include "core/prompt.h"
#include "core/settings.h"
#include "history/request_settings.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QDate>
#include <QDateEdit>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QTime>
#include <QTimeEdit>
#include <QVBoxLayout>

#include <spdlog/spdlog.h>

namespace {

SPageDate ToPageDate(const QDate& date) {
    return {date.year(), date.month(), date.day()};
}
QDate ToQDate(const SPageDate& date) {
    return {date.year, date.month, date.day};
}
SPageTime ToPageTime(const QTime& time) {
    return {time.hour(), time.minute(), time.second()};
}
QTime ToQTime(const SPageTime& time) {
    return {time.hour, time.minute, time.second};
}

QDateEdit* MakeDateEdit(QWidget* parent, const char* name) {
    auto* edit = new QDateEdit(parent);
    edit->setObjectName(name);
    edit->setCalendarPopup(true);
    edit->setDisplayFormat("yyyy-MM-dd");
    edit->setDateRange(QDate(1900, 1, 1), QDate(9999, 12, 31));
    // Room for the whole date beside the popup arrow.
    edit->setMinimumWidth(edit->fontMetrics().horizontalAdvance(QStringLiteral("0000-00-00")) + 48);
    return edit;
}

QTimeEdit* MakeTimeEdit(QWidget* parent, const char* name) {
    auto* edit = new QTimeEdit(parent);
    edit->setObjectName(name);
    edit->setDisplayFormat("HH:mm:ss");
    return edit;
}

} // namespace

CDataSettingsPage::CDataSettingsPage(IPrompt& prompt, CSettings& settings, QWidget* parent)
    : CSettingPage(parent), m_prompt(prompt), m_table(settings),
      m_settings(std::make_unique<SRequestSettings>()) {
    setObjectName("DataSettingsPage");
    const QDate today = QDate::currentDate();
    m_settings->Load(m_table, CDataPageLogic::FormatDate(ToPageDate(today)));
    m_logic = std::make_unique<CDataPageLogic>(m_prompt, *m_settings, ToPageDate(today));
    MakeControls();

    Show(m_table.GetInt(keys::kRequestDataType));
    if (m_shown < 0) {
        // The stored data type was not one (the user has been told): the page starts on Ticks.
        Show(kTicks);
    }
}

CDataSettingsPage::~CDataSettingsPage() = default;

QString CDataSettingsPage::Title() const {
    return QStringLiteral("Data");
}

void CDataSettingsPage::MakeControls() {
    m_dataType = new QComboBox(this);
    m_dataType->setObjectName("DataTypeSelector");
    for (int dataType = 0; dataType < CDataPageLogic::kDataTypeCount; ++dataType) {
        m_dataType->addItem(QString::fromStdString(CDataPageLogic::DataTypeName(dataType)),
                            dataType);
    }
    auto* selectorRow = new QHBoxLayout;
    auto* selectorLabel = new QLabel("Data &type:", this);
    selectorLabel->setBuddy(m_dataType);
    selectorRow->addWidget(selectorLabel);
    selectorRow->addWidget(m_dataType);
    selectorRow->addStretch(1);

    m_group = new QGroupBox(this);
    m_group->setObjectName("DataTypeGroup");

    m_byDatapoints = new QRadioButton("Data&points", m_group);
    m_byDatapoints->setObjectName("ByDatapoints");
    m_byDays = new QRadioButton("D&ays", m_group);
    m_byDays->setObjectName("ByDays");
    m_byDateRange = new QRadioButton("Date &range", m_group);
    m_byDateRange->setObjectName("ByDateRange");
    m_choices = new QButtonGroup(this);
    m_choices->addButton(m_byDatapoints, static_cast<int>(ERequestChoice::Datapoints));
    m_choices->addButton(m_byDays, static_cast<int>(ERequestChoice::Days));
    m_choices->addButton(m_byDateRange, static_cast<int>(ERequestChoice::DateRange));

    m_datapoints = new QLineEdit(m_group);
    m_datapoints->setObjectName("DatapointsEdit");
    m_datapoints->setMaxLength(12);
    m_days = new QSpinBox(m_group);
    m_days->setObjectName("DaysSpin");
    m_days->setRange(0, CDataPageLogic::kMaxDays);

    m_beginDate = MakeDateEdit(m_group, "BeginDate");
    m_beginTime = MakeTimeEdit(m_group, "BeginTime");
    m_endDate = MakeDateEdit(m_group, "EndDate");
    m_endTime = MakeTimeEdit(m_group, "EndTime");

    m_filter = new QCheckBox("&Filter by time of day", m_group);
    m_filter->setObjectName("FilterCheck");
    m_beginFilterTime = MakeTimeEdit(m_group, "BeginFilterTime");
    m_endFilterTime = MakeTimeEdit(m_group, "EndFilterTime");

    m_extended = new QCheckBox("Include &extended and other trades", m_group);
    m_extended->setObjectName("ExtendedTradesCheck");

    auto* grid = new QGridLayout(m_group);
    grid->setColumnStretch(4, 1);
    int row = 0;
    grid->addWidget(m_byDatapoints, row, 0);
    grid->addWidget(m_datapoints, row, 1, 1, 2);
    ++row;
    grid->addWidget(m_byDays, row, 0);
    grid->addWidget(m_days, row, 1);
    ++row;
    grid->addWidget(m_byDateRange, row, 0);
    ++row;
    grid->addWidget(new QLabel("Begin:", m_group), row, 0, Qt::AlignRight);
    grid->addWidget(m_beginDate, row, 1);
    grid->addWidget(m_beginTime, row, 2);
    ++row;
    grid->addWidget(new QLabel("End:", m_group), row, 0, Qt::AlignRight);
    grid->addWidget(m_endDate, row, 1);
    grid->addWidget(m_endTime, row, 2);
    ++row;
    grid->setRowMinimumHeight(row++, 8);
    grid->addWidget(m_filter, row, 0, 1, 3);
    ++row;
    grid->addWidget(new QLabel("From:", m_group), row, 0, Qt::AlignRight);
    grid->addWidget(m_beginFilterTime, row, 1);
    ++row;
    grid->addWidget(new QLabel("To:", m_group), row, 0, Qt::AlignRight);
    grid->addWidget(m_endFilterTime, row, 1);
    ++row;
    grid->setRowMinimumHeight(row++, 8);
    grid->addWidget(m_extended, row, 0, 1, 3);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(selectorRow);
    layout->addWidget(m_group);
    layout->addStretch(1);

    connect(m_dataType, &QComboBox::currentIndexChanged, this, [this](int index) {
        if (!m_switching) {
            SelectDataType(m_dataType->itemData(index).toInt());
        }
    });
    connect(m_choices, &QButtonGroup::idToggled, this, [this](int, bool) { UpdateEnabling(); });
    connect(m_filter, &QCheckBox::toggled, this, [this](bool) { UpdateEnabling(); });
}

QRadioButton* CDataSettingsPage::Choice(ERequestChoice choice) const {
    switch (choice) {
    case ERequestChoice::Datapoints:
        return m_byDatapoints;
    case ERequestChoice::Days:
        return m_byDays;
    case ERequestChoice::DateRange:
        return m_byDateRange;
    }
    return nullptr;
}

void CDataSettingsPage::SelectDataType(int dataType) {
    if (dataType == m_shown) {
        return;
    }
    StoreShown();
    Show(dataType);
}

void CDataSettingsPage::Show(int dataType) {
    const std::optional<SDataPageFields> fields = m_logic->Show(dataType);
    if (!fields) {
        // Not a data type: the page stays as it was, the selector on the data type shown.
        const QSignalBlocker block(m_dataType);
        m_dataType->setCurrentIndex(m_dataType->findData(m_shown));
        return;
    }
    m_shown = dataType;
    {
        const QSignalBlocker block(m_dataType);
        m_dataType->setCurrentIndex(m_dataType->findData(dataType));
    }
    m_group->setTitle(QString::fromStdString(CDataPageLogic::DataTypeName(dataType)));

    m_datapoints->setText(QString::fromStdString(fields->datapoints));
    m_days->setValue(fields->days);
    m_filter->setChecked(fields->filterOn);
    m_extended->setChecked(fields->extendedTrades);
    m_beginDate->setDate(ToQDate(fields->beginDate));
    m_endDate->setDate(ToQDate(fields->endDate));
    m_beginTime->setTime(ToQTime(fields->beginTime));
    m_endTime->setTime(ToQTime(fields->endTime));
    m_beginFilterTime->setTime(ToQTime(fields->beginFilterTime));
    m_endFilterTime->setTime(ToQTime(fields->endFilterTime));

    const SChoiceEnabling choices = CDataPageLogic::EnabledChoices(dataType);
    m_byDatapoints->setEnabled(choices.datapoints);
    m_byDays->setEnabled(choices.days);
    m_byDateRange->setEnabled(choices.dateRange);
    Choice(fields->choice)->setChecked(true);
    UpdateEnabling();
}

ERequestChoice CDataSettingsPage::SelectedChoice() const {
    const int id = m_choices->checkedId();
    return id < 0 ? ERequestChoice::Datapoints : static_cast<ERequestChoice>(id);
}

void CDataSettingsPage::UpdateEnabling() {
    const SFieldEnabling fields =
        CDataPageLogic::EnabledFields(m_shown, SelectedChoice(), m_filter->isChecked());
    m_datapoints->setEnabled(fields.datapoints);
    m_days->setEnabled(fields.days);
    m_beginDate->setEnabled(fields.dates);
    m_endDate->setEnabled(fields.dates);
    m_beginTime->setEnabled(fields.times);
    m_endTime->setEnabled(fields.times);
    m_beginFilterTime->setEnabled(fields.filterTimes);
    m_endFilterTime->setEnabled(fields.filterTimes);
    m_extended->setEnabled(fields.extendedTrades);
}

SDataPageFields CDataSettingsPage::Fields() const {
    SDataPageFields fields;
    fields.datapoints = m_datapoints->text().toStdString();
    fields.days = m_days->value();
    fields.filterOn = m_filter->isChecked();
    fields.extendedTrades = m_extended->isChecked();
    fields.choice = SelectedChoice();
    fields.beginDate = ToPageDate(m_beginDate->date());
    fields.endDate = ToPageDate(m_endDate->date());
    fields.beginTime = ToPageTime(m_beginTime->time());
    fields.endTime = ToPageTime(m_endTime->time());
    fields.beginFilterTime = ToPageTime(m_beginFilterTime->time());
    fields.endFilterTime = ToPageTime(m_endFilterTime->time());
    return fields;
}

void CDataSettingsPage::StoreShown() {
    if (m_shown < 0) {
        return;
    }
    SDataPageFields fields = Fields();
    if (m_logic->Store(m_shown, fields)) {
        m_datapoints->setText(QString::fromStdString(fields.datapoints));
    }
}

bool CDataSettingsPage::Check() {
    // An out-of-range entry is replaced by its default with a message; nothing is refused.
    StoreShown();
    return true;
}

void CDataSettingsPage::Store() {
    StoreShown();
    if (!m_settings->Save(m_table, &m_prompt)) {
        return;
    }
    // "RequestType" mirrors the kind of the data type the ribbon has selected.
    const int dataType = m_table.GetInt(keys::kRequestDataType);
    if (CDataPageLogic::IsDataType(dataType)) {
        m_table.SetInt(keys::kRequestType,
                       m_settings->recentType[static_cast<std::size_t>(dataType)]);
    }
    spdlog::info("Data settings applied");
}
