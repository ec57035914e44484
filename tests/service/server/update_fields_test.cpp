#include <gtest/gtest.h>

#include "civil_time.h"
#include "update_fields.h"

namespace portico {
namespace {

TEST(UpdateFieldsTest, NamesRoundTripAndTheDefaultIsTheCommonSet) {
    for (const UpdateField field : AllUpdateFields()) {
        EXPECT_EQ(UpdateFieldFromName(UpdateFieldName(field)), field);
    }
    EXPECT_EQ(UpdateFieldFromName(" most recent TRADE "), UpdateField::Trade);
    EXPECT_FALSE(UpdateFieldFromName("Most Recent"));
    const auto& defaults = DefaultUpdateFields();
    ASSERT_EQ(defaults.size(), 24u);
    EXPECT_EQ(defaults.front(), UpdateField::Symbol);
    EXPECT_EQ(defaults[13], UpdateField::TradeDate);
    EXPECT_EQ(defaults.back(), UpdateField::TradeDayCode);
}

TEST(UpdateFieldsTest, LinesHoldExactlyTheSelectedFieldsInOrder) {
    Instrument instrument;
    instrument.symbol = "LUMA";
    instrument.decimals = 2;
    QuoteState state;
    state.instrument = &instrument;
    state.hasLast = true;
    state.last.time = StartOfDay(DaysFromCivil(2026, 11, 20)) + 34'205'000'042;
    state.last.price = 13920;
    state.last.size = 300;
    state.last.conditions = 0x3d;
    state.last.tickId = 77;
    state.last.dayCode = 20;
    state.totalVolume = 4'400'300;
    state.bid = 13919;
    state.ask = 13921;
    state.previousClose = 13900;

    const std::vector<UpdateField> chosen = {UpdateField::MessageContents,
                                             UpdateField::Trade,
                                             UpdateField::Symbol,
                                             UpdateField::TradeTime,
                                             UpdateField::TradeDate,
                                             UpdateField::TotalVolume,
                                             UpdateField::TradeConditions,
                                             UpdateField::Bid,
                                             UpdateField::Ask,
                                             UpdateField::TickId,
                                             UpdateField::TradeDayCode,
                                             UpdateField::Change,
                                             UpdateField::Close};
    LineWriter out;
    WriteUpdateLine(out, 'Q', chosen, state, "C");
    EXPECT_EQ(out.str(), "Q,C,139.20,LUMA,09:30:05.000042,11/20/2026,4400300,3D,139.19,139.21,77,"
                         "20,0.20,139.00\r\n");

    // Without a trade yet the trade fields stay empty.
    state.hasLast = false;
    out.clear();
    WriteUpdateLine(out, 'Q', {UpdateField::Trade, UpdateField::TradeTime, UpdateField::Bid}, state,
                    "ba");
    EXPECT_EQ(out.str(), "Q,,,139.19\r\n");
}

} // namespace
} // namespace portico
