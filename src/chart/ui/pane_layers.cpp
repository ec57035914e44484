#include "chart/ui/pane_layers.h"

#include "chart/value_ticks.h"

#include <QFontMetrics>
#include <QPaintEngine>

#include <algorithm>
#include <cmath>

void CValueAxisTicker::generate(const QCPRange& range, const QLocale& /*locale*/,
                                QChar /*formatChar*/, int /*precision*/, QVector<double>& ticks,
                                QVector<double>* subTicks, QVector<QString>* tickLabels) {
    const int height = m_rect != nullptr ? m_rect->rect().height() : 0;
    const int room = height > 0 ? height / kLabelPitch : tickCount();
    // Readable prices on a logarithmic axis fall unevenly: half as many again still leaves
    // room between them, and lets 1-2-5 steps read where 1-3 steps would look bare.
    const int wanted = m_scale.IsLog() ? tickCount() + tickCount() / 2 : tickCount();
    const std::vector<SScaleTick> chosen =
        ChooseScaleTicks(m_scale, m_scale.FromAxis(range.lower), m_scale.FromAxis(range.upper),
                         std::min(wanted, room), m_precision, m_format);
    ticks.clear();
    if (tickLabels != nullptr) {
        tickLabels->clear();
    }
    for (const SScaleTick& tick : chosen) {
        ticks.push_back(m_scale.ToAxis(tick.value));
        if (tickLabels != nullptr) {
            tickLabels->push_back(QString::fromStdString(tick.text));
        }
    }
    if (subTicks != nullptr) {
        subTicks->clear();
    }
}

SAxisMap AxisMapOf(const QCPAxis& axis) {
    const QCPRange range = axis.range();
    const double p0 = axis.coordToPixel(range.lower);
    const double p1 = axis.coordToPixel(range.upper);
    return SAxisMap{range.lower, p0, (p1 - p0) / range.size()};
}

CPaneSeriesLayerable::CPaneSeriesLayerable(QCustomPlot* plot, QCPAxisRect* rect, QCPAxis* x,
                                           QCPAxis* y, QCPAxis* y2, std::shared_ptr<QImage> raster)
    : QCPLayerable(plot, QStringLiteral("main"), rect), m_rect(rect), m_x(x), m_y{y, y2},
      m_raster(std::move(raster)) {}

void CPaneSeriesLayerable::applyDefaultAntialiasingHint(QCPPainter* painter) const {
    painter->setAntialiasing(false);
}

QRect CPaneSeriesLayerable::clipRect() const {
    return m_rect->rect();
}

namespace {

// Whether `painter` paints pixels one to one: the screen buffer at a device pixel ratio of 1, not
// a picture being recorded for printing or export, nor a scaled painter. Such a painter takes
// prepared images; on any other an image would be scaled and blur.
bool PaintsPixels(const QPainter& painter) {
    const QTransform& transform = painter.transform();
    return painter.paintEngine() && painter.paintEngine()->type() == QPaintEngine::Raster &&
           painter.device() != nullptr && painter.device()->devicePixelRatio() == 1.0 &&
           transform.type() <= QTransform::TxTranslate &&
           transform.dx() == std::floor(transform.dx()) &&
           transform.dy() == std::floor(transform.dy());
}

} // namespace

void CPaneSeriesLayerable::draw(QCPPainter* painter) {
    const SAxisMap y[2] = {AxisMapOf(*m_y[0]), AxisMapOf(*m_y[1])};
    const QRect plot = m_rect->rect();
    // A pixel painter takes the marks as one image; any other gets them through QPainter.
    if (!PaintsPixels(*painter) || plot.width() <= 0 || plot.height() <= 0) {
        PaintPaneSeries(*painter, m_series, plot, AxisMapOf(*m_x), y);
        return;
    }
    // The layer clips one pixel higher than the plot area; so does the image.
    const QRect area = plot.translated(0, -1);
    QImage& raster = *m_raster;
    if (raster.width() < area.width() || raster.height() < area.height()) {
        raster =
            QImage(std::max(raster.width(), area.width()), std::max(raster.height(), area.height()),
                   QImage::Format_ARGB32_Premultiplied);
        raster.fill(Qt::transparent);
    }
    PaintPaneSeries(*painter, m_series, plot, AxisMapOf(*m_x), y, &raster, area);
}

CPaneFrameLayerable::CPaneFrameLayerable(QCustomPlot* plot, const QString& layer, QCPAxisRect* rect,
                                         EPart part)
    : QCPLayerable(plot, layer, rect), m_rect(rect), m_part(part), m_color(Qt::white) {}

void CPaneFrameLayerable::applyDefaultAntialiasingHint(QCPPainter* painter) const {
    painter->setAntialiasing(false);
}

// The layer shifts every clip rectangle up by one pixel; this undoes it for the pane's own
// rectangle, so that the frame paints exactly the pane.
QRect CPaneFrameLayerable::clipRect() const {
    return m_rect->outerRect().translated(0, 1);
}

void CPaneFrameLayerable::draw(QCPPainter* painter) {
    const QRect outer = m_rect->outerRect();
    if (m_part == EPart::Background) {
        painter->fillRect(outer, m_color);
        return;
    }
    if (m_runs.empty()) {
        return;
    }
    // From the left edge of the plot area, clear of value labels on the left, centred in the
    // strip above it.
    const int strip = m_rect->rect().top() - outer.top();
    const QFontMetrics metrics(m_font);
    const QPoint at(m_rect->rect().left() + 4,
                    outer.top() + std::max(strip - metrics.height(), 0) / 2);
    const auto drawRuns = [this](QPainter& target, QPointF origin) {
        target.setFont(m_font);
        for (const auto& [text, color] : m_runs) {
            target.setPen(color);
            target.drawStaticText(origin, text);
            origin.rx() += text.size().width();
        }
    };
    if (!PaintsPixels(*painter)) {
        drawRuns(*painter, at);
        return;
    }
    // On the screen the text is drawn once into an image, which each drawing puts in place.
    if (m_textImage.isNull()) {
        double width = 0.0;
        for (const auto& run : m_runs) {
            width += run.first.size().width();
        }
        m_textImage = QImage(static_cast<int>(std::ceil(width)) + 2, metrics.height(),
                             QImage::Format_ARGB32_Premultiplied);
        m_textImage.fill(Qt::transparent);
        QPainter text(&m_textImage);
        drawRuns(text, QPointF(0, 0));
    }
    painter->drawImage(at, m_textImage);
}

void CPaneFrameLayerable::SetColor(const QColor& color) {
    m_color = color;
    m_textImage = QImage();
}

void CPaneFrameLayerable::SetRuns(const std::vector<SRun>& runs) {
    m_runs.clear();
    for (const SRun& run : runs) {
        if (run.text.isEmpty()) {
            continue;
        }
        QStaticText text(run.text);
        text.setTextFormat(Qt::PlainText);
        text.prepare(QTransform(), m_font);
        m_runs.emplace_back(std::move(text), run.color);
    }
    m_textImage = QImage();
}

QString CPaneFrameLayerable::Text() const {
    QString text;
    for (const auto& run : m_runs) {
        text += run.first.text();
    }
    return text;
}

void CPaneFrameLayerable::SetFont(const QFont& font) {
    m_font = font;
    for (auto& run : m_runs) {
        run.first.prepare(QTransform(), m_font);
    }
    m_textImage = QImage();
}
