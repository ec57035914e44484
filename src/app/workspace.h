#pragma once

#include <string>
#include <vector>

// How the frame stands when a workspace is saved.
enum class EFrameState { Normal, Maximised, Minimised };

// The frame's normal-position rectangle.
struct SFrameRect {
    int left = 0;
    int top = 0;
    int right = 0;
    int bottom = 0;
};

// Arguments that reopen the current chart: "-symbol %s " when a symbol is shown, then
// "-type %s -interval %s" with the texts selected in the request type and interval combos.
std::string ChartArguments(const std::string& currentSymbol, const std::string& typeText,
                           const std::string& intervalText);

// " -max", " -min" or " -top %d -bottom %d -left %d -right %d".
std::string FrameArguments(EFrameState state, const SFrameRect& normalRect);

// The stored argument text of a workspace: chart arguments followed by the frame arguments.
std::string WorkspaceArguments(const std::string& currentSymbol, const std::string& typeText,
                               const std::string& intervalText, EFrameState state,
                               const SFrameRect& normalRect);

// How far right and down a new window opens from the one it was started from.
inline constexpr int kNewWindowOffset = 32;

// The parameters that start another Skychart on the same chart: those of ChartArguments, then
// the frame rectangle `normalRect` moved `offset` pixels right and down.
std::vector<std::string> NewWindowArguments(const std::string& currentSymbol,
                                            const std::string& typeText,
                                            const std::string& intervalText,
                                            const SFrameRect& normalRect,
                                            int offset = kNewWindowOffset);

// Splits a stored argument text at white space into parameters.
std::vector<std::string> SplitArguments(const std::string& text);
