#pragma once

#include <QDialog>
#include <QString>
#include <QWidget>

#include <vector>

class CSettings;
class QDialogButtonBox;
class QTabWidget;

// One tab of the settings sheet. A page shows its settings when it is made; when the sheet is
// applied every page is checked first, and only when all pass does each store what it holds.
class CSettingPage : public QWidget {
    Q_OBJECT

public:
    using QWidget::QWidget;

    // The tab caption.
    virtual QString Title() const = 0;
    // Checks the page's entries without storing anything. False when one is refused: the page
    // has told the user why and shows the entry concerned.
    virtual bool Check() = 0;
    // Stores the page into the settings table: what the user changed since the page was made or
    // last stored, and what the page's own rules store besides. Called only after every page of
    // the sheet passed Check().
    virtual void Store() = 0;
};

// The settings sheet: a tab per page, with OK, Cancel and Apply. The caller makes the pages and
// hands them over; the sheet knows them only as pages. Apply and OK check every page in tab order
// and store nothing when one refuses (that page is brought to the front and OK keeps the sheet
// open); otherwise every page stores and the settings file is saved once. Cancel closes the sheet
// without storing what the pages hold.
class CSettingSheet : public QDialog {
    Q_OBJECT

public:
    // The pages store into `settings`.
    explicit CSettingSheet(CSettings& settings, QWidget* parent = nullptr);

    // Adds a tab for `page`; the sheet takes ownership. Returns the tab index.
    int AddPage(CSettingPage* page);
    int PageCount() const;
    CSettingPage* Page(int index) const;
    CSettingPage* CurrentPage() const;

    // What Apply does: checks every page, then stores them all; false when a page refused.
    bool ApplyPages();

    QDialogButtonBox* Buttons() const { return m_buttons; }

signals:
    // Every page was stored (Apply, or OK before the sheet closes).
    void settingsApplied();
    // `page` stored its settings (before settingsApplied, once per Apply or OK).
    void pageApplied(CSettingPage* page);

private:
    void OnOk();

    CSettings& m_settings;
    QTabWidget* m_tabs = nullptr;
    QDialogButtonBox* m_buttons = nullptr;
    std::vector<CSettingPage*> m_pages;
};
