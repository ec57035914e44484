#include "app/recent_symbols.h"

#include <gtest/gtest.h>

namespace {

TEST(RecentSymbols, NewestFirstWithoutRepeatsAndAtMostThirty) {
    CRecentSymbols recent({"MSFT", "", "LUMA", "KRNO"});
    EXPECT_EQ(recent.Items(), (std::vector<std::string>{"MSFT", "LUMA", "KRNO"}));
    recent.Use("KRNO");
    EXPECT_EQ(recent.Items(), (std::vector<std::string>{"KRNO", "MSFT", "LUMA"}));
    for (int i = 0; i < 40; ++i) {
        recent.Use("S" + std::to_string(i));
    }
    ASSERT_EQ(recent.Items().size(), CRecentSymbols::kMaxCount);
    EXPECT_EQ(recent.Items().front(), "S39");
    EXPECT_EQ(recent.Items().back(), "S10");
}

TEST(RecentSymbols, TheEntryIsTrimmedAndUpperCased) {
    EXPECT_EQ(SymbolFromEntry("  luma\t"), "LUMA");
    EXPECT_EQ(SymbolFromEntry("@es#"), "@ES#");
    EXPECT_EQ(SymbolFromEntry(" \t "), "");
}

} // namespace
