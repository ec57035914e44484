// Symbol search and the reference tables on the lookup port.

#include <algorithm>

#include "portico_fixture.h"

namespace portico::test {
namespace {

class LookupTest : public PorticoTest {
protected:
    void SetUp() override { startPortico(); }
};

TEST_F(LookupTest, SearchBySymbolPrefixOrDescriptionIgnoringCaseAndFiltered) {
    EXPECT_EQ(lookup("SBF,s,lum,,,S", "S"),
              (std::vector<std::string>{"S,LS,LUMA,1,1,Lumarel Photonics Corp,", "S,!ENDMSG!,"}));
    // The symbols found, in any order. Listed market 5 holds only the tokens, security type 2
    // only futures; an empty result is only the end marker.
    const std::pair<std::string, std::vector<std::string>> cases[] = {
        {"SBF,d,BULLION gold,e,1 4  5", {"@BGD#"}},
        {"SBF,d,mills,,", {"IVRY", "TMBR"}},
        {"SBF,s,,e,5", {"AURX", "QLMB", "SHRD", "VTRC"}},
        {"SBF,s,@,t,2", {"@BGD#", "@HGS#", "@LCR#", "@NGI#", "@NGM#", "@RCP#", "@TEN#", "@WWH#"}},
        {"SBF,d,fund,e,2 4", {"HBGF", "SMCF"}},
        {"SBF,s,@,t,1 3", {}},
        {"SBF,s,IBM,,", {}},
        {"SBF,d,zzzz,t,1", {}},
    };
    for (const auto& [command, symbols] : cases) {
        std::vector<std::string> found;
        for (const auto& row : lookupData(command + ",S", "S")) {
            EXPECT_EQ(Pick(row, {1, 6}), (std::vector<std::string>{"LS", "<none>"})) << command;
            found.push_back(row.at(2));
        }
        std::sort(found.begin(), found.end());
        EXPECT_EQ(found, symbols) << command;
    }
    EXPECT_GE(lookupData("SBF,s,,,,S", "S").size(), 30u);
}

TEST_F(LookupTest, ListedMarketsAndSecurityTypes) {
    LineClient client;
    ASSERT_TRUE(Open(client, portico().lookupPort(), "SLM\r\nSST\r\n"));
    std::vector<std::string> tables[2];
    for (auto& table : tables) {
        for (auto line = client.readRawLine(); line && *line != "!ENDMSG!,\r\n";
             line = client.readRawLine()) {
            ASSERT_TRUE(line->ends_with(",\r\n"));
            table.push_back(line->substr(0, line->size() - 2));
        }
    }
    ASSERT_EQ(tables[0].size(), 5u);
    EXPECT_EQ(tables[0][0], "1,NRTH,Northgate Stock Exchange,1,Northgate Group,");
    ASSERT_EQ(tables[1].size(), 4u);
    EXPECT_EQ(tables[1][1], "2,FUTURE,Future,,");
    for (const auto& type : tables[1]) {
        EXPECT_EQ(SplitFieldsCopy(type).size(), 4u) << "id, two names and an empty field";
    }
}

} // namespace
} // namespace portico::test
