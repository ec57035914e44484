#pragma once

#include <QWidget>

#include <string>

class CFeedConnections;
class QLabel;

// The main frame's single chart view. For now it shows which symbol is loaded and keeps the
// symbol watched on the Level 1 connection; the panes come later.
class CChartFormView : public QWidget {
    Q_OBJECT

public:
    explicit CChartFormView(QWidget* parent = nullptr);

    // The frame's feed (may be null until the connections exist).
    void SetFeed(CFeedConnections* feed) { m_feed = feed; }

    // Shows `symbol` (upper case) and watches it on the Level 1 connection; the symbol shown
    // before is no longer watched. Returns the number of watch commands sent.
    int Load(const std::string& symbol);

    // A Level 1 line for the loaded symbol (the frame passes every one on).
    void OnLevel1Line(const std::string& line);

    const std::string& Symbol() const { return m_symbol; }

private:
    CFeedConnections* m_feed = nullptr;
    std::string m_symbol;
    QLabel* m_title = nullptr;
    QLabel* m_detail = nullptr;
};
