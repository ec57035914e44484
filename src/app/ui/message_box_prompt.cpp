#include "app/ui/message_box_prompt.h"

#include <QInputDialog>
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

std::string CMessageBoxPrompt::AskText(const std::string& caption, const std::string& text) {
    bool ok = false;
    const QString answer =
        QInputDialog::getText(m_parent, QString::fromStdString(caption),
                              QString::fromStdString(text), QLineEdit::Normal, QString(), &ok);
    return ok ? answer.trimmed().toStdString() : std::string();
}
