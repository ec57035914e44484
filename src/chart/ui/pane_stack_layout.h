#pragma once

// Layout pieces of the pane stack: a layout that puts each pane's axis rectangle at the pixel
// rectangle the view chose, and a margin group that lines up the plot areas of the visible
// panes only.

#include <qcustomplot.h>

#include <QList>
#include <QRect>

class CPaneStackLayout : public QCPLayout {
public:
    CPaneStackLayout();

    // Adds `element` as the next pane; the layout owns it.
    void AddPane(QCPLayoutElement* element);
    // Pane `index` from `top` to top + height, in pixels below the layout's own top edge.
    void SetPaneRect(int index, int top, int height);

    int elementCount() const override { return static_cast<int>(m_elements.size()); }
    QCPLayoutElement* elementAt(int index) const override;
    QCPLayoutElement* takeAt(int index) override;
    bool take(QCPLayoutElement* element) override;

protected:
    void updateLayout() override;

private:
    QList<QCPLayoutElement*> m_elements;
    QList<QRect> m_rects; // x and width unused: panes span the layout's width
};

// A pane's axis rectangle; it tells the margin group the margin its own labels need.
class CPaneAxisRect : public QCPAxisRect {
public:
    explicit CPaneAxisRect(QCustomPlot* plot) : QCPAxisRect(plot, true) {}
    int OwnMargin(QCP::MarginSide side) { return calculateAutoMargin(side); }
};

// Aligns one side's margins of its panes (CPaneAxisRect only) to the widest of the visible
// ones, so that hidden panes with stale labels do not push the plot areas in.
class CVisibleMarginGroup : public QCPMarginGroup {
public:
    explicit CVisibleMarginGroup(QCustomPlot* plot) : QCPMarginGroup(plot) {}

protected:
    int commonMargin(QCP::MarginSide side) const override;
};
