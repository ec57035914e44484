#include "app/ui/chart_render.h"

#include "app/export.h"
#include "chart/chart_loader.h"
#include "chart/compare_lines.h"
#include "chart/ui/chart_canvas.h"
#include "chart/ui/chart_image.h"
#include "core/settings.h"
#include "history/chart_hist_request.h"
#include "platform/large_pages.h"
#include "studies/study_panes.h"
#include "trend/trend_store.h"
#include "trend/trend_style.h"
#include "trend/ui/chart_trendlines.h"

#include <QSize>

std::string RenderChart(const CChartLoader& loader, const SExportRequest& request,
                        CSettings& settings, const CTrendStore& trendlines,
                        const CCompareSet* compare) {
    CChartCanvas canvas(loader.History(), settings);
    if (compare != nullptr) {
        canvas.DrawManager().SetCompare(
            std::make_shared<CCompareLines>(*compare, canvas.DrawManager().Displayed()));
    }
    canvas.resize(request.width, request.height);
    canvas.SetSeries(loader.Symbol(), loader.DataType(), loader.IntervalIndex());
    canvas.LoadSettings();
    canvas.SetPointCount(loader.History().GetCount(), true);
    canvas.ResetYRange();
    canvas.SetStudies(std::make_unique<CStudyPanes>(SUpperStudySettings::Read(settings),
                                                    SStudySettings::Read(settings), PopulatePages));
    canvas.ComputeStudies();
    canvas.FinishStudies();
    CCanvasTrendPane pane(canvas);
    CTrendLists lists(pane);
    AddTrendRecords(lists, trendlines.Find({loader.Symbol(), loader.DataType()}), loader.History(),
                    ReadTrendStyles(settings));
    canvas.Relayout();
    // The image holds the title line above the panes: the canvas gives up the height of its
    // scroll bar to it, so that the panes fill the image without being scaled.
    const int spare = request.height - ChartImageTitleHeight() - canvas.PanesSize().height();
    if (spare != 0 && request.height + spare > 0) {
        canvas.resize(request.width, request.height + spare);
        canvas.Relayout();
    }
    const std::string title =
        ChartTitleNow(loader.Symbol(), loader.DataType(), loader.IntervalIndex());
    return WriteChartImage(canvas, title, request.file, QSize(request.width, request.height),
                           request.scale);
}
