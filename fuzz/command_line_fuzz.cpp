// The application's command line. Input: one mode byte, then the parameters: with mode bit 0
// clear they are separated by zero bytes (as argv holds them), with it set the rest is the
// argument text of a saved workspace, split at white space as a reopened workspace is. Beyond not
// crashing: "max" and "min" never both win, the symbol is upper case, applying the command line
// stores only what names a combo item and applies once, and the arguments a workspace saves for
// the parsed chart parse back to the same chart and frame.

#include "fuzz_support.h"

#include "app/command_line.h"
#include "app/workspace.h"
#include "core/setting_keys.h"
#include "core/settings.h"

#include <cctype>
#include <string>
#include <vector>

namespace {

using skychart::fuzz::Check;

constexpr std::size_t kMaxParameters = 64;

std::vector<std::string> ZeroSeparated(std::string_view text) {
    std::vector<std::string> parameters;
    while (!text.empty() && parameters.size() < kMaxParameters) {
        const std::size_t end = text.find('\0');
        parameters.emplace_back(text.substr(0, end));
        if (end == std::string_view::npos) {
            break;
        }
        text.remove_prefix(end + 1);
    }
    return parameters;
}

// A value that survives being written into a workspace's argument text and read back.
bool IsPlainValue(const std::string& value) {
    if (value.empty() || value[0] == '-' || value[0] == '/') {
        return false;
    }
    for (const char c : value) {
        if (std::isspace(static_cast<unsigned char>(c)) != 0 || c == '\0') {
            return false;
        }
    }
    return true;
}

void CheckWorkspaceRoundTrip(const COrvaneCommandLineInfo& parsed) {
    if (!IsPlainValue(parsed.symbol) || !IsPlainValue(parsed.type) ||
        !IsPlainValue(parsed.interval)) {
        return;
    }
    const EFrameState state = parsed.maximise   ? EFrameState::Maximised
                              : parsed.minimise ? EFrameState::Minimised
                                                : EFrameState::Normal;
    const SFrameRect rect{parsed.left, parsed.top, parsed.right, parsed.bottom};
    const std::string text =
        WorkspaceArguments(parsed.symbol, parsed.type, parsed.interval, state, rect);
    COrvaneCommandLineInfo again;
    again.Parse(SplitArguments(text));
    Check(again.symbol == parsed.symbol && again.type == parsed.type &&
              again.interval == parsed.interval,
          "a saved workspace reopens the same chart", text);
    Check(again.maximise == parsed.maximise && again.minimise == parsed.minimise,
          "a saved workspace reopens the frame state", text);
    if (state == EFrameState::Normal) {
        Check(again.left == parsed.left && again.top == parsed.top && again.right == parsed.right &&
                  again.bottom == parsed.bottom,
              "a saved workspace reopens the frame position", text);
    }
}

void CheckApply(COrvaneCommandLineInfo& parsed) {
    CSettings settings;
    settings.Register(keys::kCurrentSymbol, "", true);
    settings.Register(keys::kRequestDataType, "1", true);
    settings.Register(keys::kRequestIntervalIndex, "0", true);
    const std::string symbol = parsed.symbol;
    const bool typeGiven = parsed.typeRequested;
    const SAppliedCommandLine applied = parsed.ApplyTo(settings);
    Check(applied.load == !symbol.empty(), "only a symbol loads a chart");
    Check(settings.GetText(keys::kCurrentSymbol) == symbol, "the symbol is stored as given");
    if (applied.typeIndex >= 0) {
        Check(settings.GetInt(keys::kRequestDataType) ==
                  RequestTypeItems()[static_cast<std::size_t>(applied.typeIndex)].data,
              "the request type stores its item data");
    } else {
        Check(settings.GetText(keys::kRequestDataType) == "1", "an unknown type stores nothing");
    }
    Check(applied.intervalIndex < 0 ||
              (typeGiven && applied.intervalIndex < static_cast<int>(IntervalItems().size()) &&
               settings.GetInt(keys::kRequestIntervalIndex) == applied.intervalIndex),
          "an interval applies only with a type and stores its position");
    const SAppliedCommandLine second = parsed.ApplyTo(settings);
    Check(!second.load && second.typeIndex < 0 && second.intervalIndex < 0,
          "the command line applies once");
    Check(!parsed.HasFrameRect(), "the frame position applies once");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    skychart::fuzz::InputCursor input(data, size);
    const bool workspaceText = (input.Byte() & 1) != 0;
    const std::string_view rest = input.Rest();
    const std::vector<std::string> parameters =
        workspaceText ? SplitArguments(std::string(rest)) : ZeroSeparated(rest);

    COrvaneCommandLineInfo parsed;
    parsed.Parse(parameters);
    Check(!(parsed.maximise && parsed.minimise), "max and min never both win");
    for (const char c : parsed.symbol) {
        Check(std::islower(static_cast<unsigned char>(c)) == 0, "the symbol is upper case",
              parsed.symbol);
    }
    Check(parsed.typeRequested || parsed.type.empty(), "a type only when one was given");
    CheckWorkspaceRoundTrip(parsed);
    CheckApply(parsed);
    return 0;
}
