#pragma once

#include "chart/color_ref.h"

#include <QColor>
#include <QPushButton>

class QColorDialog;

// A push button that shows its colour as a filled sample. Clicking it opens the colour chooser
// preset with the colour; on OK the button keeps the chosen colour and repaints.
class CButtonForColor : public QPushButton {
    Q_OBJECT

public:
    explicit CButtonForColor(QWidget* parent = nullptr);

    static QColor ToQColor(ColorRef color);
    static ColorRef FromQColor(const QColor& color);

    ColorRef Color() const { return m_color; }
    QColor SampleColor() const { return ToQColor(m_color); }
    // Takes `color` (bits above the blue byte dropped) and repaints; colorChanged when it differs.
    void SetColor(ColorRef color);

    // The chooser shows the part that defines custom colours (spectrum, luminance, value fields,
    // "Add to Custom Colors") only when `full`; the colour wells are always there. Screens of
    // fewer than 9 bits per pixel get the chooser without it.
    void SetFullChooser(bool full) { m_fullChooser = full; }
    bool FullChooser() const { return m_fullChooser; }
    static bool FullChooserForDepth(int bitsPerPixel) { return bitsPerPixel >= 9; }

    // Opens the chooser (what a click does); true when the user pressed OK.
    bool Choose();

    QSize sizeHint() const override;

    static constexpr const char* kChooserName = "ColorChooser";

signals:
    void colorChanged(quint32 color);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    static void HideCustomColorPart(QColorDialog& dialog);

    ColorRef m_color = 0;
    bool m_fullChooser = true;
};
