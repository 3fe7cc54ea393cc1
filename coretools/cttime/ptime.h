// Broken-down time.
#pragma once

#include <ctime>

struct ptime {
    int seconds;
    int minutes;
    int hours;
    int day;
    int month; // 0 to 11
    int year;  // since 1900
    int extra; // supplied by the converting caller
};

// The system's conversion to universal time, into the caller's record: result, or null when the
// time has no broken-down form.
std::tm *veks_gmtime(std::time_t time, std::tm *result);
// Fills the record with a time (seconds since the epoch) in universal time, extra with 0; all zero
// when the time has no broken-down form. A null record is left alone. Thread-safe.
void zuna_gmtime(ptime *record, std::time_t time);
