#include "reference_answers.h"

#include <algorithm>
#include <cctype>

namespace portico {

namespace {

std::string Lower(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return result;
}

bool Matches(const Instrument& instrument, const SearchRequest& request,
             const std::string& lowerText) {
    if (request.byDescription) {
        if (Lower(instrument.description).find(lowerText) == std::string::npos) {
            return false;
        }
    } else if (!Lower(instrument.symbol).starts_with(lowerText)) {
        return false;
    }
    const auto contains = [&](int id) {
        return std::find(request.filterIds.begin(), request.filterIds.end(), id) !=
               request.filterIds.end();
    };
    switch (request.filter) {
    case SearchRequest::Filter::None:
        return true;
    case SearchRequest::Filter::ListedMarkets:
        return contains(instrument.listedMarket);
    case SearchRequest::Filter::SecurityTypes:
        return contains(instrument.securityType);
    }
    return true;
}

const char* SessionText(SessionClass session) {
    switch (session) {
    case SessionClass::Equity:
        return "EQUITY HOURS";
    case SessionClass::Future:
        return "NEAR ROUND THE CLOCK";
    case SessionClass::Continuous:
        return "CONTINUOUS";
    }
    return "";
}

} // namespace

void WriteSearchAnswer(LineWriter& out, const Market& market, const SearchRequest& request) {
    const std::string lowerText = Lower(request.text);
    for (const Instrument& instrument : market.instruments()) {
        if (!Matches(instrument, request, lowerText)) {
            continue;
        }
        out.put(request.id);
        out.put(",LS,");
        out.put(instrument.symbol);
        out.put(',');
        out.putSigned(instrument.listedMarket);
        out.put(',');
        out.putSigned(instrument.securityType);
        out.put(',');
        out.put(instrument.description);
        out.put(',');
        out.endLine();
    }
    out.put(request.id);
    out.put(",!ENDMSG!,");
    out.endLine();
}

void WriteListedMarkets(LineWriter& out, const Market& market) {
    for (const ListedMarket& m : market.listedMarkets()) {
        out.putSigned(m.id);
        out.put(',');
        out.put(m.shortName);
        out.put(',');
        out.put(m.longName);
        out.put(',');
        out.putSigned(m.groupId);
        out.put(',');
        out.put(m.groupName);
        out.put(',');
        out.endLine();
    }
    out.put("!ENDMSG!,");
    out.endLine();
}

void WriteSecurityTypes(LineWriter& out, const Market& market) {
    for (const SecurityType& t : market.securityTypes()) {
        out.putSigned(t.id);
        out.put(',');
        out.put(t.shortName);
        out.put(',');
        out.put(t.longName);
        out.put(",,");
        out.endLine();
    }
    out.put("!ENDMSG!,");
    out.endLine();
}

void WriteFundamentalLine(LineWriter& out, const Market& market, const QuoteState& state) {
    const Instrument& instrument = *state.instrument;
    const int decimals = instrument.decimals;
    const ListedMarket* listed = nullptr;
    for (const ListedMarket& m : market.listedMarkets()) {
        listed = m.id == instrument.listedMarket ? &m : listed;
    }
    const SecurityType* type = nullptr;
    for (const SecurityType& t : market.securityTypes()) {
        type = t.id == instrument.securityType ? &t : type;
    }
    const auto field = [&out](auto&& write) {
        out.put(',');
        write();
    };
    out.put('F');
    field([&] { out.put(instrument.symbol); });                                 // 1
    field([&] { out.putSigned(instrument.listedMarket); });                     // 2
    field([&] { out.putSigned(instrument.securityType); });                     // 3
    field([&] { out.put(instrument.description); });                            // 4
    field([&] { out.put(listed ? std::string_view(listed->shortName) : ""); }); // 5
    field([&] { out.put(type ? std::string_view(type->shortName) : ""); });     // 6
    field([&] { out.putPrice(state.previousClose, decimals); });                // 7
    field([&] { out.putUnsigned(state.openInterest); });                        // 8
    field([&] { out.putPrice(instrument.increment, decimals); });               // 9
    field([&] { out.putUnsigned(instrument.lotSize); });                        // 10
    field([&] { out.putSlashDate(StartOfDay(instrument.firstDay)); });          // 11
    field([&] { out.put(SessionText(instrument.session)); });                   // 12
    field([&] { out.putPrice(state.open, decimals); });                         // 13
    field([&] { out.putPrice(state.high, decimals); });                         // 14
    field([&] { out.putPrice(state.low, decimals); });                          // 15
    field([&] { out.putSigned(state.totalVolume); });                           // 16
    field([&] { out.put(listed ? std::string_view(listed->longName) : ""); });  // 17
    field([&] { out.put(type ? std::string_view(type->longName) : ""); });      // 18
    field([&] { out.putSigned(listed ? listed->groupId : 0); });                // 19
    field([&] { out.put(listed ? std::string_view(listed->groupName) : ""); }); // 20
    for (int reserved = 21; reserved < 30; ++reserved) {
        out.put(',');
    }
    field([&] { out.putUnsigned(static_cast<std::uint64_t>(std::max(11, decimals + 10))); }); // 30
    field([&] { out.putUnsigned(static_cast<std::uint64_t>(decimals)); });                    // 31
    field([&] { out.putUnsigned(static_cast<std::uint64_t>(10 + decimals)); });               // 32
    field([&] { out.putUnsigned(instrument.index); });                                        // 33
    out.endLine();
}

} // namespace portico
