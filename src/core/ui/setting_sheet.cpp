#include "core/ui/setting_sheet.h"

#include "core/settings.h"

#include <QDialogButtonBox>
#include <QPushButton>
#include <QTabWidget>
#include <QVBoxLayout>

CSettingSheet::CSettingSheet(CSettings& settings, QWidget* parent)
    : QDialog(parent), m_settings(settings) {
    setObjectName("SettingSheet");
    setWindowTitle("Settings");

    m_tabs = new QTabWidget(this);
    m_tabs->setObjectName("SettingTabs");
    m_buttons = new QDialogButtonBox(
        QDialogButtonBox::Ok | QDialogButtonBox::Cancel | QDialogButtonBox::Apply, this);
    m_buttons->setObjectName("SettingButtons");

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_tabs);
    layout->addWidget(m_buttons);

    connect(m_buttons->button(QDialogButtonBox::Ok), &QPushButton::clicked, this,
            &CSettingSheet::OnOk);
    connect(m_buttons->button(QDialogButtonBox::Apply), &QPushButton::clicked, this,
            [this] { ApplyPages(); });
    connect(m_buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
}

int CSettingSheet::AddPage(CSettingPage* page) {
    m_pages.push_back(page);
    return m_tabs->addTab(page, page->Title());
}

int CSettingSheet::PageCount() const {
    return static_cast<int>(m_pages.size());
}

CSettingPage* CSettingSheet::Page(int index) const {
    return index >= 0 && index < PageCount() ? m_pages[static_cast<std::size_t>(index)] : nullptr;
}

CSettingPage* CSettingSheet::CurrentPage() const {
    return qobject_cast<CSettingPage*>(m_tabs->currentWidget());
}

bool CSettingSheet::ApplyPages() {
    for (CSettingPage* page : m_pages) {
        if (!page->Check()) {
            // Show the page that refused, with the entry its message is about.
            m_tabs->setCurrentWidget(page);
            return false;
        }
    }
    // The file is saved once, after every page stored, even if a page's store throws.
    struct SHeld {
        CSettings& settings;
        explicit SHeld(CSettings& s) : settings(s) { settings.HoldWrites(); }
        ~SHeld() { settings.SaveHeld(); }
        SHeld(const SHeld&) = delete;
        SHeld& operator=(const SHeld&) = delete;
    };
    {
        const SHeld held(m_settings);
        for (CSettingPage* page : m_pages) {
            page->Store();
            emit pageApplied(page);
        }
    }
    emit settingsApplied();
    return true;
}

void CSettingSheet::OnOk() {
    if (ApplyPages()) {
        accept();
    }
}
