#include "core/ui/setting_sheet.h"

#include <QDialogButtonBox>
#include <QPushButton>
#include <QTabWidget>
#include <QVBoxLayout>

CSettingSheet::CSettingSheet(QWidget* parent) : QDialog(parent) {
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

bool CSettingSheet::ApplyPages() {
    for (std::size_t i = 0; i < m_pages.size(); ++i) {
        if (!m_pages[i]->Apply()) {
            // Show the page that refused, with its corrected entry.
            m_tabs->setCurrentWidget(m_pages[i]);
            return false;
        }
        emit pageApplied(m_pages[i]);
    }
    emit settingsApplied();
    return true;
}

void CSettingSheet::OnOk() {
    if (ApplyPages()) {
        accept();
    }
}
