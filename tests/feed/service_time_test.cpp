// The service's time texts that do not read. portico only sends well-formed ones (the feed's
// portico tests read those), so these are given here.

#include "feed/service_statistics.h"

#include <gtest/gtest.h>

TEST(ServiceTime, MalformedTextsAreInvalid) {
    EXPECT_TRUE(ParseServiceTime("Mar 9 3:07PM").IsValid());
    for (const char* bad : {"", "Nov", "Xyz 20 12:00PM", "Nov 20 13:00PM", "Nov 20 0:30AM",
                            "Nov 20 12:0PM", "Nov 20 12:00", "Feb 30 10:00AM", "Nov 20 12:00PMX"}) {
        EXPECT_FALSE(ParseServiceTime(bad).IsValid()) << bad;
    }
}
