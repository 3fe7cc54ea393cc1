// Universal time as the library's broken-down time record.
#include "coretools/cttime/ptime.h"

std::tm *veks_gmtime(std::time_t time, std::tm *result) {
    return gmtime_r(&time, result);
}

void zuna_gmtime(ptime *record, std::time_t time) {
    if (record == nullptr) {
        return;
    }
    std::tm utc{};
    if (veks_gmtime(time, &utc) == nullptr) {
        *record = {};
        return;
    }
    *record = {utc.tm_sec, utc.tm_min, utc.tm_hour, utc.tm_mday, utc.tm_mon, utc.tm_year, 0};
}
