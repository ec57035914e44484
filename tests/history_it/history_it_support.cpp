#include "history_it_support.h"

#include "chart/ui/chart_form_view.h"
#include "core/settings.h"
#include "history/chart_hist_request.h"

#include <QApplication>

#include <spdlog/sinks/base_sink.h>
#include <spdlog/spdlog.h>

#include <algorithm>
#include <mutex>

namespace skychart::test {

struct StatusRecorder::Sink : spdlog::sinks::base_sink<std::mutex> {
    std::vector<std::string> texts;
    mutable std::mutex textsLock;

protected:
    void sink_it_(const spdlog::details::log_msg& message) override {
        const std::string_view text(message.payload.data(), message.payload.size());
        constexpr std::string_view kPrefix = "StatusBar: ";
        if (text.starts_with(kPrefix)) {
            const std::lock_guard<std::mutex> guard(textsLock);
            texts.emplace_back(text.substr(kPrefix.size()));
        }
    }
    void flush_() override {}
};

StatusRecorder::StatusRecorder() : m_sink(std::make_shared<Sink>()) {
    spdlog::default_logger()->sinks().push_back(m_sink);
}

StatusRecorder::~StatusRecorder() {
    auto& sinks = spdlog::default_logger()->sinks();
    sinks.erase(std::remove(sinks.begin(), sinks.end(), m_sink), sinks.end());
}

std::vector<std::string> StatusRecorder::Texts() const {
    const std::lock_guard<std::mutex> guard(m_sink->textsLock);
    return m_sink->texts;
}

void StatusRecorder::Clear() {
    const std::lock_guard<std::mutex> guard(m_sink->textsLock);
    m_sink->texts.clear();
}

void HistoryFrameTest::OpenConnectedFrame(const std::map<std::string, std::string>& settings) {
    OpenFrame();
    UseSettings(settings);
    ASSERT_TRUE(WaitForService());
}

void HistoryFrameTest::UseSettings(const std::map<std::string, std::string>& values) {
    for (const auto& [key, value] : values) {
        ASSERT_TRUE(settings().SetText(key, value)) << key;
    }
    frame().ChartView()->ReloadRequestSettings();
}

bool HistoryFrameTest::WaitForLoaded() {
    const bool loaded = WaitFor(
        [this] {
            return history().IsHistoryComplete() &&
                   frame().ChartView()->LastStatusText().find("datapoints available") !=
                       std::string::npos;
        },
        std::chrono::seconds(120));
    // Lines still in the socket would belong to this answer: none may follow its end marker.
    QApplication::processEvents();
    return loaded;
}

bool HistoryFrameTest::EnterAndWait(const std::string& symbol) {
    m_status.Clear();
    EnterInSymbolBox(QString::fromStdString(symbol));
    return WaitForLoaded();
}

std::vector<sTICK> HistoryFrameTest::Series() {
    std::vector<sTICK> series(static_cast<std::size_t>(history().GetCount()));
    for (std::size_t i = 0; i < series.size(); ++i) {
        history().GetTick(static_cast<int>(i), series[i]);
    }
    return series;
}

SDateTimeFields FieldsOf(const sTICK& point) {
    SDateTimeFields fields;
    if (!point.time.GetFields(fields)) {
        return {};
    }
    return fields;
}

std::string DateOf(const sTICK& point) {
    const SDateTimeFields f = FieldsOf(point);
    char text[16];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d", f.year, f.month, f.day);
    return text;
}

int SecondOfDay(const sTICK& point) {
    const SDateTimeFields f = FieldsOf(point);
    return f.hour * 3600 + f.minute * 60 + f.second;
}

} // namespace skychart::test
