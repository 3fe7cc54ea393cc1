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

void zuna_gmtime(ptime *record, std::time_t time);
