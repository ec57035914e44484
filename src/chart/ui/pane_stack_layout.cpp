#include "chart/ui/pane_stack_layout.h"

#include <algorithm>

CPaneStackLayout::CPaneStackLayout() {
    setAutoMargins(QCP::msNone);
}

void CPaneStackLayout::AddPane(QCPLayoutElement* element) {
    m_elements.append(element);
    m_rects.append(QRect());
    adoptElement(element);
}

void CPaneStackLayout::SetPaneRect(int index, int top, int height) {
    if (index >= 0 && index < m_rects.size()) {
        m_rects[index] = QRect(0, top, 0, std::max(height, 0));
    }
}

QCPLayoutElement* CPaneStackLayout::elementAt(int index) const {
    return index >= 0 && index < m_elements.size() ? m_elements.at(index) : nullptr;
}

QCPLayoutElement* CPaneStackLayout::takeAt(int index) {
    QCPLayoutElement* element = elementAt(index);
    if (element) {
        releaseElement(element);
        m_elements.removeAt(index);
        m_rects.removeAt(index);
    }
    return element;
}

bool CPaneStackLayout::take(QCPLayoutElement* element) {
    const int index = static_cast<int>(m_elements.indexOf(element));
    return index >= 0 && takeAt(index) != nullptr;
}

void CPaneStackLayout::updateLayout() {
    for (int i = 0; i < m_elements.size(); ++i) {
        const QRect& slot = m_rects.at(i);
        m_elements.at(i)->setOuterRect(
            QRect(mRect.left(), mRect.top() + slot.top(), mRect.width(), slot.height()));
    }
}

int CVisibleMarginGroup::commonMargin(QCP::MarginSide side) const {
    int result = 0;
    for (QCPLayoutElement* element : mChildren.value(side)) {
        if (!element->realVisibility() || !element->autoMargins().testFlag(side)) {
            continue;
        }
        result = std::max(result, static_cast<CPaneAxisRect*>(element)->OwnMargin(side));
    }
    return result;
}
