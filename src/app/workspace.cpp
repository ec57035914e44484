#include "app/workspace.h"

#include <fmt/format.h>

#include <sstream>

std::string ChartArguments(const std::string& currentSymbol, const std::string& typeText,
                           const std::string& intervalText) {
    std::string arguments;
    if (!currentSymbol.empty()) {
        arguments = fmt::format("-symbol {} ", currentSymbol);
    }
    arguments += fmt::format("-type {} -interval {}", typeText, intervalText);
    return arguments;
}

std::string FrameArguments(EFrameState state, const SFrameRect& normalRect) {
    switch (state) {
    case EFrameState::Maximised:
        return " -max";
    case EFrameState::Minimised:
        return " -min";
    case EFrameState::Normal:
        break;
    }
    return fmt::format(" -top {} -bottom {} -left {} -right {}", normalRect.top, normalRect.bottom,
                       normalRect.left, normalRect.right);
}

std::string WorkspaceArguments(const std::string& currentSymbol, const std::string& typeText,
                               const std::string& intervalText, EFrameState state,
                               const SFrameRect& normalRect) {
    return ChartArguments(currentSymbol, typeText, intervalText) +
           FrameArguments(state, normalRect);
}

std::vector<std::string> NewWindowArguments(const std::string& currentSymbol,
                                            const std::string& typeText,
                                            const std::string& intervalText,
                                            const SFrameRect& normalRect, int offset) {
    std::vector<std::string> parameters;
    if (!currentSymbol.empty()) {
        parameters = {"-symbol", currentSymbol};
    }
    const SFrameRect moved{normalRect.left + offset, normalRect.top + offset,
                           normalRect.right + offset, normalRect.bottom + offset};
    for (const std::string& parameter :
         {std::string("-type"), typeText, std::string("-interval"), intervalText,
          std::string("-left"), std::to_string(moved.left), std::string("-top"),
          std::to_string(moved.top), std::string("-right"), std::to_string(moved.right),
          std::string("-bottom"), std::to_string(moved.bottom)}) {
        parameters.push_back(parameter);
    }
    return parameters;
}

std::vector<std::string> SplitArguments(const std::string& text) {
    std::vector<std::string> parameters;
    std::istringstream stream(text);
    std::string parameter;
    while (stream >> parameter) {
        parameters.push_back(parameter);
    }
    return parameters;
}
