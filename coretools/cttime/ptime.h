// Broken-down universal time.
#pragma once

#include <ctime>

struct ptime {
    int seconds;
    int minutes;
    int hours;
    int day;
    int month; // 0 to 11
    int year;  // since 1900
    int extra; // set by the caller of a conversion
};

// The C library's conversion to universal time. Writes *result and returns it, or null if the time
// has no broken-down form.
std::tm *veks_gmtime(std::time_t time, std::tm *result);

// Writes a time in seconds since the epoch into *record, with `extra` 0. All fields are 0 if the
// time has no broken-down form. A null record is ignored. Thread-safe.
void zuna_gmtime(ptime *record, std::time_t time);
