#pragma once

// The prompt of every test: records each message box; questions take their answers from a
// script.

#include "core/prompt.h"

#include <deque>
#include <functional>
#include <string>
#include <vector>

namespace skychart::test {

class RecordingPrompt : public IPrompt {
public:
    struct Box {
        std::string kind; // "Information", "Error", "Question" or "AskText"
        std::string caption;
        std::string text;
    };
    void Information(const std::string& caption, const std::string& text) override {
        boxes.push_back({"Information", caption, text});
    }
    void Error(const std::string& caption, const std::string& text) override {
        boxes.push_back({"Error", caption, text});
    }
    bool Question(const std::string& caption, const std::string& text) override {
        boxes.push_back({"Question", caption, text});
        if (whileAsked) {
            whileAsked();
        }
        if (answers.empty()) {
            return answer;
        }
        const bool next = answers.front();
        answers.pop_front();
        return next;
    }
    std::string AskText(const std::string& caption, const std::string& text) override {
        boxes.push_back({"AskText", caption, text});
        if (typed.empty()) {
            return {};
        }
        std::string next = typed.front();
        typed.pop_front();
        return next;
    }
    // "caption|text" of every box, oldest first.
    std::vector<std::string> Texts() const {
        std::vector<std::string> texts;
        for (const Box& box : boxes) {
            texts.push_back(box.caption + "|" + box.text);
        }
        return texts;
    }
    std::vector<Box> boxes;
    std::deque<bool> answers;      // the answers to the next questions, in order
    bool answer = false;           // the answer once `answers` is used up
    std::deque<std::string> typed; // the texts typed at the next AskText, then cancels
    // Runs while a question is open, before it is answered (what the window does meanwhile).
    std::function<void()> whileAsked;
};

} // namespace skychart::test
