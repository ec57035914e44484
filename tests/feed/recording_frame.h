#pragma once

// A frame that records what the feed hands to it.

#include "base/error.h"
#include "feed/feed_frame.h"

#include "recording_prompt.h"

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
    void OnFeedFault(const SFeedFault& fault) override { faults.push_back(fault); }

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
    std::vector<SFeedFault> faults;
};

} // namespace skychart::test
