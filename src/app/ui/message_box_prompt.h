#pragma once

#include "core/prompt.h"

class QWidget;

// The prompt of the running application: modal message boxes over the main window.
class CMessageBoxPrompt : public IPrompt {
public:
    explicit CMessageBoxPrompt(QWidget* parent = nullptr) : m_parent(parent) {}
    void SetParent(QWidget* parent) { m_parent = parent; }

    void Information(const std::string& caption, const std::string& text) override;
    void Error(const std::string& caption, const std::string& text) override;
    bool Question(const std::string& caption, const std::string& text) override;
    std::string AskText(const std::string& caption, const std::string& text) override;

private:
    QWidget* m_parent;
};
