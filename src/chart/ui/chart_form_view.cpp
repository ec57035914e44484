#include "chart/ui/chart_form_view.h"

#include "base/fields.h"
#include "feed/feed_connections.h"

#include <QLabel>
#include <QVBoxLayout>

#include <spdlog/spdlog.h>

CChartFormView::CChartFormView(QWidget* parent) : QWidget(parent) {
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
    m_detail->setText("Type a symbol in the ribbon and press Enter.");

    auto* layout = new QVBoxLayout(this);
    layout->addStretch(1);
    layout->addWidget(m_title);
    layout->addWidget(m_detail);
    layout->addStretch(1);
}

int CChartFormView::Load(const std::string& symbol) {
    if (m_feed != nullptr && !m_symbol.empty() && m_symbol != symbol) {
        m_feed->UnwatchSymbol(m_symbol);
    }
    m_symbol = symbol;
    m_title->setText(QString::fromStdString(symbol + ": history loads in a later version"));
    m_detail->setText("Waiting for the first trade...");
    if (m_feed == nullptr) {
        spdlog::warn("Chart view: no feed connections, {} is not watched", symbol);
        return 0;
    }
    const int sent = m_feed->WatchSymbol(symbol);
    spdlog::info("Chart view: loading {} (watch commands sent: {})", symbol, sent);
    return sent;
}

void CChartFormView::OnLevel1Line(const std::string& line) {
    // Update lines follow the selected field list: symbol, total volume, trade size, high, low,
    // bid, ask, ... and the most recent trade at position 15.
    constexpr std::size_t kBid = 6;
    constexpr std::size_t kAsk = 7;
    constexpr std::size_t kLast = 15;
    const std::vector<std::string> fields = SplitFieldsCopy(line);
    if (fields.size() < 2 || fields[1] != m_symbol) {
        return;
    }
    if (fields[0] == "F") {
        m_detail->setText("Watching live updates.");
    } else if ((fields[0] == "Q" || fields[0] == "P") && fields.size() > kLast) {
        m_detail->setText(QString::fromStdString("Last " + fields[kLast] + "    Bid " +
                                                 fields[kBid] + "    Ask " + fields[kAsk]));
    }
}
