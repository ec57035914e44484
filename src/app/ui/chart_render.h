#pragma once

// The render mode's drawing: the loaded chart as the window would show it, into a file.

#include <string>

class CChartLoader;
class CCompareSet;
class CSettings;
class CTrendStore;
struct SExportRequest;

// Draws the series that `loader` holds as the chart window shows it after loading (the display
// and colour settings, every displayed pane, the newest points) on a canvas of the request's
// width and height that is never shown, and writes it to the request's file (PNG or PDF) through
// the same writer as "Export Image...". Reads `settings`, never stores them. Needs a
// QApplication. The trendlines `trendlines` keep for the chart are drawn with it, and the lines
// of the compare symbols of `compare` when given. Returns "" when written, else why not.
std::string RenderChart(const CChartLoader& loader, const SExportRequest& request,
                        CSettings& settings, const CTrendStore& trendlines,
                        const CCompareSet* compare = nullptr);
