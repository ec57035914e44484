#pragma once

// Deleting a bad print or a bad bar from the chart, and bringing every deleted point back: which
// point a click picks, and the texts of the questions asked before either.

#include "history/tick.h"

#include <cstdint>
#include <string>

// A Yes/No question: the caption of its box and its text.
struct SQuestionText {
    std::string caption;
    std::string text;

    friend bool operator==(const SQuestionText&, const SQuestionText&) = default;
};

// The place (counted from 1) among `shown` displayed points of the x axis position `slot` (0 the
// first displayed point, one slot per point, a point owning the half slot on either side); 0
// when the position lies beside the displayed points.
int PlaceOfSlot(double slot, int shown);

// The series index of the point at `place` among the shown points (counted from 1) when the
// first shown point is the series' `firstShown`: place - 1 + firstShown.
int DeletionIndex(int place, int firstShown);

// The question before deleting `point` of a series of `dataType`. A tick shows its price,
// `volume` (the size the chart shows for it, with a K/M/B/T suffix, left out when it has no
// text) and its time and date; a bar its time line by data type and its four prices.
SQuestionText DeletionQuestion(const sTICK& point, int dataType, std::int64_t volume);

// The question before restoring the deleted points of a series of `dataType`.
SQuestionText RestoreQuestion(int dataType);

// The status line while the next click picks a point to delete.
std::string DeletionModePrompt(int dataType);

// The pane menu's commands: "Delete Tick/Bar", and "Restore Ticks" or "Restore Bars".
inline constexpr const char* kDeletePointCommand = "Delete Tick/Bar";
std::string RestoreCommandText(int dataType);
