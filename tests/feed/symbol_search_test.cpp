// The symbol search dialog of the real main frame against a real portico: market names, the
// empty answer, cancelling, confirming from the search box.

#include "frame_fixture.h"

#include "feed/feed_connections.h"
#include "feed/ui/symbol_search_dlg.h"

#include <QComboBox>
#include <QLineEdit>
#include <QTableWidget>
#include <QTest>
#include <QTimer>

namespace skychart::test {
namespace {

using namespace std::chrono_literals;

class SymbolSearchTest : public FrameTest {
protected:
    // A search dialog for `text`, once the answer has filled a row showing `symbol`.
    std::unique_ptr<CSymbolSearchDlg> Search(const QString& text, const QString& symbol) {
        auto dialog = std::make_unique<CSymbolSearchDlg>(
            *frame().Feed(), [this](const std::string& id) { return frame().MarketName(id); }, text,
            false, &frame());
        EXPECT_TRUE(WaitFor([&] {
            dialog->OnSearchLine();
            return RowOf(*dialog, symbol) >= 0;
        })) << "no row for "
            << symbol.toStdString();
        return dialog;
    }
    static int RowOf(const CSymbolSearchDlg& dialog, const QString& symbol) {
        for (int row = 0; row < dialog.RowCount(); ++row) {
            if (dialog.CellText(row, 0) == symbol) {
                return row;
            }
        }
        return -1;
    }
};

TEST_F(SymbolSearchTest, ResultsShowMarketNamesAFoundRowIsConfirmedAndLoadedFromTheSearchBox) {
    CMainFrame& frame = OpenFrame();
    ASSERT_TRUE(WaitForService());
    auto dialog = Search("LUM", "LUMA");
    // The market's name is shown, not its number.
    const int lumaRow = RowOf(*dialog, "LUMA");
    EXPECT_EQ(dialog->CellText(lumaRow, 1), "Northgate Stock Exchange");
    EXPECT_EQ(dialog->CellText(lumaRow, 2), "Lumarel Photonics Corp");
    EXPECT_TRUE(dialog->ConfirmRow(lumaRow));
    EXPECT_EQ(dialog->result(), QDialog::Accepted);
    EXPECT_EQ(dialog->SelectedSymbol(), "LUMA");
    // Nothing found: one row that cannot be confirmed.
    auto none = Search("QQXXZZ", "No Results Found");
    ASSERT_EQ(none->RowCount(), 1);
    EXPECT_TRUE(!none->ConfirmRow(0) && none->SelectedSymbol().empty());
    EXPECT_NE(none->result(), QDialog::Accepted);
    dialog.reset();
    none.reset();
    // From the frame: cancelled, nothing changes.
    QTimer::singleShot(0, &frame, [&] {
        if (WaitFor([&] { return frame.ActiveSearch() != nullptr; }, 10s)) {
            frame.ActiveSearch()->reject();
        }
    });
    EXPECT_TRUE(!frame.RunSymbolSearch("krno") && Stored("CurrentSymbol").isEmpty());
    // Enter in the search box opens the dialog; Enter on a found row confirms it: the symbol
    // goes first into the symbol box, is stored and loaded.
    QTimer::singleShot(0, &frame, [&] {
        CSymbolSearchDlg* open = nullptr;
        WaitFor([&] {
            open = frame.ActiveSearch();
            return open != nullptr && open->RowCount() > 0 &&
                   open->CellText(0, 0) != "No Results Found";
        });
        if (open == nullptr) {
            return;
        }
        auto* table = open->findChild<QTableWidget*>("SearchResults");
        table->setFocus();
        table->setCurrentCell(0, 0);
        QTest::keyClick(table, Qt::Key_Return);
        if (open->isVisible()) {
            open->reject();
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
