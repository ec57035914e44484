#include "app/ui/ribbon_bar.h"

#include <QGroupBox>
#include <QHBoxLayout>
#include <QToolButton>
#include <QVBoxLayout>

CRibbonBar::CRibbonBar(QWidget* parent) : QTabWidget(parent) {
    setObjectName("Ribbon");
    setDocumentMode(true);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
}

QWidget* CRibbonBar::AddCategory(const QString& name) {
    auto* category = new QWidget(this);
    auto* row = new QHBoxLayout(category);
    row->setContentsMargins(6, 4, 6, 4);
    row->setSpacing(6);
    addTab(category, name);
    return category;
}

QGroupBox* CRibbonBar::AddPanel(QWidget* category, const QString& caption) {
    auto* panel = new QGroupBox(caption, category);
    panel->setObjectName(caption);
    panel->setAlignment(Qt::AlignHCenter);
    panel->setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Preferred);
    if (auto* row = qobject_cast<QHBoxLayout*>(category->layout())) {
        row->addWidget(panel);
    }
    return panel;
}

QToolButton* CRibbonBar::AddButton(QGroupBox* panel, const QString& text,
                                   const QString& objectName) {
    auto* button = new QToolButton(panel);
    button->setObjectName(objectName);
    button->setText(text);
    button->setToolButtonStyle(Qt::ToolButtonTextOnly);
    auto* layout = qobject_cast<QVBoxLayout*>(panel->layout());
    if (layout == nullptr) {
        layout = new QVBoxLayout(panel);
        layout->addStretch(1);
    }
    layout->insertWidget(layout->count() - 1, button);
    return button;
}

void CRibbonBar::FinishCategory(QWidget* category) {
    if (auto* row = qobject_cast<QHBoxLayout*>(category->layout())) {
        row->addStretch(1);
    }
}

QList<QGroupBox*> CRibbonBar::PanelsWithCaption(const QString& caption) const {
    QList<QGroupBox*> panels;
    for (QGroupBox* panel : findChildren<QGroupBox*>()) {
        if (panel->title() == caption) {
            panels.append(panel);
        }
    }
    return panels;
}
