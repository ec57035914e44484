#pragma once

#include <QTabWidget>

class QGroupBox;
class QHBoxLayout;
class QToolButton;

// The frame's ribbon: a tabbed tool area whose tabs hold captioned panels laid out side by side.
class CRibbonBar : public QTabWidget {
    Q_OBJECT

public:
    explicit CRibbonBar(QWidget* parent = nullptr);

    // Adds a tab (category); its panels are added with AddPanel.
    QWidget* AddCategory(const QString& name);
    // Adds a captioned panel to the end of `category`; its layout is the panel's own.
    QGroupBox* AddPanel(QWidget* category, const QString& caption);
    // Adds a text button to the end of `panel` (whose layout it makes when it has none).
    QToolButton* AddButton(QGroupBox* panel, const QString& text, const QString& objectName);
    // Closes a category's row of panels (pushes them to the left).
    void FinishCategory(QWidget* category);
    // Every panel with this caption, over all categories.
    QList<QGroupBox*> PanelsWithCaption(const QString& caption) const;
};
