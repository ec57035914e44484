#include "app/ui/main_frame.h"

#include "app/ui/ribbon_bar.h"
#include "base/error.h"
#include "chart/ui/chart_form_view.h"
#include "core/prompt.h"
#include "core/settings.h"
#include "core/ui/setting_sheet.h"
#include "feed/feed_connections.h"
#include "feed/lookup_system_info.h"
#include "feed/ui/symbol_search_dlg.h"
#include "history/ui/data_settings_page.h"
#include "platform/qt_feed.h"
#include "platform/workspace_bus.h"

#include <QAction>
#include <QComboBox>
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QProcess>
#include <QStandardPaths>
#include <QStatusBar>
#include <QToolButton>

#include <fmt/format.h>
#include <spdlog/spdlog.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>

namespace {

constexpr int kMaxRecentSymbols = 30;

std::string Trimmed(const std::string& text) {
    const auto notSpace = [](char c) { return std::isspace(static_cast<unsigned char>(c)) == 0; };
    const auto first = std::find_if(text.begin(), text.end(), notSpace);
    const auto last = std::find_if(text.rbegin(), text.rend(), notSpace).base();
    return first < last ? std::string(first, last) : std::string();
}

std::string Upper(std::string text) {
    for (char& c : text) {
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    }
    return text;
}

void FillCombo(QComboBox* combo, const std::vector<SComboItem>& items) {
    for (const SComboItem& item : items) {
        combo->addItem(item.text, item.data);
    }
}

bool IsEnter(QEvent* event) {
    if (event->type() != QEvent::KeyPress) {
        return false;
    }
    const int key = static_cast<QKeyEvent*>(event)->key();
    return key == Qt::Key_Return || key == Qt::Key_Enter;
}

} // namespace

CMainFrame::CMainFrame(IPrompt& prompt, std::shared_ptr<CConfigWriterMux> writer, QWidget* parent)
    : COrvaneMainFrame(prompt, std::move(writer), parent) {}

CMainFrame::~CMainFrame() {
    // The connections call back into the frame; they go first.
    m_feed.reset();
}

bool CMainFrame::Create() {
    if (!CreateFrameBase()) {
        return false;
    }
    setWindowTitle("Skychart");
    setObjectName("MainFrame");

    CSettings& settings = CSettings::Instance();
    m_currentSymbol =
        settings.Has(keys::kCurrentSymbol) ? settings.GetText(keys::kCurrentSymbol) : "";

    m_view = new CChartFormView(this);
    m_view->SetStatusSink([this](const std::string& text) { SetStatusText(text); });
    setCentralWidget(m_view);

    m_symbolPane = AddStatusPane("Symbol", 90);
    m_chartTypePane = AddStatusPane("Chart Type", 150);
    m_connectionPane = AddStatusPane("Not Connected", 110);
    m_connectionPane->setObjectName("Connection");

    m_feed = MakeQtFeedConnections(*this, Prompt());
    m_view->SetFeed(m_feed.get());
    m_feed->Start();

    MakeRibbon();
    FillCombos();
    UpdateStatusPanes();

    m_workspaceBus = new CWorkspaceBus(this);
    connect(m_workspaceBus, &CWorkspaceBus::SaveRequested, this,
            [this](const QString& name) { SaveWorkspace(name.toStdString()); });
    m_workspaceBus->Listen();

    auto* quit = new QAction("Exit", this);
    quit->setShortcut(QKeySequence::Quit);
    connect(quit, &QAction::triggered, this, &QWidget::close);
    addAction(quit);

    resize(1280, 800);
    return true;
}

void CMainFrame::MakeRibbon() {
    CRibbonBar* ribbon = Ribbon();
    QWidget* home = ribbon->AddCategory("Home");

    QGroupBox* enterPanel = ribbon->AddPanel(home, kEnterPanelCaption);
    m_symbolCombo = new QComboBox(enterPanel);
    m_symbolCombo->setObjectName("SymbolCombo");
    m_symbolCombo->setEditable(true);
    m_symbolCombo->setInsertPolicy(QComboBox::NoInsert);
    m_symbolCombo->setMinimumWidth(170);
    m_symbolCombo->lineEdit()->setMaxLength(kMaxSymbolLength);
    m_symbolCombo->lineEdit()->setPlaceholderText("Symbol");
    m_symbolCombo->setToolTip("Type a symbol and press Enter to chart it");
    auto* enterLayout = new QVBoxLayout(enterPanel);
    enterLayout->addWidget(m_symbolCombo);
    enterLayout->addStretch(1);

    QGroupBox* dataPanel = ribbon->AddPanel(home, "Data Request");
    m_typeCombo = new QComboBox(dataPanel);
    m_typeCombo->setObjectName("RequestTypeCombo");
    m_intervalCombo = new QComboBox(dataPanel);
    m_intervalCombo->setObjectName("IntervalCombo");
    auto* dataLayout = new QFormLayout(dataPanel);
    dataLayout->addRow("Type", m_typeCombo);
    dataLayout->addRow("Interval", m_intervalCombo);

    QGroupBox* stylePanel = ribbon->AddPanel(home, "Chart");
    m_styleCombo = new QComboBox(stylePanel);
    m_styleCombo->setObjectName("ChartStyleCombo");
    auto* styleLayout = new QFormLayout(stylePanel);
    styleLayout->addRow("Style", m_styleCombo);

    QGroupBox* searchPanel = ribbon->AddPanel(home, "Symbol Search");
    m_searchBox = new QLineEdit(searchPanel);
    m_searchBox->setObjectName("SearchBox");
    m_searchBox->setPlaceholderText("Search text, then Enter");
    m_searchBox->setMinimumWidth(180);
    m_searchModeCombo = new QComboBox(searchPanel);
    m_searchModeCombo->setObjectName("SearchModeCombo");
    m_searchModeCombo->addItems({"Search By Symbol", "Search By Description"});
    auto* searchLayout = new QVBoxLayout(searchPanel);
    searchLayout->addWidget(m_searchBox);
    searchLayout->addWidget(m_searchModeCombo);

    QGroupBox* appsPanel = ribbon->AddPanel(home, "Applications");
    auto* appsButton = new QToolButton(appsPanel);
    appsButton->setObjectName("ApplicationLinks");
    appsButton->setText("Kestrel Apps");
    appsButton->setPopupMode(QToolButton::InstantPopup);
    appsButton->setToolButtonStyle(Qt::ToolButtonTextOnly);
    MakeApplicationLinks(appsButton);
    auto* appsLayout = new QVBoxLayout(appsPanel);
    appsLayout->addWidget(appsButton);
    appsLayout->addStretch(1);

    QGroupBox* settingsPanel = ribbon->AddPanel(home, "Settings");
    QToolButton* dataSettings =
        ribbon->AddButton(settingsPanel, kDataSettingsCaption, "DataSettingsButton");
    connect(dataSettings, &QToolButton::clicked, this, [this] { OpenDataSettings(); });

    ribbon->FinishCategory(home);

    m_symbolCombo->installEventFilter(this);
    m_symbolCombo->lineEdit()->installEventFilter(this);
    m_searchBox->installEventFilter(this);

    // The recent symbols, newest first; the box shows the current symbol.
    m_symbolCombo->addItems([] {
        QStringList items;
        for (const std::string& symbol : CSettings::Instance().GetList(keys::kSymbols)) {
            if (!symbol.empty()) {
                items.append(QString::fromStdString(symbol));
            }
        }
        return items;
    }());
    m_symbolCombo->setEditText(QString::fromStdString(m_currentSymbol));
}

void CMainFrame::FillCombos() {
    CSettings& settings = CSettings::Instance();
    m_filling = true;
    FillCombo(m_typeCombo, RequestTypeItems());
    FillCombo(m_intervalCombo, IntervalItems());
    FillCombo(m_styleCombo, ChartStyleItems());
    // A stored value that matches no item selects the first one without storing it.
    m_typeCombo->setCurrentIndex(
        std::max(0, FindComboData(RequestTypeItems(), settings.GetInt(keys::kRequestDataType))));
    const int interval = settings.GetInt(keys::kRequestIntervalIndex);
    m_intervalCombo->setCurrentIndex(interval >= 0 && interval < m_intervalCombo->count() ? interval
                                                                                          : 0);
    m_styleCombo->setCurrentIndex(std::max(
        0, FindComboData(ChartStyleItems(), settings.GetInt(keys::kCandlePriceChartStyle))));
    m_searchModeCombo->setCurrentIndex(settings.GetInt(keys::kSearchType) == 1 ? 1 : 0);
    m_filling = false;

    connect(m_typeCombo, &QComboBox::currentIndexChanged, this, [this](int index) {
        if (!m_filling && index >= 0) {
            ChangeDataType(m_typeCombo->itemData(index).toInt());
        }
        UpdateStatusPanes();
    });
    connect(m_intervalCombo, &QComboBox::currentIndexChanged, this, [this](int index) {
        UpdateStatusPanes();
        if (!m_filling && index >= 0) {
            CSettings::Instance().SetInt(keys::kRequestIntervalIndex, index);
            m_view->Reload();
        }
    });
    connect(m_styleCombo, &QComboBox::currentIndexChanged, this, [this](int index) {
        if (!m_filling && index >= 0) {
            CSettings::Instance().SetInt(keys::kCandlePriceChartStyle,
                                         m_styleCombo->itemData(index).toInt());
        }
        UpdateStatusPanes();
    });
    connect(m_searchModeCombo, &QComboBox::currentIndexChanged, this, [this](int index) {
        if (!m_filling && index >= 0) {
            CSettings::Instance().SetInt(keys::kSearchType, index);
        }
    });
}

void CMainFrame::ChangeDataType(int dataType) {
    CSettings& settings = CSettings::Instance();
    settings.SetInt(keys::kRequestDataType, dataType);
    try {
        settings.SetInt(keys::kRequestType, m_view->RequestSettings().RecentType(dataType));
    } catch (const CInvalidArgException& error) {
        spdlog::error("No request kind stored for data type {}: {}", dataType, error.what());
    }
    m_view->Reload();
}

void CMainFrame::OpenDataSettings() {
    CSettingSheet sheet(this);
    auto* dataPage = new CDataSettingsPage(Prompt());
    sheet.AddPage(dataPage);
    connect(&sheet, &CSettingSheet::pageApplied, this, [this, dataPage](CSettingPage* page) {
        if (page == dataPage) {
            // The request settings changed: the shown chart asks for its history again.
            m_view->ReloadRequestSettings();
            m_view->Reload();
        }
    });
    m_sheet = &sheet;
    sheet.exec();
    m_sheet = nullptr;
}

void CMainFrame::MakeApplicationLinks(QToolButton* button) {
    auto* menu = new QMenu(button);
    menu->addAction("New Chart Window", this, [this] {
        LaunchApplication("Skychart",
                          QString::fromStdString(ChartArguments()).split(' ', Qt::SkipEmptyParts));
    });
    menu->addSeparator();
    menu->addAction("Skyquote Watch List", this, [this] { LaunchApplication("Skyquote", {}); });
    menu->addAction("Skytape Time and Sales", this, [this] { LaunchApplication("Skytape", {}); });
    menu->addAction("Skybook Market Depth", this, [this] { LaunchApplication("Skybook", {}); });
    button->setMenu(menu);
}

void CMainFrame::LaunchApplication(const QString& executable, const QStringList& arguments) {
    // Sibling applications are installed beside this one; else they are looked up on PATH.
    QString program = QDir(QCoreApplication::applicationDirPath()).filePath(executable);
    if (!QFileInfo(program).isExecutable()) {
        program = QStandardPaths::findExecutable(executable);
    }
    if (program.isEmpty() || !QProcess::startDetached(program, arguments)) {
        spdlog::error("Unable to launch {}", executable.toStdString());
        Prompt().Error("Skychart", fmt::format("Unable to launch {}.", executable.toStdString()));
        return;
    }
    spdlog::info("Launched {} {}", program.toStdString(), arguments.join(' ').toStdString());
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
        if (m_symbolCombo != nullptr &&
            (watched == m_symbolCombo || watched == m_symbolCombo->lineEdit())) {
            EnterSymbol();
            return true;
        }
        if (watched == m_searchBox) {
            RunSymbolSearch(m_searchBox->text().toStdString());
            return true;
        }
    }
    return COrvaneMainFrame::eventFilter(watched, event);
}

bool CMainFrame::EnterSymbol() {
    const std::string text = m_symbolCombo->currentText().left(kMaxSymbolLength).toStdString();
    const std::string symbol = Upper(Trimmed(text));
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
        QString::fromStdString(Trimmed(text)), this);
    m_search = &dialog;
    const int result = dialog.exec();
    m_search = nullptr;
    if (result != QDialog::Accepted || dialog.SelectedSymbol().empty()) {
        return false;
    }
    LoadSymbol(dialog.SelectedSymbol());
    return true;
}

void CMainFrame::LoadSymbol(const std::string& symbol) {
    m_currentSymbol = symbol;
    CSettings::Instance().SetText(keys::kCurrentSymbol, symbol);
    AddRecentSymbol(symbol);
    UpdateStatusPanes();
    setWindowTitle(QString::fromStdString("Skychart - " + symbol));
    m_view->Load(symbol);
}

void CMainFrame::AddRecentSymbol(const std::string& symbol) {
    const QString text = QString::fromStdString(symbol);
    for (int i = m_symbolCombo->count() - 1; i >= 0; --i) {
        if (m_symbolCombo->itemText(i) == text) {
            m_symbolCombo->removeItem(i);
        }
    }
    m_symbolCombo->insertItem(0, text);
    while (m_symbolCombo->count() > kMaxRecentSymbols) {
        m_symbolCombo->removeItem(m_symbolCombo->count() - 1);
    }
    m_symbolCombo->setCurrentIndex(0);
    m_symbolCombo->setEditText(text);
    m_symbolCombo->lineEdit()->selectAll();

    std::vector<std::string> items;
    for (int i = 0; i < m_symbolCombo->count(); ++i) {
        items.push_back(m_symbolCombo->itemText(i).toStdString());
    }
    CSettings::Instance().SaveList(keys::kSymbols, items, &Prompt());
}

void CMainFrame::UpdateStatusPanes() {
    if (m_symbolPane == nullptr || m_typeCombo == nullptr) {
        return;
    }
    m_symbolPane->setText(m_currentSymbol.empty() ? QString("Symbol")
                                                  : QString::fromStdString(m_currentSymbol));
    QString chartType = m_typeCombo->currentText();
    if (m_typeCombo->currentData().toInt() == 1) {
        chartType = m_intervalCombo->currentText();
    }
    if (m_typeCombo->currentData().toInt() != 0) {
        chartType += " " + m_styleCombo->currentText();
    }
    m_chartTypePane->setText(chartType);
    // The interval only matters for minute bars.
    m_intervalCombo->setEnabled(m_typeCombo->currentData().toInt() == 1);
}

std::string CMainFrame::ChartArguments() const {
    return ::ChartArguments(m_currentSymbol, m_typeCombo->currentText().toStdString(),
                            m_intervalCombo->currentText().toStdString());
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

std::string CMainFrame::MarketName(const std::string& id) {
    if (id.empty() || !std::all_of(id.begin(), id.end(), [](char c) {
            return std::isdigit(static_cast<unsigned char>(c)) != 0;
        })) {
        return {};
    }
    if (!m_feed) {
        return {};
    }
    // Fetched once, on first use; a failed fetch is tried again next time.
    CListedMarkets& markets = m_feed->ListedMarkets();
    if (!markets.Load()) {
        return {};
    }
    return markets.Name(std::atoi(id.c_str()));
}

void CMainFrame::OnServiceIp() {
    if (m_view == nullptr || m_typeCombo == nullptr) {
        return;
    }
    const SAppliedCommandLine applied = m_commandLine.ApplyTo(CSettings::Instance());
    m_filling = true; // already stored by the command line
    if (applied.typeIndex >= 0) {
        m_typeCombo->setCurrentIndex(applied.typeIndex);
    }
    if (applied.intervalIndex >= 0) {
        m_intervalCombo->setCurrentIndex(applied.intervalIndex);
    }
    m_filling = false;
    if (applied.load) {
        LoadSymbol(CSettings::Instance().GetText(keys::kCurrentSymbol));
    }
    SetStatusText("Connected to Kestrel...");
    // Typing replaces the symbol shown, as in a freshly focused edit box.
    m_symbolCombo->setFocus(Qt::OtherFocusReason);
    m_symbolCombo->lineEdit()->selectAll();
    m_serviceReady = true;
    emit ServiceReadyReached();
}

void CMainFrame::OnSearchLine(const std::string& /*line*/) {
    if (m_search != nullptr) {
        m_search->OnSearchLine();
    }
}

void CMainFrame::OnHistoryLine(const std::string& line) {
    if (m_view != nullptr) {
        m_view->OnHistoryLine(line);
    }
}

void CMainFrame::OnLevel1Line(const std::string& line) {
    if (m_view != nullptr) {
        m_view->OnLevel1Line(line);
    }
    emit Level1LineReceived(QString::fromStdString(line));
}

void CMainFrame::OnSymbolNotFound(const std::string& line) {
    // Only logged: the status bar keeps the chart's retrieval text.
    const std::string symbol = line.size() > 2 ? line.substr(2) : std::string();
    spdlog::warn("Symbol {} has no results...", symbol);
}

void CMainFrame::OnServiceStatus(const std::string& status) {
    if (m_connectionPane != nullptr) {
        m_connectionPane->setText(QString::fromStdString(status));
    }
}
