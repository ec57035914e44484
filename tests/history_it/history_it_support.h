#pragma once

// Shared parts of the history integration tests: the real frame against a real portico with the
// status bar texts recorded and the loaded series copied out. (Direct queries of portico's
// lookup port: QueryLookup of the test support.)

#include "frame_fixture.h"
#include "history/tick.h"

#include <chrono>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace skychart::test {

// Every "StatusBar: ..." text logged while it lives, in order.
class StatusRecorder {
public:
    StatusRecorder();
    ~StatusRecorder();
    StatusRecorder(const StatusRecorder&) = delete;
    StatusRecorder& operator=(const StatusRecorder&) = delete;

    std::vector<std::string> Texts() const;
    void Clear();

private:
    struct Sink;
    std::shared_ptr<Sink> m_sink;
};

class HistoryFrameTest : public FrameTest {
protected:
    // Opens the frame and waits for the service; stores `settings` (key -> text) first.
    void OpenConnectedFrame(const std::map<std::string, std::string>& settings = {});
    // Stores the request settings in the table and has the chart view read them again.
    void UseSettings(const std::map<std::string, std::string>& settings);
    // Types `symbol` into the symbol box, presses Enter and waits until the answer is complete
    // and the status bar says how many datapoints are available. False when it never did.
    bool EnterAndWait(const std::string& symbol);
    // Waits until the current request is complete and its datapoints text is shown.
    bool WaitForLoaded();

    // A copy of the loaded series.
    std::vector<sTICK> Series();

    StatusRecorder m_status;
};

// Calendar fields of a record's time stamp (all zero when invalid).
SDateTimeFields FieldsOf(const sTICK& point);
// "YYYY-MM-DD" of a record.
std::string DateOf(const sTICK& point);
// Seconds since midnight of a record's time stamp.
int SecondOfDay(const sTICK& point);

} // namespace skychart::test
