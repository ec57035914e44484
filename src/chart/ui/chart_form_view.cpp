#include "chart/ui/chart_form_view.h"

#include "base/fields.h"
#include "history/chart_hist_request.h"

#include <QLabel>
#include <QVBoxLayout>

#include <fmt/format.h>
#include <spdlog/spdlog.h>

CChartFormView::CChartFormView(QWidget* parent)
    : QWidget(parent), m_loader(CChartHistRequest::Instance()) {
    setObjectName("ChartFormView");
    setAutoFillBackground(true);
    QPalette shade = palette();
    shade.setColor(QPalette::Window, QColor(0x14, 0x18, 0x1f));
    shade.setColor(QPalette::WindowText, QColor(0xc8, 0xd0, 0xdc));
    setPalette(shade);

    m_title = new QLabel(this);
    m_title->setObjectName("ChartTitle");
    m_title->setAlignment(Qt::AlignCenter);
    QFont titleFont = m_title->font();
    titleFont.setPointSizeF(titleFont.pointSizeF() * 1.8);
    titleFont.setBold(true);
    m_title->setFont(titleFont);
    m_title->setText("No symbol loaded");

    m_detail = new QLabel(this);
    m_detail->setObjectName("ChartDetail");
    m_detail->setAlignment(Qt::AlignCenter);
    m_detail->setTextFormat(Qt::PlainText);
    m_detail->setText("Type a symbol in the ribbon and press Enter.");

    m_live = new QLabel(this);
    m_live->setObjectName("ChartLive");
    m_live->setAlignment(Qt::AlignCenter);

    auto* layout = new QVBoxLayout(this);
    layout->addStretch(1);
    layout->addWidget(m_title);
    layout->addSpacing(12);
    layout->addWidget(m_detail);
    layout->addSpacing(12);
    layout->addWidget(m_live);
    layout->addStretch(1);

    m_progressTimer.setObjectName(QString::number(kProgressTimerId));
    m_progressTimer.setInterval(kProgressPeriodMs);
    connect(&m_progressTimer, &QTimer::timeout, this, &CChartFormView::OnProgressTimer);

    m_loader.LoadSettings();
}

CChartFormView::~CChartFormView() = default;

CChartLoader::EStart CChartFormView::Load(const std::string& symbol) {
    if (!Symbol().empty() && Symbol() != symbol) {
        m_progressTimer.stop();
    }
    m_scrollMaximum = 0;
    m_scrollPosition = 0;
    m_lastStatus.clear();
    m_live->clear();
    const CChartLoader::EStart started = m_loader.Load(symbol, [this] { m_progressTimer.start(); });
    ShowSummary();
    return started;
}

void CChartFormView::Reload() {
    if (Symbol().empty()) {
        return;
    }
    const std::string symbol = Symbol();
    m_progressTimer.stop();
    m_loader.Leave();
    Load(symbol);
}

void CChartFormView::OnHistoryLine(const std::string& line) {
    m_loader.OnHistoryLine(line);
}

void CChartFormView::OnLevel1Line(const std::string& line) {
    m_loader.OnLevel1Line(line);
    // Update lines follow the selected field list: symbol, total volume, trade size, high, low,
    // bid, ask, ... and the most recent trade at position 15.
    constexpr std::size_t kBid = 6;
    constexpr std::size_t kAsk = 7;
    constexpr std::size_t kLast = 15;
    const std::vector<std::string_view> fields = SplitFields(line);
    if (fields.size() <= kLast || fields[1] != Symbol()) {
        return;
    }
    if (fields[0] == "Q" || fields[0] == "P") {
        m_live->setText(QString::fromStdString(fmt::format(
            "Live:  last {}    bid {}    ask {}", fields[kLast], fields[kBid], fields[kAsk])));
    }
}

void CChartFormView::OnProgressTimer() {
    m_loader.OnProgressTick(*this);
    ShowSummary();
}

int CChartFormView::RecomputeAndShowNewest() {
    return m_loader.History().GetCount();
}

void CChartFormView::AppendNewPoints(int count) {
    spdlog::debug("Chart view: {} new points", count);
}

void CChartFormView::SetStatusText(const std::string& text) {
    if (text == m_lastStatus) {
        return;
    }
    m_lastStatus = text;
    if (m_statusSink) {
        m_statusSink(text);
    }
}

void CChartFormView::ShowSummary() {
    const SChartSummary summary = m_loader.Summary();
    if (summary.symbol.empty()) {
        m_title->setText("No symbol loaded");
        m_detail->setText("Type a symbol in the ribbon and press Enter.");
        return;
    }
    m_title->setText(QString::fromStdString(summary.symbol + "  -  " + summary.dataType));
    std::string detail;
    if (!m_loader.AnswerError().empty() && summary.points == 0) {
        detail = fmt::format("The service has no history for {}: {}", summary.symbol,
                             m_loader.AnswerError());
    } else if (!summary.complete) {
        detail = fmt::format("Loading... {} points received", summary.points);
    } else if (summary.points == 0) {
        detail = "No data points.";
    } else {
        const int shown = std::min(summary.points, DisplayedPointCount());
        detail = fmt::format("{} points (the newest {} would be displayed)\n"
                             "first  {}\nlast   {}\nlast close  {}",
                             summary.points, shown, summary.first, summary.last, summary.lastClose);
    }
    m_detail->setText(QString::fromStdString(detail));
}
