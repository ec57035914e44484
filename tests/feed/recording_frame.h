#pragma once

// A frame and a prompt that record what the feed hands to them.

#include "base/error.h"
#include "core/prompt.h"
#include "feed/feed_frame.h"

#include <string>
#include <vector>

namespace skychart::test {

// Records what the feed hands to the frame.
class RecordingFrame : public IFeedFrame {
public:
    void OnServiceIp() override { ++serviceIp; }
    void OnSearchLine(const std::string& line) override { searchLines.push_back(line); }
    void OnHistoryLine(const std::string& line) override { historyLines.push_back(line); }
    void OnLevel1Line(const std::string& line) override {
        level1Lines.push_back(line);
        if (throwOnLevel1) {
            throw CInvalidArgException("index 24 is beyond 3 elements");
        }
    }
    void OnSymbolNotFound(const std::string& line) override { notFound.push_back(line); }
    void OnServiceStatus(const std::string& status) override { statuses.push_back(status); }

    // True when a Level 1 line starting with `prefix` arrived.
    bool Saw(const std::string& prefix) const {
        for (const std::string& line : level1Lines) {
            if (line.starts_with(prefix)) {
                return true;
            }
        }
        return false;
    }

    int serviceIp = 0;
    // Makes every Level 1 line fail in the frame, as a too short line would.
    bool throwOnLevel1 = false;
    std::vector<std::string> searchLines;
    std::vector<std::string> historyLines;
    std::vector<std::string> level1Lines;
    std::vector<std::string> notFound;
    std::vector<std::string> statuses;
};

// Records every message box; questions are answered with `answer`.
class RecordingPrompt : public IPrompt {
public:
    void Information(const std::string& caption, const std::string& text) override {
        boxes.push_back({"Information", caption, text});
    }
    void Error(const std::string& caption, const std::string& text) override {
        boxes.push_back({"Error", caption, text});
    }
    bool Question(const std::string& caption, const std::string& text) override {
        boxes.push_back({"Question", caption, text});
        return answer;
    }

    struct Box {
        std::string kind;
        std::string caption;
        std::string text;
    };
    std::vector<Box> boxes;
    bool answer = true;
};

} // namespace skychart::test
