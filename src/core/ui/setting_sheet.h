#pragma once

#include <QDialog>
#include <QString>
#include <QWidget>

#include <vector>

class QDialogButtonBox;
class QTabWidget;

// One tab of the settings sheet. A page shows its settings when it is made and stores them when
// the sheet is applied.
class CSettingPage : public QWidget {
    Q_OBJECT

public:
    using QWidget::QWidget;

    // The tab caption.
    virtual QString Title() const = 0;
    // Checks the page and stores its settings into the settings table. False when an entry was
    // invalid: the page has then replaced it by its default and told the user, nothing is
    // stored, and the sheet stays open so that the user sees the corrected page.
    virtual bool Apply() = 0;
};

// The settings sheet: a tab per page, with OK, Cancel and Apply. The caller makes the pages and
// hands them over; the sheet knows them only as pages. Apply and OK apply every page
// in tab order and stop at the first that refuses (OK then keeps the sheet open); Cancel closes
// it without storing what the pages hold.
class CSettingSheet : public QDialog {
    Q_OBJECT

public:
    explicit CSettingSheet(QWidget* parent = nullptr);

    // Adds a tab for `page`; the sheet takes ownership. Returns the tab index.
    int AddPage(CSettingPage* page);
    int PageCount() const;
    CSettingPage* Page(int index) const;

    // What Apply does: applies every page; false when a page refused.
    bool ApplyPages();

    QDialogButtonBox* Buttons() const { return m_buttons; }

signals:
    // Every page was stored (Apply, or OK before the sheet closes).
    void settingsApplied();
    // `page` stored its settings (before settingsApplied, once per Apply or OK).
    void pageApplied(CSettingPage* page);

private:
    void OnOk();

    QTabWidget* m_tabs = nullptr;
    QDialogButtonBox* m_buttons = nullptr;
    std::vector<CSettingPage*> m_pages;
};
