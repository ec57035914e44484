// Symbol search and the reference tables on the lookup port.

#include <algorithm>

#include "portico_fixture.h"

namespace portico::test {
namespace {

class LookupTest : public PorticoTest {
protected:
    void SetUp() override { startPortico(); }

    std::vector<std::string> symbols(const std::string& command) {
        std::vector<std::string> found;
        for (const auto& row : lookupData(command + ",LSearch\r", "LSearch")) {
            EXPECT_EQ(row.size(), 6u);
            EXPECT_EQ(row[1], "LS");
            found.push_back(row[2]);
        }
        return found;
    }
};

TEST_F(LookupTest, SearchBySymbolPrefixOrDescriptionIgnoringCase) {
    EXPECT_EQ(lookup("SBF,s,lum,,,LSearch", "LSearch"),
              (std::vector<std::string>{"LSearch,LS,LUMA,1,1,Lumarel Photonics Corp,",
                                        "LSearch,!ENDMSG!,"}));
    EXPECT_EQ(symbols("SBF,d,GOLD,,"), (std::vector<std::string>{"@BGD#"}));
    EXPECT_EQ(symbols("SBF,d,mills,,"), (std::vector<std::string>{"IVRY", "TMBR"}));
    const auto all = symbols("SBF,s,,,");
    EXPECT_GE(all.size(), 30u);
}

TEST_F(LookupTest, FiltersByListedMarketAndSecurityType) {
    // Listed market 5 holds only the tokens; security type 2 only futures.
    auto tokens = symbols("SBF,s,,e,5");
    std::sort(tokens.begin(), tokens.end());
    EXPECT_EQ(tokens, (std::vector<std::string>{"AURX", "QLMB", "SHRD", "VTRC"}));
    EXPECT_EQ(symbols("SBF,s,@,t,2").size(), 8u);
    EXPECT_TRUE(symbols("SBF,s,@,t,1 3").empty());
    EXPECT_EQ(symbols("SBF,d,fund,e,2 4").size(), 2u);
}

TEST_F(LookupTest, AnEmptyResultIsOnlyTheEndMarker) {
    EXPECT_EQ(lookup("SBF,s,IBM,,,LSearch", "LSearch"),
              (std::vector<std::string>{"LSearch,!ENDMSG!,"}));
    EXPECT_EQ(lookup("SBF,d,zzzz,t,1,LSearch", "LSearch"),
              (std::vector<std::string>{"LSearch,!ENDMSG!,"}));
    const auto bad = lookup("SBF,q,IBM,,,LSearch", "LSearch");
    ASSERT_EQ(bad.size(), 2u);
    EXPECT_TRUE(bad[0].starts_with("LSearch,E,"));
}

TEST_F(LookupTest, ListedMarketsAndSecurityTypes) {
    LineClient client;
    ASSERT_TRUE(client.connect(portico().lookupPort()));
    ASSERT_TRUE(client.send("SLM\r\nSST\r\n"));
    std::vector<std::string> markets;
    for (auto line = client.readRawLine(); line && *line != "!ENDMSG!,\r\n";
         line = client.readRawLine()) {
        ASSERT_TRUE(line->ends_with(",\r\n"));
        markets.push_back(line->substr(0, line->size() - 2));
    }
    ASSERT_EQ(markets.size(), 5u);
    EXPECT_EQ(markets[0], "1,NRTH,Northgate Stock Exchange,1,Northgate Group,");
    std::vector<std::string> types;
    for (auto line = client.readLine(); line && *line != "!ENDMSG!,"; line = client.readLine()) {
        types.push_back(*line);
    }
    ASSERT_EQ(types.size(), 4u);
    EXPECT_EQ(types[1], "2,FUTURE,Future,,");
    for (const auto& type : types) {
        EXPECT_EQ(Fields(type).size(), 4u) << "id, two names and an empty field";
    }
}

} // namespace
} // namespace portico::test
