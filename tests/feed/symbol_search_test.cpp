// The symbol search dialog against a real portico: market names, the empty answer, confirming.

#include "frame_fixture.h"

#include "feed/feed_connections.h"
#include "feed/ui/symbol_search_dlg.h"

#include <QComboBox>
#include <QLineEdit>
#include <QTableWidget>
#include <QTest>
#include <QTimer>

#include <map>

namespace skychart::test {
namespace {

using namespace std::chrono_literals;

// Listed-market id -> name, straight from the service's "SLM" table.
std::map<std::string, std::string> ListedMarkets(int lookupPort) {
    std::map<std::string, std::string> names;
    LineClient lookup;
    if (!lookup.connect(lookupPort) || !lookup.send("SLM\r\n")) {
        return names;
    }
    while (const std::optional<std::string> line = lookup.readLine(10s)) {
        if (line->find("!ENDMSG!") != std::string::npos) {
            break;
        }
        // id,short name,name,group id,group name
        const std::size_t first = line->find(',');
        const std::size_t second = line->find(',', first + 1);
        const std::size_t third = line->find(',', second + 1);
        if (first != std::string::npos && third != std::string::npos) {
            names[line->substr(0, first)] = line->substr(second + 1, third - second - 1);
        }
    }
    return names;
}

class SymbolSearchTest : public FrameTest {
protected:
    std::unique_ptr<CSymbolSearchDlg> OpenSearch(const QString& text) {
        auto dialog = std::make_unique<CSymbolSearchDlg>(
            *frame().Feed(), [this](const std::string& id) { return frame().MarketName(id); }, text,
            false, &frame());
        return dialog;
    }
};

TEST_F(SymbolSearchTest, ResultsShowMarketNamesAndConfirmReturnsTheSymbol) {
    OpenFrame();
    ASSERT_TRUE(WaitForService());
    const std::map<std::string, std::string> markets = ListedMarkets(portico().lookupPort());
    ASSERT_FALSE(markets.empty());

    auto dialog = OpenSearch("LUM");
    ASSERT_TRUE(WaitFor([&] {
        dialog->OnSearchLine();
        return dialog->RowCount() > 0 && dialog->CellText(0, 0) != "No Results Found";
    }));
    const std::vector<SSearchResult>& results = frame().Feed()->SearchResults();
    ASSERT_FALSE(results.empty());
    int lumaRow = -1;
    for (int row = 0; row < dialog->RowCount(); ++row) {
        const std::string symbol = dialog->CellText(row, 0).toStdString();
        const auto result =
            std::find_if(results.begin(), results.end(),
                         [&](const SSearchResult& r) { return r.symbol == symbol; });
        ASSERT_NE(result, results.end()) << symbol;
        const auto market = markets.find(result->listedMarketId);
        ASSERT_NE(market, markets.end()) << result->listedMarketId;
        // The market's name is shown, not its number.
        EXPECT_EQ(dialog->CellText(row, 1).toStdString(), market->second);
        EXPECT_EQ(dialog->CellText(row, 2).toStdString(), result->description);
        if (symbol == "LUMA") {
            lumaRow = row;
        }
    }
    ASSERT_GE(lumaRow, 0);
    EXPECT_EQ(dialog->CellText(lumaRow, 2), "Lumarel Photonics Corp");
    EXPECT_TRUE(dialog->ConfirmRow(lumaRow));
    EXPECT_EQ(dialog->result(), QDialog::Accepted);
    EXPECT_EQ(dialog->SelectedSymbol(), "LUMA");
}

TEST_F(SymbolSearchTest, NothingFoundShowsOneRowThatCannotBeConfirmed) {
    OpenFrame();
    ASSERT_TRUE(WaitForService());
    auto dialog = OpenSearch("QQXXZZ");
    ASSERT_TRUE(WaitFor([&] {
        dialog->OnSearchLine();
        return dialog->RowCount() > 0;
    }));
    ASSERT_EQ(dialog->RowCount(), 1);
    EXPECT_EQ(dialog->CellText(0, 0), "No Results Found");
    EXPECT_FALSE(dialog->ConfirmRow(0));
    EXPECT_TRUE(dialog->SelectedSymbol().empty());
    EXPECT_NE(dialog->result(), QDialog::Accepted);
}

TEST_F(SymbolSearchTest, SearchBoxEnterLoadsTheConfirmedSymbolOrNothingWhenCancelled) {
    CMainFrame& frame = OpenFrame();
    ASSERT_TRUE(WaitForService());

    // Cancelled: nothing changes.
    QTimer::singleShot(0, &frame, [&] {
        if (WaitFor([&] { return frame.ActiveSearch() != nullptr; }, 10s)) {
            frame.ActiveSearch()->reject();
        }
    });
    EXPECT_FALSE(frame.RunSymbolSearch("krno"));
    EXPECT_TRUE(Stored("CurrentSymbol").isEmpty());

    // Enter in the search box opens the dialog; Enter on a found row confirms it: the symbol
    // goes first into the symbol box, is stored and loaded.
    QTimer::singleShot(0, &frame, [&] {
        CSymbolSearchDlg* dialog = nullptr;
        WaitFor([&] {
            dialog = frame.ActiveSearch();
            return dialog != nullptr && dialog->RowCount() > 0 &&
                   dialog->CellText(0, 0) != "No Results Found";
        });
        if (dialog == nullptr) {
            return;
        }
        auto* table = dialog->findChild<QTableWidget*>("SearchResults");
        table->setFocus();
        table->setCurrentCell(0, 0);
        QTest::keyClick(table, Qt::Key_Return);
        if (dialog->isVisible()) {
            dialog->reject();
        }
    });
    frame.SearchBox()->setText("krn"); // symbol searches go out upper case
    QTest::keyClick(frame.SearchBox(), Qt::Key_Return);
    EXPECT_EQ(Stored("CurrentSymbol"), "KRNO");
    EXPECT_EQ(frame.SymbolCombo()->itemText(0), "KRNO");
    EXPECT_EQ(frame.SymbolCombo()->currentText(), "KRNO");
    EXPECT_TRUE(WaitForServiceWatchCount(1));
}

} // namespace
} // namespace skychart::test
