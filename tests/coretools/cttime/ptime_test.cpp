// Broken-down time.
#include "coretools/cttime/ptime.h"

#include <algorithm>
#include <climits>

#include <gtest/gtest.h>

TEST(Ptime, UniversalTime) {
    ptime of{};
    zuna_gmtime(&of, 951695999); // 2000-02-27 23:59:59
    const int fields[] = {of.seconds, of.minutes, of.hours, of.day, of.month, of.year, of.extra};
    const int expected[] = {59, 59, 23, 27, 1, 100, 0};
    EXPECT_TRUE(std::equal(fields, fields + 7, expected));
    zuna_gmtime(&of, LLONG_MAX); // a year that no int holds
    EXPECT_EQ(of.seconds + of.minutes + of.hours + of.day + of.month + of.year, 0);
}
