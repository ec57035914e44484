#pragma once

#include "core/ui/setting_sheet.h"
#include "trend/trend_style.h"

#include <array>

class CButtonForColor;
class CSettings;
class QCheckBox;
class QSpinBox;

// The trendline page of the settings sheet: for each kind, in the kinds' order, its colour, its
// line width in pixels and whether its lines extend to the right edge of the price pane. It shows
// the stored styles when it is made and stores them when the sheet is applied.
class CTrendSettingsPage : public CSettingPage {
    Q_OBJECT

public:
    // `screenDepth`: bits per pixel of the screen (0 asks the primary screen); below 9 bits the
    // colour buttons open the chooser without its custom-colour part.
    explicit CTrendSettingsPage(CSettings& settings, QWidget* parent = nullptr,
                                int screenDepth = 0);

    QString Title() const override; // "Trendlines"
    // Never refuses.
    bool Check() override;
    // Stores the styles the page shows and emits applied().
    void Store() override;

    // The styles as the controls hold them.
    STrendStyles Styles() const;

    CButtonForColor* ColorButton(ETrendKind kind) const { return Row(kind).color; }
    QSpinBox* WidthSpin(ETrendKind kind) const { return Row(kind).width; }
    QCheckBox* ExtendableCheck(ETrendKind kind) const { return Row(kind).extendable; }

signals:
    // The page stored the styles (drawn trendlines should take them).
    void applied();

private:
    struct SRow {
        CButtonForColor* color = nullptr;
        QSpinBox* width = nullptr;
        QCheckBox* extendable = nullptr;
    };
    const SRow& Row(ETrendKind kind) const { return m_rows[static_cast<std::size_t>(kind)]; }

    CSettings& m_settings;
    std::array<SRow, kTrendKindCount> m_rows{};
};
