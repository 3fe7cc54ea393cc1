// Broken-down time.
#include "coretools/cttime/ptime.h"

#include <climits>
#include <cstdlib>

#include <gtest/gtest.h>

namespace {

// The zone is set because most hosts that run tests are in universal time anyway.
TEST(Ptime, UniversalTimeInAnyTimeZone) {
    setenv("TZ", "<-0530>5:30", 1);
    tzset();
    ptime of{0, 0, 0, 0, 0, 0, 7};
    zuna_gmtime(&of, 951695999); // 2000-02-27 23:59:59
    EXPECT_EQ(of.seconds, 59);
    EXPECT_EQ(of.minutes, 59);
    EXPECT_EQ(of.hours, 23);
    EXPECT_EQ(of.day, 27);
    EXPECT_EQ(of.month, 1);
    EXPECT_EQ(of.year, 100);
    EXPECT_EQ(of.extra, 0);
}

// On 32-bit hosts seconds were counted in 32 bits, which end in 2038.
TEST(Ptime, GoesOnAfter2038) {
    ptime of{};
    zuna_gmtime(&of, 4102444800); // 2100-01-01
    EXPECT_EQ(of.year, 200);
    EXPECT_EQ(of.day, 1);
}

TEST(Ptime, AYearThatNoIntHoldsGivesZeros) {
    ptime of{1, 1, 1, 1, 1, 1, 1};
    zuna_gmtime(&of, LLONG_MAX);
    EXPECT_EQ(of.day, 0);
}

} // namespace
