#pragma once

#include "app/command_line.h"

#include <vector>

class CRibbonBar;
class CSettings;
class QComboBox;
class QLineEdit;
class QToolButton;
class QWidget;

// The controls of the ribbon's "Home" category, which the main frame wires up.
struct SHomeRibbon {
    static constexpr const char* kEnterPanelCaption = "Press Enter To Load Symbol";
    static constexpr const char* kDataSettingsCaption = "Data Settings...";
    static constexpr int kMaxSymbolLength = 127;
    static constexpr const char* kReconnectCaption = "Reconnect";

    QComboBox* symbolCombo = nullptr;
    QComboBox* typeCombo = nullptr;
    QComboBox* intervalCombo = nullptr;
    QComboBox* styleCombo = nullptr;
    QLineEdit* searchBox = nullptr;
    QComboBox* searchModeCombo = nullptr;
    QToolButton* applicationsButton = nullptr;
    QToolButton* newWindowButton = nullptr;
    QToolButton* dataSettingsButton = nullptr;
    QToolButton* chartSettingsButton = nullptr;
    QToolButton* zoomInButton = nullptr;
    QToolButton* zoomOutButton = nullptr;
    QToolButton* printButton = nullptr;
    QToolButton* exportImageButton = nullptr;
    QToolButton* alertsButton = nullptr;
    QToolButton* reconnectButton = nullptr;
};

// Builds the "Home" category with its panels: symbol entry, data request, chart style, symbol
// search, view (zoom, print, image export), applications, connection (reconnect) and settings.
// The combos are empty until FillHomeRibbon.
SHomeRibbon MakeHomeRibbon(CRibbonBar& ribbon);

// Fills the type, interval and style combos and selects what `settings` hold (a stored value
// that matches no item selects the first one), the search mode, and the recent symbols with the
// current symbol in the box. Emits the combos' change signals before the frame connects them.
void FillHomeRibbon(const SHomeRibbon& home, const CSettings& settings,
                    const std::vector<std::string>& recentSymbols,
                    const std::string& currentSymbol);
