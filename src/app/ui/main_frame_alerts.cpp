// The main frame's alerts: "Add Alert..." on a trendline or the price axis, "Alerts..." on the
// Home ribbon and the price pane menu, and what happens when one fires.

#include "app/ui/main_frame.h"
#include "chart/ui/chart_canvas.h"
#include "chart/ui/chart_form_view.h"
#include "chart/ui/chart_stack_widget.h"
#include "feed/feed_connections.h"
#include "history/update_trade.h"
#include "platform/chart_bus_service.h"
#include "platform/desktop_notifier.h"
#include "trend/ui/alert_dialogs.h"
#include "trend/ui/chart_alerts.h"
#include "trend/ui/chart_trendlines.h"

#include <QMenu>
#include <QToolButton>

#include <spdlog/spdlog.h>

void CMainFrame::MakeAlerts() {
    m_alerts = new CChartAlerts(*m_trendlines, *m_trendStore, m_saveTrendlines, this);
    connect(m_alerts, &CChartAlerts::alertFired, this, &CMainFrame::AlertFired);
    connect(m_alerts, &CChartAlerts::levelsChanged, this, &CMainFrame::HoldAlertWatches);
    HoldAlertWatches();
    m_view->SetTradeHandler(
        [this](const SLiveTrade& trade) { m_alerts->OnTrade(m_view->Symbol(), trade); });
    connect(m_view, &CChartFormView::historyShown, this, [this] {
        m_alerts->ForgetTrades();
        m_alerts->SetDecimals(m_view->Canvas().DrawManager().PriceDecimals());
    });
    CChartCanvas& canvas = m_view->Canvas();
    canvas.AddMenuExtender([this](QMenu& menu, int pane) {
        if (pane != 0) {
            return;
        }
        menu.addSeparator();
        QAction* add = menu.addAction("Add Alert...", this, [this] { AddAlertAtMenuPoint(); });
        const CChart2D::SPixelPoint point = m_view->Canvas().MenuPoint();
        const CChart2D::SGeometry geometry = m_view->Canvas().Stack().Pane(0).Geometry();
        const bool onAxis = point.x < geometry.left || point.x > geometry.width - geometry.right;
        add->setEnabled(!m_view->Symbol().empty() &&
                        (onAxis || m_trendlines->TrendlineAt(point) != nullptr));
        menu.addAction("Alerts...", this, [this] { OpenAlerts(); });
    });
    connect(m_home.alertsButton, &QToolButton::clicked, this, [this] { OpenAlerts(); });
}

void CMainFrame::HoldAlertWatches() {
    if (m_feed != nullptr && m_alerts != nullptr) {
        m_feed->HoldWatches(m_alerts->LevelSymbols());
    }
}

void CMainFrame::FollowAlertSymbol(const std::string& line) {
    if (m_alerts == nullptr || m_feed == nullptr || m_feed->HeldWatches().empty() ||
        !line.starts_with("Q,")) {
        return;
    }
    const std::string_view symbol = std::string_view(line).substr(2, line.find(',', 2) - 2);
    // The chart's own symbol reaches the alerts through its series, unless it is not followed.
    const bool followedByChart =
        symbol == m_view->Symbol() && m_view->Loader().IncompleteReason().empty();
    if (followedByChart || !m_feed->HeldWatches().contains(symbol)) {
        return;
    }
    if (const auto trade =
            ReadSymbolTrade(line, m_view->Loader().History().AreExtendedTradesAccepted())) {
        m_alerts->OnTrade(trade->symbol, trade->trade);
    }
}

bool CMainFrame::AddAlertAtMenuPoint() {
    const std::string symbol = m_view->Symbol();
    if (symbol.empty()) {
        return false;
    }
    CChartCanvas& canvas = m_view->Canvas();
    const CChart2D& chart = canvas.Stack().Pane(0);
    const CChart2D::SPixelPoint point = canvas.MenuPoint();
    const int decimals = canvas.DrawManager().PriceDecimals();
    const std::shared_ptr<CBaseTrend> trend = m_trendlines->TrendlineAt(point);
    if (trend != nullptr && CBaseTrend::TakesAlert(trend->Kind())) {
        const int newest = m_view->Loader().History().GetCount() - 1;
        const double price = trend->PriceAt(newest).value_or(0.0);
        CAddAlertDialog dialog(QString("%1 trendline").arg(TrendKindInfo(trend->Kind()).name),
                               price, decimals, false, this);
        if (dialog.exec() != QDialog::Accepted) {
            return false;
        }
        return m_alerts->AddLine(trend, dialog.Direction());
    }
    const CChart2D::SGeometry geometry = chart.Geometry();
    if (point.x >= geometry.left && point.x <= geometry.width - geometry.right) {
        return false;
    }
    const double level = chart.PixelYToValue(point.y, chart.LabelAxis());
    CAddAlertDialog dialog(QString("%1 level").arg(QString::fromStdString(symbol)), level, decimals,
                           true, this);
    if (dialog.exec() != QDialog::Accepted) {
        return false;
    }
    m_alerts->AddLevel(symbol, dialog.Price(), dialog.Direction());
    return true;
}

void CMainFrame::OpenAlerts() {
    CAlertsDialog dialog(*m_alerts, this);
    dialog.exec();
}

void CMainFrame::AlertFired(const QString& symbol, double price, const QString& time,
                            const QString& condition) {
    const QString text = QString("Alert: %1 at %2").arg(condition, time);
    CDesktopNotifier notifier;
    if (!notifier.Notify(QString("Skychart alert: %1").arg(symbol), text)) {
        spdlog::warn("No desktop notification service: {}", text.toStdString());
        SetStatusText(text.toStdString());
    }
    if (m_chartBus != nullptr) {
        m_chartBus->EmitAlertFired(symbol, price, time);
    }
}
