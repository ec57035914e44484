#include "chart/ui/stack_pane_chart.h"

#include "chart/chart_style.h"

#include "chart/ui/pane_stack_layout.h"

#include <QRectF>
#include <QVector>

#include <algorithm>
#include <initializer_list>

namespace {

// The x axis's tick marks below the plot and the gap between them and their texts.
constexpr int kXTickLength = 4;
constexpr int kXAxisPadding = 5;

QColor ToQColor(ColorRef color) {
    return QColor(RedOf(color), GreenOf(color), BlueOf(color));
}

QFont PixelFont(const QFont& base, int pixels) {
    QFont font(base);
    font.setPixelSize(pixels);
    return font;
}

void CheckOffset(double xOffset) {
    if (!std::isfinite(xOffset)) {
        throw CInvalidArgException("a series' x offset must be a finite number");
    }
}

} // namespace

CStackPaneChart::CStackPaneChart(IPaneHost& stack, int index, std::shared_ptr<QImage> raster)
    : m_stack(stack), m_index(index), m_rect(new CPaneAxisRect(&stack.Plot())),
      m_x(m_rect->axis(QCPAxis::atBottom)), m_y{m_rect->axis(QCPAxis::atLeft),
                                                m_rect->axis(QCPAxis::atRight)},
      m_crosshair(m_rect, m_x, m_y[0], m_y[1]) {
    m_rect->setLayer(QStringLiteral("background"));
    m_rect->setRangeDrag({});
    m_rect->setRangeZoom({});
    m_rect->setAutoMargins(QCP::msLeft | QCP::msRight | QCP::msBottom);
    m_rect->setMargins(QMargins(0, stack.LabelStripHeight(), 0, 0));
    // The plot reaches down to the next pane when the x axis writes nothing below it.
    m_rect->setMinimumMargins(QMargins(15, 0, 15, 0));
    QCPAxis* top = m_rect->axis(QCPAxis::atTop);
    top->setVisible(false);

    m_xTicker.reset(new QCPAxisTickerText);
    m_xTicker->setSubTickCount(0);
    m_x->setTicker(m_xTicker);
    for (int i = 0; i < 2; ++i) {
        m_valueTickers[i].reset(new CValueAxisTicker(m_rect));
        m_y[i]->setTicker(m_valueTickers[i]);
        m_y[i]->setVisible(true);
    }
    const QFont tickFont = PixelFont(stack.Plot().font(), IPaneHost::kTickFontPixels);
    for (QCPAxis* axis : {m_x, m_y[0], m_y[1], top}) {
        axis->setLayer(QStringLiteral("axes"));
        axis->grid()->setLayer(QStringLiteral("grid"));
        axis->setTickLabelFont(tickFont);
        axis->setSubTicks(false);
        axis->setTickLengthIn(0);
        axis->setTickLengthOut(kXTickLength);
        axis->setSelectableParts(QCPAxis::spNone);
        axis->grid()->setSubGridVisible(false);
        axis->grid()->setZeroLinePen(Qt::NoPen);
        axis->grid()->setAntialiased(false);
        axis->setAntialiased(false);
    }
    m_x->setVisible(true);
    m_x->setRange(0.0, 1.0);

    m_background = new CPaneFrameLayerable(&stack.Plot(), QStringLiteral("background"), m_rect,
                                           CPaneFrameLayerable::EPart::Background);
    m_series =
        new CPaneSeriesLayerable(&stack.Plot(), m_rect, m_x, m_y[0], m_y[1], std::move(raster));
    m_labelLine = new CPaneFrameLayerable(&stack.Plot(), QStringLiteral("legend"), m_rect,
                                          CPaneFrameLayerable::EPart::LabelLine);
    m_labelLine->SetFont(PixelFont(stack.Plot().font(), IPaneHost::kLabelFontPixels));
    m_crosshair.SetFont(tickFont);
    m_tags = new CPaneTagLayerable(&stack.Plot(), m_rect, m_y[0], m_y[1], m_series->Series(),
                                   m_valueScales);
    m_tags->SetFont(tickFont);
    ApplyAxes();
    ApplyValueRanges();
    // The insets follow the plot height, known once the plot is laid out; the ticks are placed
    // again over the widened range.
    m_afterLayout = QObject::connect(&stack.Plot(), &QCustomPlot::afterLayout, [this] {
        if (ApplyValueRanges()) {
            m_rect->update(QCPLayoutElement::upPreparation);
        }
    });
}

CStackPaneChart::~CStackPaneChart() {
    QObject::disconnect(m_afterLayout);
}

bool CStackPaneChart::ApplyValueRanges() {
    const double plot = m_rect->rect().height();
    const double inset = ValueInset(plot);
    bool changed = false;
    for (int i = 0; i < 2; ++i) {
        const CValueScale::SAxisSpan range =
            m_valueScales[i].AxisSpan(m_valueRanges[i].min, m_valueRanges[i].max);
        const double pad = inset > 0.0 ? (range.max - range.min) * inset / (plot - 2 * inset) : 0.0;
        const QCPRange wanted(range.min - pad, range.max + pad);
        if (m_y[i]->range() != wanted) {
            m_y[i]->setRange(wanted);
            changed = true;
        }
    }
    return changed;
}

QCPAxisRect* CStackPaneChart::AxisRect() const {
    return m_rect;
}

void CStackPaneChart::SetAligned(bool aligned) {
    m_rect->setMarginGroup(QCP::msLeft | QCP::msRight, aligned ? m_stack.MarginGroup() : nullptr);
}

void CStackPaneChart::ApplyAxes() {
    // The axes and their numbers in a colour that reads on the background, like the label line.
    const QColor& back = m_backgroundColor;
    const QColor axisColor = ToQColor(
        ReadableTextColor(m_axisColor, MakeColorRef(back.red(), back.green(), back.blue())));
    const QPen axisPen(axisColor, 0);
    const QPen gridPen(ToQColor(m_gridColor), 0, QtPenStyleOf(m_gridStyle));
    for (QCPAxis* axis : {m_x, m_y[0], m_y[1]}) {
        axis->setBasePen(axisPen);
        axis->setTickPen(axisPen);
        axis->setTickLabelColor(axisColor);
        axis->grid()->setPen(gridPen);
    }
    for (int i = 0; i < 2; ++i) {
        const bool labelled = i == Slot(m_labelAxis);
        m_y[i]->setVisible(!m_collapsed);
        m_y[i]->setTicks(labelled);
        m_y[i]->setTickLabels(labelled);
        m_y[i]->grid()->setVisible(labelled && m_gridVisible);
    }
    m_x->setVisible(!m_collapsed);
    m_x->grid()->setVisible(m_gridVisible);
    m_series->setVisible(!m_collapsed);
    // The crosshair and its tag in the axis colour, the tag's text in the background colour.
    m_crosshair.SetShown(!m_collapsed);
    m_crosshair.SetLabelAxis(m_labelAxis);
    m_tags->SetLabelAxis(m_labelAxis);
    m_tags->SetShown(!m_collapsed);
    m_crosshair.SetColors(axisColor, m_backgroundColor);
}

void CStackPaneChart::SetCollapsed(bool collapsed) {
    if (collapsed == m_collapsed) {
        return;
    }
    m_collapsed = collapsed;
    m_rect->setAutoMargins(collapsed ? QCP::msNone : QCP::msLeft | QCP::msRight | QCP::msBottom);
    m_rect->setMargins(QMargins(0, m_stack.LabelStripHeight(), 0, 0));
    ApplyAxes();
    Changed(true);
}

void CStackPaneChart::Project(SPaneSeries& series) const {
    const bool log = m_valueScales[Slot(series.Axis())].IsLog();
    if (log == series.logarithmic) {
        return;
    }
    SPaneSeries::SRaw& raw = series.raw;
    if (!log) {
        series.values = std::move(raw.values);
        series.points = std::move(raw.points);
        series.open = std::move(raw.open);
        series.high = std::move(raw.high);
        series.low = std::move(raw.low);
        series.close = std::move(raw.close);
        raw = {};
        series.logarithmic = false;
        return;
    }
    const auto logOf = [](std::vector<double>& from, std::vector<double>& keep) {
        keep = from;
        for (double& value : from) {
            value = CValueScale::LogCoordinate(value);
        }
    };
    logOf(series.values, raw.values);
    logOf(series.open, raw.open);
    logOf(series.high, raw.high);
    logOf(series.low, raw.low);
    logOf(series.close, raw.close);
    raw.points = series.points;
    for (SPoint& point : series.points) {
        point.y = CValueScale::LogCoordinate(point.y);
    }
    series.logarithmic = true;
}

void CStackPaneChart::Changed(bool layout) {
    m_stack.Invalidate(layout);
}

// ---- series ----

void CStackPaneChart::SetLine(SeriesId id, std::span<const double> values, double xOffset) {
    CheckOffset(xOffset);
    SPaneSeries& series = m_series->Series().Take(id, SPaneSeries::EKind::Line);
    series.logarithmic = false;
    series.raw = {};
    series.explicitPoints = false;
    series.values.assign(values.begin(), values.end());
    series.points.clear();
    series.xOffset = xOffset;
    Project(series);
    Changed(false);
}

void CStackPaneChart::SetLinePoints(SeriesId id, std::span<const SPoint> points) {
    SPaneSeries& series = m_series->Series().Take(id, SPaneSeries::EKind::Line);
    series.logarithmic = false;
    series.raw = {};
    series.explicitPoints = true;
    series.points.assign(points.begin(), points.end());
    series.values.clear();
    series.xOffset = 0.0;
    Project(series);
    Changed(false);
}

void CStackPaneChart::SetLineLabel(SeriesId id, std::string_view text) {
    SPaneSeries& series = m_series->Series().Take(id, SPaneSeries::EKind::Line);
    if (series.label == text) {
        return;
    }
    series.label.assign(text);
    series.labelText.setText(QString::fromStdString(series.label));
    series.labelText.setTextFormat(Qt::PlainText);
    series.labelText.setPerformanceHint(QStaticText::AggressiveCaching);
    series.labelImage = QImage();
    Changed(false);
}

void CStackPaneChart::SetLineTag(SeriesId id, const SValueTag& tag) {
    SPaneSeries& series = m_series->Series().Take(id, SPaneSeries::EKind::Line);
    if (series.tag == tag) {
        return;
    }
    series.tag = tag;
    Changed(false);
}

void CStackPaneChart::SetLineStyle(SeriesId id, const SLineStyle& style) {
    SPaneSeries& series = m_series->Series().Take(id, SPaneSeries::EKind::Line);
    series.line = style;
    series.line.width = std::clamp(style.width, 1, 16);
    Project(series);
    Changed(false);
}

void CStackPaneChart::SetPriceBars(SeriesId id, const SOhlcSpans& bars, double xOffset) {
    const std::size_t n = bars.open.size();
    if (bars.high.size() != n || bars.low.size() != n || bars.close.size() != n) {
        throw CInvalidArgException("open, high, low and close differ in length");
    }
    CheckOffset(xOffset);
    SPaneSeries& series = m_series->Series().Take(id, SPaneSeries::EKind::PriceBars);
    series.logarithmic = false;
    series.raw = {};
    series.open.assign(bars.open.begin(), bars.open.end());
    series.high.assign(bars.high.begin(), bars.high.end());
    series.low.assign(bars.low.begin(), bars.low.end());
    series.close.assign(bars.close.begin(), bars.close.end());
    series.xOffset = xOffset;
    Project(series);
    Changed(false);
}

void CStackPaneChart::SetPriceBarStyle(SeriesId id, const SPriceBarStyle& style) {
    SPaneSeries& series = m_series->Series().Take(id, SPaneSeries::EKind::PriceBars);
    series.bars = style;
    series.bars.width = std::max(style.width, 0);
    Project(series);
    Changed(false);
}

void CStackPaneChart::SetHistogram(SeriesId id, std::span<const double> values, double xOffset) {
    CheckOffset(xOffset);
    SPaneSeries& series = m_series->Series().Take(id, SPaneSeries::EKind::Histogram);
    series.logarithmic = false;
    series.raw = {};
    series.values.assign(values.begin(), values.end());
    series.xOffset = xOffset;
    Project(series);
    Changed(false);
}

void CStackPaneChart::SetHistogramStyle(SeriesId id, const SHistogramStyle& style) {
    SPaneSeries& series = m_series->Series().Take(id, SPaneSeries::EKind::Histogram);
    series.histogram = style;
    series.histogram.width = std::max(style.width, 1);
    Project(series);
    Changed(false);
}

void CStackPaneChart::ClearSeries(SeriesId id) {
    m_series->Series().Remove(id);
    Changed(false);
}

void CStackPaneChart::ClearAllSeries() {
    m_series->Series().Clear();
    Changed(false);
}

// ---- axes ----

void CStackPaneChart::SetXRange(double min, double max) {
    const SRange range = NormalizeRange(min, max);
    m_x->setRange(range.min, range.max);
    Changed(true);
}

CChart2D::SRange CStackPaneChart::XRange() const {
    return {m_x->range().lower, m_x->range().upper};
}

void CStackPaneChart::SetAxisRange(EAxis axis, double min, double max) {
    m_valueRanges[Slot(axis)] = NormalizeRange(min, max);
    ApplyValueRanges();
    Changed(true);
}

CChart2D::SRange CStackPaneChart::AxisRange(EAxis axis) const {
    return m_valueRanges[Slot(axis)];
}

void CStackPaneChart::SetLabelAxis(EAxis axis) {
    m_labelAxis = axis;
    ApplyAxes();
    Changed(true);
}

void CStackPaneChart::SetLabelPrecision(EAxis axis, int precision) {
    m_valueTickers[Slot(axis)]->SetPrecision(ClampPrecision(precision));
    Changed(true);
}

int CStackPaneChart::LabelPrecision(EAxis axis) const {
    return m_valueTickers[Slot(axis)]->Precision();
}

void CStackPaneChart::SetLabelFormat(EAxis axis, ELabelFormat format) {
    m_valueTickers[Slot(axis)]->SetFormat(format);
    Changed(true);
}

CChart2D::ELabelFormat CStackPaneChart::LabelFormat(EAxis axis) const {
    return m_valueTickers[Slot(axis)]->Format();
}

void CStackPaneChart::SetXLabels(std::span<const SXLabel> labels) {
    QMap<double, QString> ticks;
    bool anyText = false;
    for (const SXLabel& label : labels) {
        if (std::isfinite(label.slot)) {
            ticks.insert(label.slot, QString::fromStdString(label.text));
            anyText = anyText || !label.text.empty();
        }
    }
    m_xTicker->setTicks(ticks);
    // Grid lines without texts take no room below the plot: no labels, tick marks or padding.
    m_x->setTickLabels(anyText);
    m_x->setTickLengthOut(anyText ? kXTickLength : 0);
    m_x->setPadding(anyText ? kXAxisPadding : 0);
    Changed(true);
}

void CStackPaneChart::SetValueScale(EAxis axis, const CValueScale& scale) {
    if (m_valueScales[Slot(axis)] == scale) {
        return;
    }
    m_valueScales[Slot(axis)] = scale;
    m_valueTickers[Slot(axis)]->SetScale(scale);
    for (auto& [id, series] : m_series->Series().Items()) {
        Project(series);
    }
    ApplyValueRanges();
    Changed(true);
}

// ---- grid, colours, label line ----

void CStackPaneChart::SetGridVisible(bool visible) {
    m_gridVisible = visible;
    ApplyAxes();
    Changed(false);
}

void CStackPaneChart::SetGridStyle(int style) {
    m_gridStyle = style >= 0 && style < kLineStyleCount ? style : kSolid;
    ApplyAxes();
    Changed(false);
}

void CStackPaneChart::SetValueTickCount(int count) {
    for (const auto& ticker : m_valueTickers) {
        ticker->setTickCount(count);
    }
}

void CStackPaneChart::SetFillsBackground(bool fills) {
    m_background->setVisible(fills);
}

void CStackPaneChart::SetBackgroundColor(ColorRef color) {
    m_backgroundColor = ToQColor(color);
    m_background->SetColor(m_backgroundColor);
    ApplyAxes();
    Changed(false);
}

void CStackPaneChart::SetGridColor(ColorRef color) {
    m_gridColor = color;
    ApplyAxes();
    Changed(false);
}

void CStackPaneChart::SetAxisLabelColor(ColorRef color) {
    m_axisColor = color;
    ApplyAxes();
    Changed(false);
}

void CStackPaneChart::SetLabelRuns(std::span<const SLabelRun> runs) {
    m_labelRuns.assign(runs.begin(), runs.end());
    // Each run in a colour that reads on the background, whatever the setting holds.
    const QColor& back = m_backgroundColor;
    const ColorRef background = MakeColorRef(back.red(), back.green(), back.blue());
    std::vector<CPaneFrameLayerable::SRun> drawn;
    drawn.reserve(runs.size());
    for (const SLabelRun& run : runs) {
        drawn.push_back(
            {QString::fromUtf8(run.text.data(), static_cast<qsizetype>(run.text.size())),
             ToQColor(ReadableTextColor(run.color, background))});
    }
    m_labelLine->SetRuns(drawn);
    Changed(false);
}

// ---- geometry and mapping ----

CChart2D::SGeometry CStackPaneChart::Geometry() const {
    m_stack.EnsureLayout();
    const QRect outer = m_rect->outerRect();
    const QRect inner = m_rect->rect();
    SGeometry geometry;
    geometry.width = outer.width();
    geometry.height = outer.height();
    geometry.left = inner.left() - outer.left();
    geometry.right = (outer.left() + outer.width()) - (inner.left() + inner.width());
    geometry.top = inner.top() - outer.top();
    geometry.bottom = (outer.top() + outer.height()) - (inner.top() + inner.height());
    return geometry;
}

double CStackPaneChart::SlotToPixelX(double slot) const {
    m_stack.EnsureLayout();
    return m_x->coordToPixel(slot) - m_rect->outerRect().left();
}

double CStackPaneChart::PixelXToSlot(double x) const {
    m_stack.EnsureLayout();
    return m_x->pixelToCoord(x + m_rect->outerRect().left());
}

double CStackPaneChart::ValueToPixelY(double value, EAxis axis) const {
    m_stack.EnsureLayout();
    return ValueAxis(axis)->coordToPixel(ValueScale(axis).ToAxis(value)) -
           m_rect->outerRect().top();
}

double CStackPaneChart::PixelYToValue(double y, EAxis axis) const {
    m_stack.EnsureLayout();
    return ValueScale(axis).FromAxis(ValueAxis(axis)->pixelToCoord(y + m_rect->outerRect().top()));
}

// ---- drawing ----

void CStackPaneChart::HoldDrawing() {
    m_stack.HoldDrawing();
}

void CStackPaneChart::ReleaseDrawing() {
    m_stack.ReleaseDrawing();
}

void CStackPaneChart::DrawTo(QPainter& painter, const SPixelRect& target) {
    const int panes[1] = {m_index};
    m_stack.RenderPanes(painter, QRectF(target.x, target.y, target.width, target.height), panes);
}

void CStackPaneChart::SetCrosshair(const SCrosshair& crosshair) {
    const QRegion before = m_crosshair.Region();
    // The crosshair is placed in axis coordinates like the series.
    SCrosshair placed = crosshair;
    placed.value = ValueScale(crosshair.axis).ToAxis(crosshair.value);
    if (m_crosshair.Set(placed)) {
        m_stack.CrosshairChanged(before + m_crosshair.Region());
    }
}
