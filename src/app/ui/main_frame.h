#pragma once

#include "app/command_line.h"
#include "app/ui/chart_bus_target.h"
#include "app/ui/home_ribbon.h"
#include "app/ui/orvane_main_frame.h"
#include "app/workspace.h"
#include "chart/chart_loader.h"
#include "feed/feed_frame.h"

#include <functional>
#include <memory>
#include <string>

class CChartBusService;
class CChartAlerts;
class CChartTrendlines;
class CTrendStore;
class CChartFormView;
class CChartHistRequest;
class CSettingSheet;
class CFeedConnections;
class CStudyPanes;
class CStatusPane;
class CSymbolSearchDlg;
class CWorkspaceBus;
class QComboBox;
class QLineEdit;
class QTimer;
class QToolButton;

// The chart application's frame: ribbon controls, the chart view, the status bar panes and the
// feed connections. Enter in the symbol box loads the symbol; Enter in the search box opens the
// symbol search. It reads and stores the application's settings table and shows its history.
class CMainFrame : public COrvaneMainFrame, public IFeedFrame, public IChartBusFrame {
    Q_OBJECT

public:
    static constexpr const char* kEnterPanelCaption = SHomeRibbon::kEnterPanelCaption;
    static constexpr int kMaxSymbolLength = SHomeRibbon::kMaxSymbolLength;
    static constexpr const char* kDataSettingsCaption = SHomeRibbon::kDataSettingsCaption;

    CMainFrame(IPrompt& prompt, CSettings& settings, CChartHistRequest& history,
               std::shared_ptr<CConfigWriterMux> writer, QWidget* parent = nullptr);
    ~CMainFrame() override;
    // Whether the application's palette, as the desktop theme gave it, is dark.
    static bool DesktopIsDark();

    // Builds the frame: ribbon and status bar, the chart view, the status panes, the feed
    // connections (launching the service), the ribbon controls. False when the frame base or
    // the chart view could not be made.
    bool Create();

    // What the service is started with, by Create() and by a reconnect; set before Create().
    void SetServiceOptions(const SServiceOptions& options) { m_serviceOptions = options; }
    // Kept until the service is ready (OnServiceIp); the frame position applies at once.
    void SetCommandLine(const COrvaneCommandLineInfo& commandLine);
    // Moves the frame to the command line's rectangle (when not empty) and shows it maximised or
    // minimised as asked, otherwise normally.
    void ShowWithCommandLine();

    // Enter in the symbol box: the text (at most 127 characters) trimmed; nothing when empty;
    // otherwise upper-cased, stored as "CurrentSymbol", added to the recent symbols and loaded.
    // Returns true when a symbol was loaded.
    bool EnterSymbol();
    // Enter in the search box: runs the modal search dialog; a confirmed symbol is put first
    // into the symbol box, stored and loaded. Returns true when a symbol was loaded.
    bool RunSymbolSearch(const std::string& text);
    // Stores `symbol` as "CurrentSymbol", keeps it first in the recent list and loads it.
    // Returns how the request started.
    CChartLoader::EStart LoadSymbol(const std::string& symbol);
    // Loads a chart as picking on the ribbon and Enter would: selects request type `typeIndex`
    // (and interval `intervalIndex` when not -1), stores them, then loads `symbol` (upper case)
    // once, whatever was shown before.
    CChartLoader::EStart LoadChart(const std::string& symbol, int typeIndex,
                                   int intervalIndex) override;

    // The data type chosen on the ribbon: stores "RequestDataType", copies that data type's
    // request kind into "RequestType" and reloads a shown symbol.
    void ChangeDataType(int dataType);
    // Runs the settings sheet modally (display, colour, study, data and trendline pages), opened
    // on the data page; stored settings redraw the chart, stored data settings reload it.
    void OpenDataSettings();
    // "Trendlines...": the settings sheet opened on the trendline page.
    void OpenTrendlineSettings();
    enum class EFirstPage { DisplayPage, DataPage, TrendlinesPage };
    void OpenSettings(EFirstPage first);
    // The settings pages stored their values: the studies are handed the study settings (only
    // those whose lines changed compute again), the panes are laid out and drawn with the
    // display and colour settings.
    void ApplyStoredSettings();
    // "Print..." through the print dialog, and "Export Image..." to a PNG or PDF file.
    void PrintChart();
    void ExportChartImage();
    // The trendlines are kept in `store` and saved through `save` after each change (without
    // this call, in a store of the frame's own that is never saved). Before Create.
    void UseTrendStore(CTrendStore& store, std::function<void()> save);
    // The chart's trendlines (null before Create).
    CChartTrendlines* Trendlines() const { return m_trendlines; }
    // The settings sheet while it is open.
    CSettingSheet* ActiveSettingSheet() const { return m_sheet; }

    // "Reconnect": the feed connections are dropped and the start-up sequence runs again (the
    // service launched, the admin connection, then lookup and Level 1 once it is connected);
    // when the service is ready the shown symbol loads again. The chart, its trendlines and
    // every setting stay. False (nothing done) while the symbol search, which uses the
    // connections, is open.
    bool Reconnect() override;

    // "-symbol %s -type %s -interval %s" of the current chart.
    std::string ChartArguments() const;
    // The chart arguments followed by the frame's state or normal rectangle.
    std::string WorkspaceArguments() const;
    // Stores the workspace arguments under `workspaceName`; false when they could not be stored.
    bool SaveWorkspace(const std::string& workspaceName);

    // IFeedFrame
    void OnServiceIp() override;
    void OnSearchLine(const std::string& line) override;
    void OnHistoryLine(const std::string& line) override;
    void OnLevel1Line(const std::string& line) override;
    void OnTimeLine(const std::string& line) override;
    void OnSymbolNotFound(const std::string& line) override;
    void OnServiceStatus(const std::string& status) override;
    // Says in the status bar which connection stopped and why.
    void OnFeedFault(const SFeedFault& fault) override;

    QComboBox* SymbolCombo() const { return m_home.symbolCombo; }
    QComboBox* RequestTypeCombo() const { return m_home.typeCombo; }
    QComboBox* IntervalCombo() const { return m_home.intervalCombo; }
    QComboBox* ChartStyleCombo() const { return m_home.styleCombo; }
    QLineEdit* SearchBox() const { return m_home.searchBox; }
    QComboBox* SearchModeCombo() const { return m_home.searchModeCombo; }
    CChartFormView* ChartView() const override { return m_view; }
    CFeedConnections* Feed() const { return m_feed.get(); }
    // Listed-market name for an id ("" when unknown); the table is fetched once, on first use.
    std::string MarketName(const std::string& id);
    // The symbol search dialog while it is open.
    CSymbolSearchDlg* ActiveSearch() const { return m_search; }
    bool ServiceReady() const override { return m_serviceReady; }
    const CChartLoader& ChartLoader() const override;
    CChartTrendlines& ChartTrendlines() const override { return *m_trendlines; }
    const CTrendStore& TrendStore() const override { return *m_trendStore; }
    CChartAlerts& ChartAlerts() const override { return *m_alerts; }
    // "Add Alert..." for the trendline or the price axis level under the pane menu's click;
    // false when there is neither.
    bool AddAlertAtMenuPoint();
    // "Alerts...": the list of alerts with Delete and Re-arm.
    void OpenAlerts();
    // The session bus service that drives this chart (null before Create).
    CChartBusService* ChartBus() const { return m_chartBus; }

signals:
    // The service reported "S,IP," and the command line has been applied.
    void ServiceReadyReached();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void MakeRibbon();
    void MakeTrendlines();
    void MakeAlerts();
    // The default colours follow the desktop's palette from dark to light and back.
    void WatchDesktopPalette();
    void FollowDesktopPalette();
    // Keeps the symbols of the level alerts watched on the feed.
    void HoldAlertWatches();
    // A trade of a symbol that the chart does not follow goes to the alerts straight.
    void FollowAlertSymbol(const std::string& line);
    // An alert fired: a desktop notification, else the status bar and the log; the bus signal.
    void AlertFired(const QString& symbol, double price, const QString& time,
                    const QString& condition);
    void MakeApplicationLinks(QToolButton* button);
    void LaunchApplication(const QString& executable, const QStringList& arguments);
    // Starts another Skychart on the current chart, its frame a little down and right of this
    // one; it finds the running service through the startup ports and shares it.
    void OpenNewWindow();
    void UpdateStatusPanes();
    // The ribbon's style combo shows "Candle Price Chart Style" again (the display page sets it).
    void SyncStyleCombo();
    void AddRecentSymbol(const std::string& symbol);

    CChartHistRequest& m_history;
    CChartFormView* m_view = nullptr;
    CStudyPanes* m_studies = nullptr; // owned by the view's canvas
    std::unique_ptr<CFeedConnections> m_feed;
    CWorkspaceBus* m_workspaceBus = nullptr;
    std::unique_ptr<CChartBusTarget> m_busTarget;
    CChartBusService* m_chartBus = nullptr;
    CChartTrendlines* m_trendlines = nullptr;
    CChartAlerts* m_alerts = nullptr;
    std::unique_ptr<CTrendStore> m_ownTrendStore;
    CTrendStore* m_trendStore = nullptr;
    std::function<void()> m_saveTrendlines;
    // A mode's prompt is in the status line: the view's texts wait.
    bool m_prompting = false;
    void ShowPrompt(const std::string& text);
    CSymbolSearchDlg* m_search = nullptr;
    CSettingSheet* m_sheet = nullptr;
    COrvaneCommandLineInfo m_commandLine;
    SServiceOptions m_serviceOptions;
    std::string m_currentSymbol;
    bool m_serviceReady = false;
    // Reconnect ran: the service's next "S,IP," reloads the chart instead of the command line.
    bool m_reconnecting = false;
    bool m_filling = false; // combo changes that the settings already hold
    bool m_desktopDark = DesktopIsDark();

    SHomeRibbon m_home;
    CStatusPane* m_symbolPane = nullptr;
    CStatusPane* m_chartTypePane = nullptr;
    // The connections' state and the feed's, with the age of the shown symbol's last update:
    // every second, and at once when a connection or the service's status changes.
    CStatusPane* m_connectionPane = nullptr;
    CStatusPane* m_feedPane = nullptr;
    QTimer* m_feedTimer = nullptr;
    void ShowFeedState();
    QToolButton* m_reconnectButton = nullptr;
    // The status bar's and the ribbon's Reconnect, and the stall limit of the environment.
    void MakeFeedCommands();
};
