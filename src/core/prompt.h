#pragma once

#include <string>

// Every message box of the application goes through this one interface, so that the texts can be
// checked and the answers scripted in tests. The widget implementation shows modal boxes.
class IPrompt {
public:
    virtual ~IPrompt() = default;
    virtual void Information(const std::string& caption, const std::string& text) = 0;
    virtual void Error(const std::string& caption, const std::string& text) = 0;
    // A Yes/No question; true for Yes.
    virtual bool Question(const std::string& caption, const std::string& text) = 0;
    // A line of text typed in answer to `text`; "" when cancelled.
    virtual std::string AskText(const std::string& caption, const std::string& text) = 0;
};
