#include "app/ui/home_ribbon.h"

#include "app/ui/ribbon_bar.h"
#include "core/settings.h"

#include <QComboBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QLineEdit>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>

namespace {

void FillCombo(QComboBox* combo, const std::vector<SComboItem>& items) {
    for (const SComboItem& item : items) {
        combo->addItem(item.text, item.data);
    }
}

QComboBox* MakeCombo(QWidget* parent, const char* objectName) {
    auto* combo = new QComboBox(parent);
    combo->setObjectName(objectName);
    return combo;
}

} // namespace

SHomeRibbon MakeHomeRibbon(CRibbonBar& ribbon) {
    SHomeRibbon home;
    QWidget* category = ribbon.AddCategory("Home");

    QGroupBox* enterPanel = ribbon.AddPanel(category, SHomeRibbon::kEnterPanelCaption);
    home.symbolCombo = MakeCombo(enterPanel, "SymbolCombo");
    home.symbolCombo->setEditable(true);
    home.symbolCombo->setInsertPolicy(QComboBox::NoInsert);
    home.symbolCombo->setMinimumWidth(170);
    home.symbolCombo->lineEdit()->setMaxLength(SHomeRibbon::kMaxSymbolLength);
    home.symbolCombo->lineEdit()->setPlaceholderText("Symbol");
    home.symbolCombo->setToolTip("Type a symbol and press Enter to chart it");
    auto* enterLayout = new QVBoxLayout(enterPanel);
    enterLayout->addWidget(home.symbolCombo);
    enterLayout->addStretch(1);

    QGroupBox* dataPanel = ribbon.AddPanel(category, "Data Request");
    home.typeCombo = MakeCombo(dataPanel, "RequestTypeCombo");
    home.intervalCombo = MakeCombo(dataPanel, "IntervalCombo");
    auto* dataLayout = new QFormLayout(dataPanel);
    dataLayout->addRow("Type", home.typeCombo);
    dataLayout->addRow("Interval", home.intervalCombo);

    QGroupBox* stylePanel = ribbon.AddPanel(category, "Chart");
    home.styleCombo = MakeCombo(stylePanel, "ChartStyleCombo");
    auto* styleLayout = new QFormLayout(stylePanel);
    styleLayout->addRow("Style", home.styleCombo);

    QGroupBox* searchPanel = ribbon.AddPanel(category, "Symbol Search");
    home.searchBox = new QLineEdit(searchPanel);
    home.searchBox->setObjectName("SearchBox");
    home.searchBox->setPlaceholderText("Search text, then Enter");
    home.searchBox->setMinimumWidth(180);
    home.searchModeCombo = MakeCombo(searchPanel, "SearchModeCombo");
    home.searchModeCombo->addItems({"Search By Symbol", "Search By Description"});
    auto* searchLayout = new QVBoxLayout(searchPanel);
    searchLayout->addWidget(home.searchBox);
    searchLayout->addWidget(home.searchModeCombo);
    searchLayout->addStretch(1);

    QGroupBox* viewPanel = ribbon.AddPanel(category, "View");
    home.zoomInButton = ribbon.AddButton(viewPanel, "Zoom In", "ZoomInButton");
    home.zoomOutButton = ribbon.AddButton(viewPanel, "Zoom Out", "ZoomOutButton");
    home.printButton = ribbon.AddButton(viewPanel, "Print...", "PrintButton");
    home.exportImageButton = ribbon.AddButton(viewPanel, "Export Image...", "ExportImageButton");
    home.newWindowButton = ribbon.AddButton(viewPanel, "New Window", "NewWindowButton");
    home.newWindowButton->setToolTip("Open this chart in another window (Ctrl+N)");

    QGroupBox* appsPanel = ribbon.AddPanel(category, "Applications");
    home.applicationsButton = new QToolButton(appsPanel);
    home.applicationsButton->setObjectName("ApplicationLinks");
    home.applicationsButton->setText("Kestrel Apps");
    home.applicationsButton->setPopupMode(QToolButton::InstantPopup);
    home.applicationsButton->setToolButtonStyle(Qt::ToolButtonTextOnly);
    auto* appsLayout = new QVBoxLayout(appsPanel);
    appsLayout->addWidget(home.applicationsButton);
    appsLayout->addStretch(1);

    QGroupBox* connectionPanel = ribbon.AddPanel(category, "Connection");
    home.reconnectButton =
        ribbon.AddButton(connectionPanel, SHomeRibbon::kReconnectCaption, "ReconnectButton");
    home.reconnectButton->setToolTip(
        "Connect to the market-data service again (starting it when it is gone) and reload the "
        "chart");

    QGroupBox* settingsPanel = ribbon.AddPanel(category, "Settings");
    home.dataSettingsButton =
        ribbon.AddButton(settingsPanel, SHomeRibbon::kDataSettingsCaption, "DataSettingsButton");
    home.chartSettingsButton =
        ribbon.AddButton(settingsPanel, "Chart Settings...", "ChartSettingsButton");
    home.alertsButton = ribbon.AddButton(settingsPanel, "Alerts...", "AlertsButton");

    ribbon.FinishCategory(category);
    return home;
}

void FillHomeRibbon(const SHomeRibbon& home, const CSettings& settings,
                    const std::vector<std::string>& recentSymbols,
                    const std::string& currentSymbol) {
    FillCombo(home.typeCombo, RequestTypeItems());
    FillCombo(home.intervalCombo, IntervalItems());
    FillCombo(home.styleCombo, ChartStyleItems());
    home.typeCombo->setCurrentIndex(
        std::max(0, FindComboData(RequestTypeItems(), settings.GetInt(keys::kRequestDataType))));
    const int interval = settings.GetInt(keys::kRequestIntervalIndex);
    home.intervalCombo->setCurrentIndex(
        interval >= 0 && interval < home.intervalCombo->count() ? interval : 0);
    home.styleCombo->setCurrentIndex(std::max(
        0, FindComboData(ChartStyleItems(), settings.GetInt(keys::kCandlePriceChartStyle))));
    home.searchModeCombo->setCurrentIndex(settings.GetInt(keys::kSearchType) == 1 ? 1 : 0);

    for (const std::string& symbol : recentSymbols) {
        home.symbolCombo->addItem(QString::fromStdString(symbol));
    }
    home.symbolCombo->setEditText(QString::fromStdString(currentSymbol));
}
