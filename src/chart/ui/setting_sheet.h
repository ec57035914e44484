#pragma once

#include <QDialog>
#include <QString>
#include <QWidget>

#include <vector>

class CDataSettingsPage;
class IPrompt;
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

// The settings sheet: a tab per page, with OK, Cancel and Apply. Apply and OK apply every page
// in tab order and stop at the first that refuses (OK then keeps the sheet open); Cancel closes
// it without storing what the pages hold.
class CSettingSheet : public QDialog {
    Q_OBJECT

public:
    // The sheet with its data settings page; every message goes through `prompt`.
    explicit CSettingSheet(IPrompt& prompt, QWidget* parent = nullptr);

    // Adds a tab for `page`; the sheet takes ownership. Returns the tab index.
    int AddPage(CSettingPage* page);
    int PageCount() const;
    CSettingPage* Page(int index) const;
    CDataSettingsPage* DataPage() const { return m_dataPage; }

    // What Apply does: applies every page; false when a page refused.
    bool ApplyPages();
    // True once the data settings were stored while the sheet was open: the chart then reloads.
    bool DataSettingsApplied() const { return m_dataApplied; }

    QDialogButtonBox* Buttons() const { return m_buttons; }

signals:
    // Every page was stored (Apply, or OK before the sheet closes).
    void settingsApplied();
    // The request settings were stored; a shown chart should request its history again.
    void dataSettingsApplied();

private:
    void OnOk();

    QTabWidget* m_tabs = nullptr;
    QDialogButtonBox* m_buttons = nullptr;
    std::vector<CSettingPage*> m_pages;
    CDataSettingsPage* m_dataPage = nullptr;
    bool m_dataApplied = false;
};
