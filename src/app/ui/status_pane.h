#pragma once

#include <QLabel>
#include <QString>

// A pane of the status bar. It holds its whole text (text(), and its tooltip) and paints it
// whole when it fits, otherwise elided in the middle, so that both the start of a message and
// its end ("- use Reconnect") stay readable at whatever width the pane has when
// it is painted. It asks the layout for the width of `widest` (and room around it) whatever its
// text, so that a long message never pushes the other panes aside, and gives way down to a few
// characters when the window is narrow.
class CStatusPane : public QLabel {
    Q_OBJECT

public:
    CStatusPane(const QString& text, const QString& widest, QWidget* parent = nullptr);

    // Shows `text`; true when it differs from the text shown before (the caller logs it then).
    bool SetText(const QString& text);
    // What is painted at the pane's width now.
    QString ShownText() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    QRect TextRect() const;

    QString m_widest;
};
