// The frame's side of the feed connections: the service becoming ready, the lines the
// connections dispatch to it, the feed's state in the status bar, the listed markets, and
// Reconnect.

#include "app/feed_status.h"
#include "app/ui/main_frame.h"
#include "app/ui/status_pane.h"
#include "base/error.h"
#include "chart/ui/chart_form_view.h"
#include "core/settings.h"
#include "feed/feed_connections.h"
#include "feed/kestrel_stream_socket.h"
#include "feed/lookup_system_info.h"
#include "feed/ui/symbol_search_dlg.h"
#include "platform/qt_feed.h"

#include <QComboBox>
#include <QLineEdit>
#include <QStatusBar>
#include <QToolButton>

#include <fmt/format.h>
#include <spdlog/spdlog.h>

#include <cstdlib>

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

void CMainFrame::MakeFeedCommands() {
    m_view->SetStallLimit(
        CChartLoader::StallLimitFrom(std::getenv(CChartLoader::kStallLimitVariable)));
    m_reconnectButton = new QToolButton(this);
    m_reconnectButton->setObjectName("StatusReconnectButton");
    m_reconnectButton->setText(SHomeRibbon::kReconnectCaption);
    m_reconnectButton->setToolTip(m_home.reconnectButton->toolTip());
    m_reconnectButton->setAutoRaise(true);
    statusBar()->addPermanentWidget(m_reconnectButton);
    connect(m_reconnectButton, &QToolButton::clicked, this, [this] { Reconnect(); });
    connect(m_home.reconnectButton, &QToolButton::clicked, this, [this] { Reconnect(); });
}

bool CMainFrame::Reconnect() {
    if (m_search != nullptr) {
        return false;
    }
    spdlog::info("Reconnecting to the market-data service");
    // The old connections go before the new ones are made: nothing of theirs reaches the chart.
    m_view->SetFeed(nullptr);
    m_feed.reset();
    m_serviceReady = false;
    m_reconnecting = true;
    SetStatusText("Reconnecting to Kestrel...");
    m_feed = MakeQtFeedConnections(*this, Prompt(), m_serviceOptions);
    m_view->SetFeed(m_feed.get());
    HoldAlertWatches();
    m_feed->Start();
    ShowFeedState();
    return true;
}

void CMainFrame::OnServiceIp() {
    if (m_view == nullptr || m_home.typeCombo == nullptr) {
        return;
    }
    if (m_reconnecting) {
        // The chart as it was, loaded again; the command line was applied at the first start.
        m_reconnecting = false;
        SetStatusText("Connected to Kestrel...");
        m_view->Reload();
        m_serviceReady = true;
        emit ServiceReadyReached();
        return;
    }
    const SAppliedCommandLine applied = m_commandLine.ApplyTo(Settings());
    m_filling = true; // already stored by the command line
    if (applied.typeIndex >= 0) {
        m_home.typeCombo->setCurrentIndex(applied.typeIndex);
    }
    if (applied.intervalIndex >= 0) {
        m_home.intervalCombo->setCurrentIndex(applied.intervalIndex);
    }
    m_filling = false;
    // Said before the load, so that a load that cannot start keeps its reason in view.
    SetStatusText("Connected to Kestrel...");
    if (applied.load) {
        LoadSymbol(Settings().GetText(keys::kCurrentSymbol));
    }
    // Typing replaces the symbol shown, as in a freshly focused edit box.
    m_home.symbolCombo->setFocus(Qt::OtherFocusReason);
    m_home.symbolCombo->lineEdit()->selectAll();
    m_serviceReady = true;
    ShowFeedState();
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
    // A history that stopped short is not followed live: its newest points never came.
    if (m_view != nullptr && m_view->Loader().IncompleteReason().empty()) {
        m_view->OnLevel1Line(line);
    }
    FollowAlertSymbol(line);
}

void CMainFrame::OnTimeLine(const std::string& line) {
    if (m_view != nullptr) {
        m_view->OnTimeLine(line);
    }
}

void CMainFrame::OnSymbolNotFound(const std::string& line) {
    // Only logged: the status bar keeps the chart's retrieval text.
    const std::string symbol = line.size() > 2 ? line.substr(2) : std::string();
    spdlog::warn("Symbol {} has no results...", symbol);
}

void CMainFrame::ShowFeedState() {
    if (m_connectionPane == nullptr) {
        return;
    }
    SFeedState state = ReadFeedState(m_feed.get());
    state.symbolShown = m_view != nullptr && !m_view->Symbol().empty();
    if (state.symbolShown && m_view->LastUpdate()) {
        state.secondsSinceUpdate =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - *m_view->LastUpdate())
                .count();
    }
    const SStatusPaneTexts texts = StatusPaneTexts(state);
    // Each text is logged once, when it appears; the age of the last update is not news.
    if (m_connectionPane->SetText(QString::fromStdString(texts.connection))) {
        spdlog::log(texts.lost ? spdlog::level::warn : spdlog::level::info, "Connection: {}",
                    texts.connection);
    }
    if (m_feedPane->SetText(QString::fromStdString(texts.feed)) && !texts.counting) {
        spdlog::log(texts.lost ? spdlog::level::warn : spdlog::level::info, "Feed: {}", texts.feed);
    }
}

void CMainFrame::OnServiceStatus(const std::string& /*status*/) {
    ShowFeedState();
}

void CMainFrame::OnFeedFault(const SFeedFault& fault) {
    std::string text = DescribeFeedFault(fault);
    text[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[0])));
    SetStatusText(text + " - use Reconnect");
    if (fault.connection == CFeedConnections::kLookup && m_view != nullptr) {
        // The answer arriving ends with what came; the progress shows it as incomplete.
        m_view->LookupStopped(DescribeFeedFault(fault));
    }
    ShowFeedState();
}
