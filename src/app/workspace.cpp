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

std::vector<std::string> SplitArguments(const std::string& text) {
    std::vector<std::string> parameters;
    std::istringstream stream(text);
    std::string parameter;
    while (stream >> parameter) {
        parameters.push_back(parameter);
    }
    return parameters;
}
