#include "app/ui/message_box_prompt.h"

#include <QMessageBox>

void CMessageBoxPrompt::Information(const std::string& caption, const std::string& text) {
    QMessageBox::information(m_parent, QString::fromStdString(caption),
                             QString::fromStdString(text));
}

void CMessageBoxPrompt::Error(const std::string& caption, const std::string& text) {
    QMessageBox::critical(m_parent, QString::fromStdString(caption), QString::fromStdString(text));
}

bool CMessageBoxPrompt::Question(const std::string& caption, const std::string& text) {
    return QMessageBox::question(m_parent, QString::fromStdString(caption),
                                 QString::fromStdString(text),
                                 QMessageBox::Yes | QMessageBox::No) == QMessageBox::Yes;
}
