// Broken-down time.
#include "coretools/cttime/ptime.h"

#include <climits>
#include <cstdlib>

#include <gtest/gtest.h>

namespace {

// The zone is set because most hosts that run tests are in universal time anyway. On 32-bit hosts
// seconds were counted in 32 bits, which end in 2038.
TEST(Ptime, UniversalTimeInAnyTimeZoneAndCentury) {
    setenv("TZ", "<-0530>5:30", 1);
    tzset();
    ptime of{0, 0, 0, 0, 0, 0, 7};
    zuna_gmtime(&of, 4107542399); // 2100-02-28 23:59:59
    EXPECT_EQ(of.seconds, 59);
    EXPECT_EQ(of.minutes, 59);
    EXPECT_EQ(of.hours, 23);
    EXPECT_EQ(of.day, 28);
    EXPECT_EQ(of.month, 1);
    EXPECT_EQ(of.year, 200);
    EXPECT_EQ(of.extra, 0);
    zuna_gmtime(&of, LLONG_MAX); // a year that no int holds
    EXPECT_EQ(of.day, 0);
}

} // namespace
