#include "market/universe.h"

#include "market/calendar.h"
#include "market/random.h"

#include <cmath>

namespace portico::detail {
namespace {

enum MarketId { kNorthgate = 1, kHarborline = 2, kMeridian = 3, kValecrest = 4, kDriftwood = 5 };
enum TypeId { kEquity = 1, kFuture = 2, kFund = 3, kToken = 4 };

struct Row {
    const char* symbol;
    const char* description;
    int market;
    int type;
    int decimals;
    std::int64_t increment;
    int year, month, day; // first trading day
    double startPrice;
    double dailyVolatility;
    double ticksPerDay;
    double growth;
    std::uint32_t openInterest;
};

// clang-format off
const Row kRows[] = {
    // Liquid and long-lived equities.
    {"LUMA", "Lumarel Photonics Corp", kNorthgate, kEquity, 2, 1, 1990, 1, 2, 14.20, 0.021, 100000, 0.06, 0},
    {"BRYN", "Brynmoor Rail Holdings", kNorthgate, kEquity, 2, 1, 1986, 3, 3, 22.75, 0.015, 24000, 0.04, 0},
    {"CDLW", "Cadwell Pantry Foods Group", kNorthgate, kEquity, 2, 1, 1986, 3, 3, 31.10, 0.012, 18000, 0.035, 0},
    {"FENX", "Fenwick Ironworks Inc", kHarborline, kEquity, 2, 1, 1988, 6, 1, 9.80, 0.024, 30000, 0.03, 0},
    {"GLDR", "Gildersleeve Shipping Lines", kHarborline, kEquity, 2, 1, 1990, 1, 2, 17.40, 0.022, 16000, 0.02, 0},
    {"HOLT", "Holtmere Utilities", kNorthgate, kEquity, 2, 1, 1987, 9, 1, 26.00, 0.010, 12000, 0.025, 0},
    {"JSPR", "Jasperfield Therapeutics", kHarborline, kEquity, 2, 1, 1989, 4, 3, 6.35, 0.030, 45000, 0.07, 0},
    {"KRNO", "Karnovo Semiconductor", kHarborline, kEquity, 2, 1, 1990, 1, 2, 11.60, 0.028, 70000, 0.09, 0},
    {"MDRK", "Mardrake Mutual Assurance", kNorthgate, kEquity, 2, 1, 1990, 1, 2, 38.20, 0.013, 14000, 0.03, 0},
    {"NVLE", "Novalee Aerospace Works", kNorthgate, kEquity, 2, 1, 1995, 5, 1, 44.00, 0.018, 26000, 0.045, 0},
    {"PQRL", "Pequarrel Bancorp", kNorthgate, kEquity, 2, 1, 1990, 1, 2, 19.90, 0.016, 22000, 0.02, 0},
    {"QNTS", "Quintessor Software Labs", kHarborline, kEquity, 2, 1, 1999, 11, 1, 58.00, 0.032, 60000, 0.05, 0},
    {"RDWY", "Redwyn Department Stores", kNorthgate, kEquity, 2, 1, 1992, 2, 3, 12.30, 0.017, 15000, 0.01, 0},
    {"STRV", "Starvane Robotics", kHarborline, kEquity, 2, 1, 2012, 7, 2, 24.00, 0.034, 40000, 0.10, 0},
    {"ZNDR", "Zandera Biosciences", kHarborline, kEquity, 2, 1, 2019, 10, 1, 18.00, 0.040, 35000, 0.00, 0},
    {"ASHW", "Ashwick Steelworks", kNorthgate, kEquity, 2, 1, 2004, 8, 2, 15.50, 0.023, 9000, 0.02, 0},
    {"PNDL", "Pendlecourt Media Group", kNorthgate, kEquity, 2, 1, 2008, 3, 3, 8.40, 0.026, 11000, 0.01, 0},
    {"VRDK", "Verdkamp Agricultural", kHarborline, kEquity, 2, 1, 1998, 1, 5, 27.30, 0.015, 7000, 0.03, 0},
    {"CSWY", "Cassowary Air Group", kNorthgate, kEquity, 2, 1, 2021, 4, 1, 21.00, 0.029, 20000, 0.00, 0},
    {"OBLN.B", "Oblenhurst Brewing Class B", kNorthgate, kEquity, 2, 1, 1993, 6, 1, 33.00, 0.014, 5000, 0.03, 0},
    // Illiquid equities: whole minutes pass without a trade in extended hours.
    {"IVRY", "Ivorydale Textile Mills", kHarborline, kEquity, 2, 1, 1990, 1, 2, 7.10, 0.019, 1500, 0.01, 0},
    {"TMBR", "Timberholt Paper Mills", kHarborline, kEquity, 2, 1, 1996, 9, 3, 4.25, 0.021, 900, 0.00, 0},
    {"YRRO", "Yarrowmont Water Works", kNorthgate, kEquity, 2, 1, 2001, 2, 1, 12.80, 0.012, 600, 0.02, 0},
    {"WXLF", "Waxleaf Cosmetics", kHarborline, kEquity, 2, 1, 2010, 5, 3, 3.60, 0.027, 2500, 0.02, 0},
    // Funds.
    {"NGTF", "Northgate Total Market Fund", kNorthgate, kFund, 2, 1, 1993, 1, 29, 43.90, 0.011, 50000, 0.07, 0},
    {"HBGF", "Harborline Government Bond Fund", kHarborline, kFund, 2, 1, 2002, 7, 30, 81.00, 0.004, 8000, 0.005, 0},
    {"GRNF", "Greenmantle Dividend Fund", kNorthgate, kFund, 2, 1, 2006, 11, 3, 50.00, 0.009, 6000, 0.04, 0},
    {"SMCF", "Smallcap Horizon Fund", kHarborline, kFund, 2, 1, 2000, 5, 24, 48.00, 0.014, 20000, 0.05, 0},
    // Futures: nearly round the clock on weekdays.
    {"@NGI#", "Northgate Composite Index Future", kMeridian, kFuture, 2, 25, 1997, 9, 9, 950.00, 0.011, 60000, 0.07, 420000},
    {"@NGM#", "Northgate Midcap Index Future", kMeridian, kFuture, 1, 1, 2002, 1, 7, 505.0, 0.013, 12000, 0.06, 90000},
    {"@LCR#", "Valecrest Light Crude Future", kValecrest, kFuture, 2, 1, 1995, 1, 3, 18.20, 0.022, 45000, 0.04, 350000},
    {"@BGD#", "Valecrest Bullion Gold Future", kValecrest, kFuture, 1, 1, 1995, 1, 3, 380.0, 0.010, 30000, 0.04, 280000},
    {"@RCP#", "Valecrest Refined Copper Future", kValecrest, kFuture, 4, 5, 1998, 6, 1, 0.7500, 0.015, 9000, 0.04, 120000},
    {"@WWH#", "Meridian Winter Wheat Future", kMeridian, kFuture, 2, 25, 1999, 3, 1, 280.00, 0.016, 8000, 0.02, 150000},
    {"@TEN#", "Ten Year Government Note Future", kMeridian, kFuture, 6, 15625, 2000, 1, 3, 97.5, 0.004, 40000, 0.002, 900000},
    {"@HGS#", "Henlow Natural Gas Future", kValecrest, kFuture, 3, 1, 2003, 4, 1, 5.200, 0.030, 20000, 0.00, 200000},
    // Digital tokens: every minute of every day.
    {"AURX", "Aurix Network Token", kDriftwood, kToken, 2, 1, 2015, 8, 3, 2.75, 0.045, 40000, 0.25, 0},
    {"VTRC", "Vetracoin", kDriftwood, kToken, 4, 1, 2017, 3, 6, 0.0850, 0.055, 15000, 0.10, 0},
    {"QLMB", "Quillumb Ledger Token", kDriftwood, kToken, 2, 1, 2019, 6, 3, 12.00, 0.050, 9000, 0.05, 0},
    {"SHRD", "Shardline Token", kDriftwood, kToken, 3, 1, 2021, 1, 4, 0.900, 0.065, 1200, 0.00, 0},
};
// clang-format on

double EquityActivity(int minute) {
    // Quiet early pre-market rising towards the open, a U across the regular session, a short
    // busy spell after the close, then a thin evening.
    if (minute < 570) {
        return minute >= 480 ? 0.04 + 0.25 * (minute - 480) / 90.0 : 0.03;
    }
    if (minute >= 960) {
        return minute < 990 ? 0.35 : 0.03;
    }
    const double x = (minute - 570) / 389.0 * 2.0 - 1.0; // -1 at the open, +1 at the close
    return 1.0 + 2.2 * x * x * x * x + (x > 0.9 ? 1.5 : 0.0);
}

double EquityVolatility(int minute) {
    if (minute < 570 || minute >= 960) {
        return 0.25;
    }
    const double x = (minute - 570) / 389.0 * 2.0 - 1.0;
    return 1.0 + 1.5 * x * x;
}

double FutureActivity(int minute) {
    if (minute >= 570 && minute < 960) {
        const double x = (minute - 570) / 389.0 * 2.0 - 1.0;
        return 1.2 + 1.5 * x * x;
    }
    if (minute >= 1080 && minute < 1110) {
        return 0.5; // the evening reopening
    }
    if (minute >= 180 && minute < 570) {
        return 0.45; // overseas hours
    }
    return 0.15;
}

double ContinuousActivity(int minute) {
    // A gentle daily cycle around the clock.
    const double x = (minute - 900) / 720.0; // -1.25 .. 0.75
    return 0.5 + 0.5 / (1.0 + 4.0 * x * x);
}

void Normalise(std::vector<MinuteSlot>& slots) {
    double activity = 0.0;
    double variance = 0.0;
    for (const auto& s : slots) {
        activity += s.activity;
        variance += s.volShare;
    }
    for (auto& s : slots) {
        s.activity /= activity;
        s.volShare = std::sqrt(s.volShare / variance);
    }
}

SessionLayout MakeLayout(SessionClass session) {
    SessionLayout layout;
    for (int minute = 0; minute < 1440; ++minute) {
        MinuteSlot slot;
        slot.minute = static_cast<std::int16_t>(minute);
        switch (session) {
        case SessionClass::Equity:
            if (minute < 240 || minute >= 1200) {
                continue;
            }
            slot.basis = (minute >= 570 && minute < 960) ? 'C' : 'E';
            slot.activity = EquityActivity(minute);
            slot.volShare = EquityVolatility(minute);
            break;
        case SessionClass::Future:
            if (minute >= 1020 && minute < 1080) {
                continue;
            }
            slot.activity = FutureActivity(minute);
            slot.volShare = 0.3 + slot.activity;
            break;
        case SessionClass::Continuous:
            slot.activity = ContinuousActivity(minute);
            slot.volShare = slot.activity;
            break;
        }
        layout.weekday.push_back(slot);
    }
    Normalise(layout.weekday);
    if (session == SessionClass::Continuous) {
        layout.weekend = layout.weekday;
    }
    return layout;
}

} // namespace

const SessionLayout& LayoutOf(SessionClass session) {
    static const SessionLayout equity = MakeLayout(SessionClass::Equity);
    static const SessionLayout future = MakeLayout(SessionClass::Future);
    static const SessionLayout continuous = MakeLayout(SessionClass::Continuous);
    switch (session) {
    case SessionClass::Equity:
        return equity;
    case SessionClass::Future:
        return future;
    case SessionClass::Continuous:
        break;
    }
    return continuous;
}

Universe BuildUniverse() {
    Universe u;
    u.markets = {
        {kNorthgate, "NRTH", "Northgate Stock Exchange", 1, "Northgate Group"},
        {kHarborline, "HRBL", "Harborline Equity Market", 2, "Harborline Markets"},
        {kMeridian, "MRDF", "Meridian Futures Board", 3, "Meridian Exchanges"},
        {kValecrest, "VLCX", "Valecrest Commodity Exchange", 3, "Meridian Exchanges"},
        {kDriftwood, "DRFT", "Driftwood Digital Venue", 4, "Driftwood Venues"},
    };
    u.types = {
        {kEquity, "EQUITY", "Equity"},
        {kFuture, "FUTURE", "Future"},
        {kFund, "FUND", "Exchange Traded Fund"},
        {kToken, "TOKEN", "Digital Token"},
    };
    for (const Row& row : kRows) {
        Instrument inst;
        inst.symbol = row.symbol;
        inst.description = row.description;
        inst.listedMarket = row.market;
        inst.securityType = row.type;
        inst.session = row.type == kFuture  ? SessionClass::Future
                       : row.type == kToken ? SessionClass::Continuous
                                            : SessionClass::Equity;
        inst.decimals = row.decimals;
        inst.increment = row.increment;
        inst.firstDay = DaysFromCivil(row.year, row.month, row.day);
        inst.startPrice = row.startPrice;
        inst.dailyVolatility = row.dailyVolatility;
        inst.ticksPerDay = row.ticksPerDay;
        inst.lotSize = inst.session == SessionClass::Equity ? 100 : 1;
        inst.index = static_cast<std::uint32_t>(u.instruments.size());

        Profile p;
        p.key = HashText(inst.symbol);
        p.priceScale = 1.0;
        for (int i = 0; i < inst.decimals; ++i) {
            p.priceScale *= 10.0;
        }
        p.minPrice = 4 * inst.increment;
        p.meanLots = inst.session == SessionClass::Equity   ? 2.2
                     : inst.session == SessionClass::Future ? 2.6
                                                            : 4.0;
        p.oddLots = inst.session == SessionClass::Equity;
        p.growth = row.growth;
        p.reversion = 0.0008;
        p.baseOpenInterest = row.openInterest;
        p.primaryCenter = static_cast<std::uint8_t>(row.market * 4);
        p.layout = &LayoutOf(inst.session);
        u.instruments.push_back(inst);
        u.profiles.push_back(p);
    }
    return u;
}

} // namespace portico::detail
