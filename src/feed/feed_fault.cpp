#include "feed/feed_fault.h"

#include "feed/feed_connections.h"

#include <fmt/format.h>

#include <cstring>

std::string FeedConnectionName(int connection) {
    switch (connection) {
    case CFeedConnections::kLevel1:
        return "Level 1";
    case CFeedConnections::kMarketDepth:
        return "market depth";
    case CFeedConnections::kLookup:
        return "lookup";
    case CFeedConnections::kAdmin:
        return "admin";
    default:
        return fmt::format("#{}", connection);
    }
}

std::string DescribeFeedFault(const SFeedFault& fault) {
    const std::string name = FeedConnectionName(fault.connection);
    const std::string where = fmt::format("{}:{}", fault.address, fault.port);
    const std::string reason = fault.error != 0 ? std::strerror(fault.error) : std::string();
    switch (fault.cause) {
    case ESocketFault::ConnectFailed:
        return fmt::format("cannot reach the market-data service: the {} connection to {} failed "
                           "({})",
                           name, where, reason.empty() ? "no reason given" : reason);
    case ESocketFault::LineTooLong:
        return fmt::format("the market-data service sent a line longer than {} bytes (the most "
                           "a line may hold) on the {} connection ({})",
                           "65,535", name, where);
    case ESocketFault::ClosedByPeer:
        return fmt::format("the market-data service closed the {} connection ({}){}", name, where,
                           reason.empty() ? "" : ": " + reason);
    case ESocketFault::None:
        break;
    }
    return fmt::format("the {} connection ({}) works", name, where);
}
