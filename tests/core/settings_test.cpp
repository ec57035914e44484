#include "base/fields.h"
#include "core/settings.h"

#include "recording_prompt.h"

#include <gtest/gtest.h>

#include <climits>
#include <set>

namespace {

using skychart::test::RecordingPrompt;

TEST(SettingsTable, TypedGettersAndTheFallbacksOfUnknownKeys) {
    CSettings settings;
    settings.RegisterAll(AllSettingKeys());
    const struct {
        const char* text;
        int integer;
        std::uint32_t unsignedValue;
    } cases[] = {
        {"true", 1, 0},
        {"false", 0, 0},
        {"15", 15, 15},
        {" -7x", -7, 4294967289u},
        {"abc", 0, 0},
        {"True", 0, 0},
        {"4000000000", INT_MAX, 4000000000u},
        {"-1", -1, UINT32_MAX},
        {"-99999999999", INT_MIN, UINT32_MAX},
    };
    for (const auto& c : cases) {
        ASSERT_TRUE(settings.SetText("CurrentSymbol", c.text));
        EXPECT_EQ(settings.GetInt("CurrentSymbol"), c.integer) << c.text;
        EXPECT_EQ(settings.GetUnsigned("CurrentSymbol"), c.unsignedValue) << c.text;
    }
    ASSERT_TRUE(settings.SetBool("RequestUseExchangeFormat", true));
    EXPECT_EQ(settings.GetText("RequestUseExchangeFormat"), "true");
    ASSERT_TRUE(settings.SetText("CurrentSymbol", "2.5e1"));
    EXPECT_DOUBLE_EQ(settings.GetNumber("CurrentSymbol"), 25.0);
    EXPECT_EQ(settings.GetList("RequestRecentType"),
              (std::vector<std::string>{"0", "3", "6", "8", "9"}));

    EXPECT_EQ(settings.GetText("No Such Key"), "Config Error");
    EXPECT_EQ(settings.GetInt("No Such Key"), -1);
    EXPECT_FALSE(settings.SetText("No Such Key", "x"));
    EXPECT_FALSE(settings.SetInt("No Such Key", 3));
    EXPECT_FALSE(settings.Has("No Such Key"));

    RecordingPrompt prompt;
    EXPECT_FALSE(settings.SaveList("Recent Things", {"a", "b"}, &prompt));
    EXPECT_EQ(prompt.Texts(), std::vector<std::string>{std::string(CSettings::kSaveListCaption) +
                                                       "|Unable to write Recent Things to the "
                                                       "registry.  Error Code: 2\n"});
}

TEST(SettingKeys, KeysAreUniqueAndPerDataTypeListsHaveFiveElements) {
    std::set<std::string> seen;
    for (const SSettingKey& key : AllSettingKeys()) {
        EXPECT_TRUE(seen.insert(key.key).second) << "registered twice: " << key.key;
        const std::string value = key.defaultValue;
        if (std::string(key.key).starts_with("Request") && value.find(',') != std::string::npos) {
            EXPECT_EQ(SplitFields(value).size(), 5u) << key.key;
        }
    }
}

} // namespace
