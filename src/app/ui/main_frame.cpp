#include "app/ui/main_frame.h"

#include "trend/trend_style.h"
#include "trend/ui/chart_alerts.h"
#include "trend/ui/chart_trendlines.h"

#include "app/feed_status.h"
#include "app/recent_symbols.h"
#include "app/ui/chart_bus_target.h"
#include "app/ui/chart_settings_sheet.h"
#include "app/ui/home_ribbon.h"
#include "app/ui/ribbon_bar.h"
#include "app/ui/status_pane.h"
#include "base/error.h"
#include "chart/ui/chart_canvas.h"
#include "chart/ui/chart_form_view.h"
#include "chart/ui/display_settings_page.h"
#include "core/prompt.h"
#include "core/settings.h"
#include "core/ui/setting_sheet.h"
#include "feed/feed_connections.h"
#include "feed/kestrel_stream_socket.h"
#include "feed/lookup_system_info.h"
#include "feed/ui/symbol_search_dlg.h"
#include "history/chart_hist_request.h"
#include "history/ui/data_settings_page.h"
#include "platform/chart_bus_service.h"
#include "platform/large_pages.h"
#include "platform/process_launcher.h"
#include "platform/qt_feed.h"
#include "platform/registry_paths.h"
#include "platform/workspace_bus.h"
#include "studies/study_panes.h"
#include "trend/ui/trend_settings_page.h"

#include <QAction>
#include <QComboBox>
#include <QCoreApplication>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPrintDialog>
#include <QPrinter>
#include <QStatusBar>
#include <QTabWidget>
#include <QTimer>
#include <QToolButton>

#include <fmt/format.h>
#include <spdlog/spdlog.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>

namespace {

bool IsEnter(QEvent* event) {
    if (event->type() != QEvent::KeyPress) {
        return false;
    }
    const int key = static_cast<QKeyEvent*>(event)->key();
    return key == Qt::Key_Return || key == Qt::Key_Enter;
}

} // namespace

CMainFrame::CMainFrame(IPrompt& prompt, CSettings& settings, CChartHistRequest& history,
                       std::shared_ptr<CConfigWriterMux> writer, QWidget* parent)
    : COrvaneMainFrame(prompt, settings, std::move(writer), parent), m_history(history) {}

CMainFrame::~CMainFrame() {
    // No bus call may reach the frame while it goes; the connections call back into it too.
    delete m_chartBus;
    m_chartBus = nullptr;
    m_feed.reset();
    // The trendlines are items of the chart's panes: they go while the chart is still there.
    delete m_alerts;
    m_alerts = nullptr;
    delete m_trendlines;
    m_trendlines = nullptr;
}

bool CMainFrame::Create() {
    if (!CreateFrameBase()) {
        return false;
    }
    setWindowTitle("Skychart");
    setObjectName("MainFrame");

    CSettings& settings = Settings();
    m_currentSymbol =
        settings.Has(keys::kCurrentSymbol) ? settings.GetText(keys::kCurrentSymbol) : "";

    m_view = new CChartFormView(m_history, settings, this);
    m_view->SetStatusSink([this](const std::string& text) {
        // A prompt of a drawing or delete mode stays until the mode ends.
        if (!m_prompting) {
            SetStatusText(text);
        }
    });
    m_view->SetSettingsFile(CRegistryPaths::ApplicationFile("Skychart").toStdString());
    auto studies = std::make_unique<CStudyPanes>(SUpperStudySettings::Read(settings),
                                                 SStudySettings::Read(settings), PopulatePages);
    m_studies = studies.get();
    m_view->Canvas().SetStudies(std::move(studies));
    setCentralWidget(m_view);

    // Wide enough for the usual texts; longer ones are elided, whole in the tooltip.
    m_symbolPane = AddStatusPane("Symbol", "@ESZ26");
    m_chartTypePane = AddStatusPane("Chart Type", "10-Minute Candlestick");
    m_connectionPane = AddStatusPane("Not Connected", "Level 1 lost: closed by the service");
    m_connectionPane->setObjectName("Connection");
    m_feedPane = AddStatusPane("", "Waiting for the market-data service");
    m_feedPane->setObjectName("FeedState");
    m_feedTimer = new QTimer(this);
    m_feedTimer->setInterval(1000);
    connect(m_feedTimer, &QTimer::timeout, this, &CMainFrame::ShowFeedState);
    m_feedTimer->start();

    m_feed = MakeQtFeedConnections(*this, Prompt(), m_serviceOptions);
    m_view->SetFeed(m_feed.get());
    m_feed->Start();

    MakeRibbon();
    MakeFeedCommands();
    MakeTrendlines();
    MakeAlerts();
    WatchDesktopPalette();
    UpdateStatusPanes();
    ShowFeedState();

    m_workspaceBus = new CWorkspaceBus(this);
    connect(m_workspaceBus, &CWorkspaceBus::SaveRequested, this,
            [this](const QString& name) { SaveWorkspace(name.toStdString()); });
    m_workspaceBus->Listen();
    m_busTarget = std::make_unique<CChartBusTarget>(*this, settings);
    m_chartBus = new CChartBusService(*m_busTarget, this);
    m_chartBus->Register();

    auto* quit = new QAction("Exit", this);
    quit->setShortcut(QKeySequence::Quit);
    connect(quit, &QAction::triggered, this, &QWidget::close);
    addAction(quit);

    resize(1280, 800);
    return true;
}

void CMainFrame::MakeRibbon() {
    m_home = MakeHomeRibbon(*Ribbon());
    MakeApplicationLinks(m_home.applicationsButton);
    connect(m_home.dataSettingsButton, &QToolButton::clicked, this, [this] { OpenDataSettings(); });
    connect(m_home.chartSettingsButton, &QToolButton::clicked, this,
            [this] { OpenSettings(EFirstPage::DisplayPage); });
    connect(m_home.zoomInButton, &QToolButton::clicked, this, [this] { m_view->ZoomIn(); });
    connect(m_home.zoomOutButton, &QToolButton::clicked, this, [this] { m_view->ZoomOut(); });
    connect(m_home.printButton, &QToolButton::clicked, this, [this] { PrintChart(); });
    connect(m_home.exportImageButton, &QToolButton::clicked, this, [this] { ExportChartImage(); });
    connect(m_home.newWindowButton, &QToolButton::clicked, this, [this] { OpenNewWindow(); });
    auto* newWindow = new QAction("New Window", this);
    newWindow->setObjectName("NewWindowAction");
    newWindow->setShortcut(QKeySequence::New);
    connect(newWindow, &QAction::triggered, this, [this] { OpenNewWindow(); });
    addAction(newWindow);
    m_view->SetPointCommands(Prompt(), [this](const std::string& text) { ShowPrompt(text); });
    m_view->SetComparePrompt(Prompt());
    m_view->SetChartMenuCommands([this] { PrintChart(); }, [this] { ExportChartImage(); });
    m_home.symbolCombo->installEventFilter(this);
    m_home.symbolCombo->lineEdit()->installEventFilter(this);
    m_home.searchBox->installEventFilter(this);

    // Filled before the combos are connected, so that selecting the stored items stores nothing.
    FillHomeRibbon(m_home, Settings(), CRecentSymbols(Settings().GetList(keys::kSymbols)).Items(),
                   m_currentSymbol);

    connect(m_home.typeCombo, &QComboBox::currentIndexChanged, this, [this](int index) {
        if (!m_filling && index >= 0) {
            ChangeDataType(m_home.typeCombo->itemData(index).toInt());
        }
        UpdateStatusPanes();
    });
    connect(m_home.intervalCombo, &QComboBox::currentIndexChanged, this, [this](int index) {
        UpdateStatusPanes();
        if (!m_filling && index >= 0) {
            Settings().SetInt(keys::kRequestIntervalIndex, index);
            m_view->Reload();
        }
    });
    connect(m_home.styleCombo, &QComboBox::currentIndexChanged, this, [this](int index) {
        if (!m_filling && index >= 0) {
            CSettings& settings = Settings();
            settings.SetInt(keys::kCandlePriceChartStyle,
                            m_home.styleCombo->itemData(index).toInt());
            m_view->Canvas().ApplyStyle(ReadChartStyle(settings));
        }
        UpdateStatusPanes();
    });
    connect(m_home.searchModeCombo, &QComboBox::currentIndexChanged, this, [this](int index) {
        if (!m_filling && index >= 0) {
            Settings().SetInt(keys::kSearchType, index);
        }
    });
}

void CMainFrame::ChangeDataType(int dataType) {
    CSettings& settings = Settings();
    settings.SetInt(keys::kRequestDataType, dataType);
    try {
        settings.SetInt(keys::kRequestType, m_view->RequestSettings().RecentType(dataType));
    } catch (const CInvalidArgException& error) {
        spdlog::error("No request kind stored for data type {}: {}", dataType, error.what());
    }
    m_view->Reload();
}

void CMainFrame::PrintChart() {
    QPrinter printer(QPrinter::HighResolution);
    printer.setDocName(QString::fromStdString("Skychart " + m_view->Symbol()));
    QPrintDialog dialog(&printer, this);
    dialog.setObjectName("PrintDialog");
    if (dialog.exec() != QDialog::Accepted) {
        return;
    }
    if (!m_view->Print(printer)) {
        Prompt().Error("Print", "The printer could not be started.");
    }
}

void CMainFrame::ExportChartImage() {
    const QString suggested = QDir::home().filePath(
        QString::fromStdString((m_view->Symbol().empty() ? "chart" : m_view->Symbol()) + ".png"));
    const QString file = QFileDialog::getSaveFileName(this, "Export Image", suggested,
                                                      "PNG image (*.png);;PDF document (*.pdf)");
    if (file.isEmpty()) {
        return;
    }
    const std::string error = m_view->ExportImage(file.toStdString());
    if (!error.empty()) {
        Prompt().Error("Export Image", "The chart image was not written: " + error);
    }
}

void CMainFrame::MakeApplicationLinks(QToolButton* button) {
    auto* menu = new QMenu(button);
    menu->addAction("New Chart Window", this, [this] { OpenNewWindow(); });
    menu->addSeparator();
    menu->addAction("Skyquote Watch List", this, [this] { LaunchApplication("Skyquote", {}); });
    menu->addAction("Skytape Time and Sales", this, [this] { LaunchApplication("Skytape", {}); });
    menu->addAction("Skybook Market Depth", this, [this] { LaunchApplication("Skybook", {}); });
    button->setMenu(menu);
}

void CMainFrame::OpenNewWindow() {
    const QRect frame = frameGeometry();
    const SFrameRect rect{frame.x(), frame.y(), frame.x() + width(), frame.y() + height()};
    QStringList arguments;
    for (const std::string& parameter :
         NewWindowArguments(m_currentSymbol, m_home.typeCombo->currentText().toStdString(),
                            m_home.intervalCombo->currentText().toStdString(), rect)) {
        arguments.push_back(QString::fromStdString(parameter));
    }
    // Should the shared service be gone by then, the new window starts it with the same data.
    if (!m_serviceOptions.dataDir.empty()) {
        arguments << "--data-dir" << QString::fromStdString(m_serviceOptions.dataDir);
        if (m_serviceOptions.dataOnly) {
            arguments << "--data-only";
        }
    }
    spdlog::info("New window: Skychart {}", arguments.join(' ').toStdString());
    LaunchApplication("Skychart", arguments);
}

void CMainFrame::LaunchApplication(const QString& executable, const QStringList& arguments) {
    // Sibling applications are installed beside this one; else they are looked up on PATH.
    if (!CProcessLauncher::Launch(CProcessLauncher::Find(executable), arguments)) {
        Prompt().Error("Skychart", fmt::format("Unable to launch {}.", executable.toStdString()));
    }
}

void CMainFrame::SetCommandLine(const COrvaneCommandLineInfo& commandLine) {
    m_commandLine = commandLine;
}

void CMainFrame::ShowWithCommandLine() {
    if (m_commandLine.HasFrameRect()) {
        move(m_commandLine.left, m_commandLine.top);
        resize(m_commandLine.right - m_commandLine.left, m_commandLine.bottom - m_commandLine.top);
        raise();
    }
    if (m_commandLine.maximise) {
        showMaximized();
    } else if (m_commandLine.minimise) {
        showMinimized();
    } else {
        show();
    }
}

bool CMainFrame::eventFilter(QObject* watched, QEvent* event) {
    if (IsEnter(event)) {
        if (m_home.symbolCombo != nullptr &&
            (watched == m_home.symbolCombo || watched == m_home.symbolCombo->lineEdit())) {
            EnterSymbol();
            return true;
        }
        if (watched == m_home.searchBox) {
            RunSymbolSearch(m_home.searchBox->text().toStdString());
            return true;
        }
    }
    return COrvaneMainFrame::eventFilter(watched, event);
}

bool CMainFrame::EnterSymbol() {
    const std::string text =
        m_home.symbolCombo->currentText().left(SHomeRibbon::kMaxSymbolLength).toStdString();
    const std::string symbol = SymbolFromEntry(text);
    if (symbol.empty()) {
        return false;
    }
    LoadSymbol(symbol);
    return true;
}

bool CMainFrame::RunSymbolSearch(const std::string& text) {
    if (!m_feed) {
        return false;
    }
    CSymbolSearchDlg dialog(
        *m_feed, [this](const std::string& id) { return MarketName(id); },
        QString::fromStdString(text).trimmed(), Settings().GetInt(keys::kSearchType) == 1, this);
    m_search = &dialog;
    const int result = dialog.exec();
    m_search = nullptr;
    if (result != QDialog::Accepted || dialog.SelectedSymbol().empty()) {
        return false;
    }
    LoadSymbol(dialog.SelectedSymbol());
    return true;
}

CChartLoader::EStart CMainFrame::LoadChart(const std::string& symbol, int typeIndex,
                                           int intervalIndex) {
    CSettings& settings = Settings();
    // The combos show the choice; storing it here instead of through their signals loads once.
    m_filling = true;
    m_home.typeCombo->setCurrentIndex(typeIndex);
    if (intervalIndex >= 0) {
        m_home.intervalCombo->setCurrentIndex(intervalIndex);
    }
    m_filling = false;
    const int dataType = m_home.typeCombo->itemData(typeIndex).toInt();
    settings.SetInt(keys::kRequestDataType, dataType);
    try {
        settings.SetInt(keys::kRequestType, m_view->RequestSettings().RecentType(dataType));
    } catch (const CInvalidArgException& error) {
        spdlog::error("No request kind stored for data type {}: {}", dataType, error.what());
    }
    if (intervalIndex >= 0) {
        settings.SetInt(keys::kRequestIntervalIndex, intervalIndex);
    }
    UpdateStatusPanes();
    return LoadSymbol(symbol);
}

CChartLoader::EStart CMainFrame::LoadSymbol(const std::string& symbol) {
    m_currentSymbol = symbol;
    Settings().SetText(keys::kCurrentSymbol, symbol);
    AddRecentSymbol(symbol);
    UpdateStatusPanes();
    setWindowTitle(QString::fromStdString("Skychart - " + symbol));
    return m_view->Load(symbol);
}

const CChartLoader& CMainFrame::ChartLoader() const {
    return m_view->Loader();
}

void CMainFrame::AddRecentSymbol(const std::string& symbol) {
    CRecentSymbols recent(Settings().GetList(keys::kSymbols));
    recent.Use(symbol);
    m_home.symbolCombo->clear();
    for (const std::string& item : recent.Items()) {
        m_home.symbolCombo->addItem(QString::fromStdString(item));
    }
    m_home.symbolCombo->setCurrentIndex(0);
    m_home.symbolCombo->lineEdit()->selectAll();
    Settings().SaveList(keys::kSymbols, recent.Items(), &Prompt());
}

void CMainFrame::UpdateStatusPanes() {
    if (m_symbolPane == nullptr || m_home.typeCombo == nullptr) {
        return;
    }
    m_symbolPane->SetText(m_currentSymbol.empty() ? QString("Symbol")
                                                  : QString::fromStdString(m_currentSymbol));
    QString chartType = m_home.typeCombo->currentText();
    if (m_home.typeCombo->currentData().toInt() == 1) {
        chartType = m_home.intervalCombo->currentText();
    }
    if (m_home.typeCombo->currentData().toInt() != 0) {
        chartType += " " + m_home.styleCombo->currentText();
    }
    m_chartTypePane->SetText(chartType);
    // The interval only matters for minute bars.
    m_home.intervalCombo->setEnabled(m_home.typeCombo->currentData().toInt() == 1);
}

std::string CMainFrame::ChartArguments() const {
    return ::ChartArguments(m_currentSymbol, m_home.typeCombo->currentText().toStdString(),
                            m_home.intervalCombo->currentText().toStdString());
}

std::string CMainFrame::WorkspaceArguments() const {
    EFrameState state = EFrameState::Normal;
    if (isMaximized()) {
        state = EFrameState::Maximised;
    } else if (isMinimized()) {
        state = EFrameState::Minimised;
    }
    const QRect frame = frameGeometry();
    const SFrameRect rect{frame.x(), frame.y(), frame.x() + width(), frame.y() + height()};
    return ChartArguments() + FrameArguments(state, rect);
}

bool CMainFrame::SaveWorkspace(const std::string& workspaceName) {
    const std::string arguments = WorkspaceArguments();
    const bool saved = CWorkspaceStore::Save(workspaceName, "Skychart", arguments);
    spdlog::info("Workspace \"{}\" {}: {}", workspaceName, saved ? "saved" : "NOT saved",
                 arguments);
    return saved;
}
