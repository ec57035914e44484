#pragma once

// Answers of the lookup port that come from the instrument universe rather than from history:
//   symbol search:     <id>,LS,SYMBOL,listedMarketId,securityTypeId,Description,  ...
//   <id>,!ENDMSG!, listed markets:    id,shortName,longName,groupId,groupName,  ...  !ENDMSG!,
//   security types:    id,shortName,longName,,  ...  !ENDMSG!,
// and the Level 1 fundamental line of an instrument.

#include "commands.h"
#include "line_writer.h"
#include "market/market.h"
#include "update_fields.h"

namespace portico {

void WriteSearchAnswer(LineWriter& out, const Market& market, const SearchRequest& request);
void WriteListedMarkets(LineWriter& out, const Market& market);
void WriteSecurityTypes(LineWriter& out, const Market& market);

// "F,SYMBOL,..." with 34 fields; field 30 is the price text width (decimals + 10, at least 11)
// and field 31 the number of decimals.
void WriteFundamentalLine(LineWriter& out, const Market& market, const QuoteState& state);

} // namespace portico
