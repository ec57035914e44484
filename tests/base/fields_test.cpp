#include "base/error.h"
#include "base/fields.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

std::vector<std::string> Split(std::string_view line) {
    std::vector<std::string> out;
    for (auto field : SplitFields(line)) {
        out.emplace_back(field);
    }
    return out;
}

using Fields = std::vector<std::string>;

TEST(SplitFields, EveryCommaEndsAFieldAndAnEmptyTailIsDropped) {
    EXPECT_EQ(Split("Lookup0,!ENDMSG!,"), (Fields{"Lookup0", "!ENDMSG!"}));
    EXPECT_EQ(Split("Lookup0,!ENDMSG!,x"), (Fields{"Lookup0", "!ENDMSG!", "x"}));
    EXPECT_EQ(Split("a,,b"), (Fields{"a", "", "b"}));
    EXPECT_EQ(Split("a,b,,"), (Fields{"a", "b", ""}));
    EXPECT_EQ(Split(",a"), (Fields{"", "a"}));
    EXPECT_EQ(Split(","), (Fields{""}));
    EXPECT_EQ(Split(",,"), (Fields{"", ""}));
    EXPECT_EQ(Split(""), Fields{});
    EXPECT_EQ(Split("plain"), (Fields{"plain"}));
}

TEST(SplitFields, ReusedOutputIsClearedAndViewsPointIntoTheLine) {
    std::vector<std::string_view> out{"stale", "values"};
    const std::string line = "S,STATS,x";
    SplitFields(line, out);
    ASSERT_EQ(out.size(), 3u);
    EXPECT_EQ(out[1].data(), line.data() + 2);
}

TEST(SplitFields, CopyAndJoinRoundTripALists) {
    const auto items = SplitFieldsCopy("10000,10000,1,0,0");
    ASSERT_EQ(items.size(), 5u);
    EXPECT_EQ(JoinFields(items), "10000,10000,1,0,0");
    EXPECT_EQ(JoinFields({}), "");
}

TEST(DecimalValue, ReadsTheLeadingNumberLikeAtoi) {
    EXPECT_EQ(DecimalValue("093000"), 93000);
    EXPECT_EQ(DecimalValue("  +42"), 42);
    EXPECT_EQ(DecimalValue("-7"), -7);
    EXPECT_EQ(DecimalValue("12abc"), 12);
    EXPECT_EQ(DecimalValue(""), 0);
    EXPECT_EQ(DecimalValue("abc"), 0);
    EXPECT_EQ(DecimalValue("99999999999"), 0); // out of range
}

TEST(ElementAt, ThrowsTheInvalidArgumentErrorBeyondTheEnd) {
    const std::vector<std::string_view> fields = SplitFields("a,b");
    EXPECT_EQ(ElementAt(fields, 1), "b");
    EXPECT_THROW(ElementAt(fields, 2), CInvalidArgException);
    try {
        ElementAt(fields, 7);
    } catch (const std::invalid_argument& error) {
        EXPECT_NE(std::string(error.what()).find("index 7"), std::string::npos);
    }
}

} // namespace
