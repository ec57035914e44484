#pragma once

#include <QDialog>
#include <QString>

#include <functional>
#include <string>

class CFeedConnections;
class QLabel;
class QLineEdit;
class QTableWidget;
class QTableWidgetItem;

// Modal symbol search: sends the search for the entered text through the frame's lookup
// connection and lists the answers in a sortable table ("Symbol", "Market", "Description").
// Enter or a double-click confirms the selected row; the "No Results Found" row cannot be
// confirmed.
class CSymbolSearchDlg : public QDialog {
    Q_OBJECT

public:
    // `marketName` turns a listed-market id into the market's name; `byDescription` searches
    // descriptions (as typed) instead of symbols (upper-cased).
    CSymbolSearchDlg(CFeedConnections& feed,
                     std::function<std::string(const std::string&)> marketName, const QString& text,
                     bool byDescription, QWidget* parent = nullptr);

    // Sends the search for the text in the search field (also done once when the dialog opens).
    void StartSearch();
    // The frame calls this for every search answer line; the table shows the results so far.
    void OnSearchLine();

    // The confirmed symbol (empty until a row was confirmed).
    const std::string& SelectedSymbol() const { return m_selected; }
    int RowCount() const;
    // Text of a cell as shown (after sorting).
    QString CellText(int row, int column) const;
    // Confirms `row` as if it had been double-clicked; false for the "No Results Found" row.
    bool ConfirmRow(int row);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    // Up and Down in the search text move into the results.
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void Refill();

    CFeedConnections& m_feed;
    std::function<std::string(const std::string&)> m_marketName;
    bool m_byDescription = false;
    QLineEdit* m_text = nullptr;
    QTableWidget* m_table = nullptr;
    QLabel* m_state = nullptr;
    std::string m_selected;
    // The text of the last search sent, so that Enter on it again confirms instead.
    QString m_searched;
};
