#pragma once

// The chart view's persistent state in the settings table: the pane layout ("Number of displayed
// study charts", "Type of study chart %d", "Top of chart %d", "Chart %d Minimized", "Maximized
// Chart Index"), the displayed points ("PTS INDEX") and the scroll step.

#include "chart/display_range.h"
#include "chart/pane_layout.h"

class CSettings;

// Reads the layout as the view loads it: the displayed count, each position's study type, top
// and minimised flag, then the maximised pane; the layout is then finished (the top below the
// lowest displayed pane becomes 1.0).
SPaneLayout LoadPaneLayout(const CSettings& settings);
// Stores the tops, the minimised flags and the maximised pane (999 when none).
void SavePaneLayout(CSettings& settings, const SPaneLayout& layout);

SScrollStepSettings LoadScrollStep(const CSettings& settings);
