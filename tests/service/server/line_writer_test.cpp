// Line formatting: numbers, prices, dates and times, and Level 1 update lines of chosen fields.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "civil_time.h"
#include "line_writer.h"
#include "tick_lines.h"
#include "update_fields.h"

namespace portico {
namespace {

Micros At(int y, int mo, int d, int h, int mi, int s, int us = 0) {
    return StartOfDay(DaysFromCivil(y, mo, d)) + ((h * 60 + mi) * 60 + s) * kMicrosPerSecond + us;
}

TEST(LineWriterTest, PricesKeepTheirDecimalsAndSign) {
    // Every count of decimals has its own writer: each against the digits of the number with the
    // point put in, around every power of ten (0 among them), with both signs.
    for (int decimals = -1; decimals <= 19; ++decimals) {
        for (std::uint64_t power = 1; power <= 1'000'000'000'000'000'000ULL; power *= 10) {
            for (const std::uint64_t magnitude : {power - 1, power, power + 7}) {
                for (const bool negative : {false, true}) {
                    const auto value = static_cast<std::int64_t>(magnitude) * (negative ? -1 : 1);
                    std::string expected = std::to_string(value);
                    if (decimals > 0 && decimals <= 18) {
                        std::string digits = std::to_string(magnitude);
                        const auto width = static_cast<std::size_t>(decimals + 1);
                        if (digits.size() < width) {
                            digits.insert(0, width - digits.size(), '0');
                        }
                        digits.insert(digits.size() - static_cast<std::size_t>(decimals), ".");
                        expected = (negative && magnitude > 0 ? "-" : "") + digits;
                    }
                    LineWriter out;
                    out.putPrice(value, decimals);
                    ASSERT_EQ(out.str(), expected) << value << " with " << decimals;
                }
            }
        }
    }
}

TEST(LineWriterTest, IntegersDatesAndTimes) {
    LineWriter out;
    for (const std::uint64_t n :
         {0ULL, 9ULL, 10ULL, 99ULL, 100ULL, 999ULL, 1000ULL, 9999ULL, 10000ULL, 99999999ULL,
          100000000ULL, 4294967296ULL, 9999999999999999999ULL, 18446744073709551615ULL}) {
        out.putUnsigned(n);
        out.put(',');
    }
    out.putSigned(INT64_MIN);
    out.put(',');
    out.putPadded(42, 6);
    out.put(',');
    out.putHex2(0x0A);
    out.putHex2(0xFF);
    EXPECT_EQ(out.str(), "0,9,10,99,100,999,1000,9999,10000,99999999,100000000,4294967296,"
                         "9999999999999999999,18446744073709551615,-9223372036854775808,000042,"
                         "0AFF");
    out.clear();
    const Micros t = At(2026, 11, 20, 9, 30, 5, 123);
    for (const auto put : {&LineWriter::putIsoMicroTime, &LineWriter::putIsoDateTime,
                           &LineWriter::putSlashDate, &LineWriter::putCompactDate}) {
        (out.*put)(t);
        out.put('|');
    }
    out.putMicroTime(At(2000, 2, 29, 23, 59, 59, 999999));
    out.put('|');
    out.putIsoMicroTime(-500'000); // half a second before 1970
    EXPECT_EQ(out.str(), "2026-11-20 09:30:05.000123|2026-11-20 09:30:05|11/20/2026|20261120|"
                         "23:59:59.999999|1969-12-31 23:59:59.500000");
}

// A tick line as the field writers make it, one field at a time.
std::string PlainTickLine(const std::string& id, const Tick& t, int decimals) {
    LineWriter out;
    out.put(id);
    out.put(",LH,");
    out.putIsoMicroTime(t.time);
    for (const std::int64_t price : {t.price, std::int64_t{-1}, t.bid, t.ask}) {
        out.put(',');
        if (price == -1) { // size and total volume go between the price and the bid
            out.putUnsigned(t.size);
            out.put(',');
            out.putSigned(t.totalVolume);
        } else {
            out.putPrice(price, decimals);
        }
    }
    out.put(',');
    out.putUnsigned(t.tickId);
    out.put(',');
    out.put(t.basis);
    out.put(',');
    out.putUnsigned(t.marketCenter);
    out.put(',');
    out.putHex2(t.conditions);
    for (const unsigned small : {t.aggressor, t.dayCode}) {
        out.put(',');
        out.putUnsigned(small);
    }
    out.put(",\r\n");
    return out.str();
}

TEST(TickLinesTest, LinesMatchTheFieldWritersWhateverCarriesOverFromTheLineBefore) {
    // Runs of ticks in both directions across seconds, minutes, midnight and day gaps, with tick
    // ids that step over every carry up to nine digits or jump, and every small field value.
    std::vector<Tick> ticks;
    const std::uint32_t idStarts[] = {1, 7, 95, 996, 12'345'678, 99'999'990, 4'000'000'000u};
    Micros time = At(2026, 11, 19, 23, 58, 59, 999'990);
    std::uint32_t serial = 0;
    for (const std::uint32_t idStart : idStarts) {
        for (std::uint32_t i = 0; i < 40; ++i, ++serial) {
            Tick t;
            time += serial % 7 == 0 ? 3 : serial % 11 == 0 ? 700'000 : 9'999'999;
            t.time = serial % 50 == 49 ? time + 3 * kMicrosPerDay : time;
            t.price = 1'234'567 - 31'337 * serial;
            t.bid = t.price - serial % 3;
            t.ask = t.price + (serial % 2 == 0 ? 0 : 5);
            t.size = serial * serial * 97;
            t.totalVolume = serial == 3 ? -42 : 1000 * serial * serial;
            t.tickId = idStart + i + (i == 20 ? 5 : 0);
            t.basis = "CEO"[serial % 3];
            t.marketCenter = static_cast<std::uint8_t>(serial * 37);
            t.conditions = static_cast<std::uint8_t>(serial * 53);
            t.aggressor = static_cast<std::uint8_t>(serial % 3);
            t.dayCode = static_cast<std::uint8_t>(serial * 89);
            ticks.push_back(t);
        }
    }
    for (const std::string& id : {std::string("Q"), std::string(70, 'l')}) {
        for (const bool newestFirst : {false, true}) {
            std::vector<Tick> order = ticks;
            if (newestFirst) {
                std::reverse(order.begin(), order.end());
            }
            for (const int decimals : {2, 0, 4, 11}) {
                TickLines lines(id);
                for (const Tick& t : order) {
                    LineWriter out;
                    char* p = out.claim(lines.maxLineBytes());
                    p = decimals == 2 ? lines.write<2>(p, t, decimals)
                                      : lines.write<0>(p, t, decimals);
                    out.commit(p);
                    ASSERT_EQ(out.str(), PlainTickLine(id, t, decimals))
                        << "id " << id.size() << " bytes, decimals " << decimals;
                }
            }
        }
    }
}

TEST(CivilTimeTest, DayNumbersMatchACountedCalendar) {
    // Walk day by day from 1900 to 2100 and compare with the conversion both ways.
    const int monthDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    std::int32_t days = DaysFromCivil(1900, 1, 1);
    EXPECT_EQ(DaysFromCivil(1970, 1, 1), 0);
    EXPECT_EQ(WeekdayFromDays(DaysFromCivil(2026, 11, 20)), 4); // a Friday
    for (int year = 1900; year < 2100; ++year) {
        const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
        for (int month = 1; month <= 12; ++month) {
            const int length = monthDays[month - 1] + (month == 2 && leap ? 1 : 0);
            for (int day = 1; day <= length; ++day, ++days) {
                ASSERT_EQ(DaysFromCivil(year, month, day), days) << year << "-" << month;
                const CivilDate back = CivilFromDays(days);
                ASSERT_EQ(std::tuple(back.year, back.month, back.day),
                          std::tuple(year, month, day));
            }
        }
    }
}

TEST(UpdateFieldsTest, NamesRoundTripWhateverTheirCaseAndSpaces) {
    for (const UpdateField field : AllUpdateFields()) {
        EXPECT_EQ(UpdateFieldFromName(UpdateFieldName(field)), field);
    }
    EXPECT_EQ(UpdateFieldFromName(" most recent TRADE "), UpdateField::Trade);
    EXPECT_FALSE(UpdateFieldFromName("Most Recent"));
}

TEST(UpdateFieldsTest, LinesHoldExactlyTheSelectedFieldsInOrder) {
    const Instrument instrument{.symbol = "LUMA", .description = "", .decimals = 2};
    const Tick last{.time = At(2026, 11, 20, 9, 30, 5, 42),
                    .price = 13920,
                    .size = 300,
                    .tickId = 77,
                    .dayCode = 20,
                    .conditions = 0x3d};
    QuoteState state{.instrument = &instrument,
                     .previousClose = 13900,
                     .totalVolume = 4'400'300,
                     .last = last,
                     .hasLast = true,
                     .bid = 13919,
                     .ask = 13921};
    using enum UpdateField;
    LineWriter out;
    WriteUpdateLine(out, 'Q',
                    {MessageContents, Trade, Symbol, TradeTime, TradeDate, TotalVolume,
                     TradeConditions, Bid, Ask, TickId, TradeDayCode, Change, Close},
                    state, "C");
    EXPECT_EQ(out.str(), "Q,C,139.20,LUMA,09:30:05.000042,11/20/2026,4400300,3D,139.19,139.21,77,"
                         "20,0.20,139.00\r\n");
    // Without a trade yet the trade fields stay empty.
    state.hasLast = false;
    out.clear();
    WriteUpdateLine(out, 'Q', {Trade, TradeTime, Bid}, state, "ba");
    EXPECT_EQ(out.str(), "Q,,,139.19\r\n");
}

} // namespace
} // namespace portico
