#include "feed/ui/symbol_search_dlg.h"

#include "feed/feed_connections.h"
#include "feed/symbol_search.h"

#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

#include <spdlog/spdlog.h>

namespace {

enum EColumn { kSymbolColumn = 0, kMarketColumn = 1, kDescriptionColumn = 2 };

QTableWidgetItem* MakeItem(const std::string& text, bool selectable) {
    auto* item = new QTableWidgetItem(QString::fromStdString(text));
    item->setFlags(selectable ? Qt::ItemIsEnabled | Qt::ItemIsSelectable : Qt::ItemIsEnabled);
    return item;
}

} // namespace

CSymbolSearchDlg::CSymbolSearchDlg(CFeedConnections& feed,
                                   std::function<std::string(const std::string&)> marketName,
                                   const QString& text, bool byDescription, QWidget* parent)
    : QDialog(parent), m_feed(feed), m_marketName(std::move(marketName)),
      m_byDescription(byDescription) {
    setWindowTitle("Symbol Search");
    setObjectName("SymbolSearchDlg");
    resize(640, 420);

    m_text = new QLineEdit(text, this);
    m_text->setObjectName("SearchText");
    auto* searchButton = new QPushButton("Search", this);
    searchButton->setAutoDefault(false);
    auto* searchRow = new QHBoxLayout;
    searchRow->addWidget(new QLabel("Search for", this));
    searchRow->addWidget(m_text, 1);
    searchRow->addWidget(searchButton);

    m_table = new QTableWidget(0, 3, this);
    m_table->setObjectName("SearchResults");
    m_table->setHorizontalHeaderLabels({"Symbol", "Market", "Description"});
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setSelectionMode(QAbstractItemView::SingleSelection);
    m_table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_table->verticalHeader()->setVisible(false);
    m_table->horizontalHeader()->setStretchLastSection(true);
    m_table->setColumnWidth(kSymbolColumn, 130);
    m_table->setColumnWidth(kMarketColumn, 200);
    m_table->setSortingEnabled(true);

    m_state = new QLabel(this);
    m_state->setObjectName("SearchState");

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    buttons->button(QDialogButtonBox::Ok)->setAutoDefault(false);
    buttons->button(QDialogButtonBox::Cancel)->setAutoDefault(false);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(searchRow);
    layout->addWidget(m_table, 1);
    layout->addWidget(m_state);
    layout->addWidget(buttons);

    connect(searchButton, &QPushButton::clicked, this, &CSymbolSearchDlg::StartSearch);
    // Enter searches; Enter again on the same text takes the highlighted result.
    connect(m_text, &QLineEdit::returnPressed, this, [this] {
        if (m_text->text().trimmed() == m_searched && ConfirmRow(m_table->currentRow())) {
            return;
        }
        StartSearch();
    });
    m_text->installEventFilter(this);
    connect(m_table, &QTableWidget::cellDoubleClicked, this,
            [this](int row, int /*column*/) { ConfirmRow(row); });
    connect(buttons, &QDialogButtonBox::accepted, this,
            [this] { ConfirmRow(m_table->currentRow()); });
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    StartSearch();
}

void CSymbolSearchDlg::StartSearch() {
    QString entered = m_text->text().trimmed();
    // Symbols are upper case; descriptions are searched as typed.
    if (!m_byDescription) {
        entered = entered.toUpper();
    }
    const std::string text = entered.toStdString();
    m_searched = m_text->text().trimmed();
    m_selected.clear();
    m_table->setRowCount(0);
    if (text.empty()) {
        m_state->setText("Type a symbol or part of a description.");
        return;
    }
    if (m_feed.Connection(CFeedConnections::kLookup) == nullptr) {
        m_state->setText("Not connected to the service yet; search again once connected.");
        return;
    }
    m_state->setText("Searching...");
    m_feed.SearchSymbols(text, "", "", m_byDescription);
    spdlog::info("Symbol search for \"{}\"", text);
}

void CSymbolSearchDlg::OnSearchLine() {
    Refill();
}

void CSymbolSearchDlg::Refill() {
    const std::vector<SSearchResult>& results = m_feed.SearchResults();
    m_table->setSortingEnabled(false);
    m_table->clearSpans();
    m_table->setRowCount(static_cast<int>(results.size()));
    int found = 0;
    for (int row = 0; row < static_cast<int>(results.size()); ++row) {
        const SSearchResult& result = results[static_cast<std::size_t>(row)];
        const bool selectable = result.symbol != kNoSearchResults;
        std::string market;
        if (selectable) {
            ++found;
            market = m_marketName ? m_marketName(result.listedMarketId) : std::string();
            if (market.empty()) {
                market = result.listedMarketId;
            }
        }
        m_table->setItem(row, kSymbolColumn, MakeItem(result.symbol, selectable));
        m_table->setItem(row, kMarketColumn, MakeItem(market, selectable));
        m_table->setItem(row, kDescriptionColumn, MakeItem(result.description, selectable));
        if (!selectable) {
            m_table->setSpan(row, kSymbolColumn, 1, 3);
        }
    }
    m_table->setSortingEnabled(true);
    m_state->setText(found == 1 ? QString("1 symbol found.")
                                : QString("%1 symbols found.").arg(found));
    if (found > 0 && m_table->currentRow() < 0) {
        m_table->selectRow(0);
    }
}

int CSymbolSearchDlg::RowCount() const {
    return m_table->rowCount();
}

QString CSymbolSearchDlg::CellText(int row, int column) const {
    const QTableWidgetItem* item = m_table->item(row, column);
    return item != nullptr ? item->text() : QString();
}

bool CSymbolSearchDlg::ConfirmRow(int row) {
    const QTableWidgetItem* item = m_table->item(row, kSymbolColumn);
    if (item == nullptr || item->text().isEmpty() || item->text() == kNoSearchResults) {
        return false;
    }
    m_selected = item->text().toStdString();
    accept();
    return true;
}

bool CSymbolSearchDlg::eventFilter(QObject* watched, QEvent* event) {
    if (watched == m_text && event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if ((key == Qt::Key_Down || key == Qt::Key_Up) && m_table->rowCount() > 0) {
            m_table->setFocus();
            if (m_table->currentRow() < 0) {
                m_table->selectRow(0);
            }
            return true;
        }
    }
    return QDialog::eventFilter(watched, event);
}

void CSymbolSearchDlg::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        if (!m_text->hasFocus()) {
            ConfirmRow(m_table->currentRow());
        }
        return;
    }
    QDialog::keyPressEvent(event);
}
