#include "batch/wall_clock.h"

#include <limits>

namespace sorvek {

std::time_t wallClockNow() { return std::time(nullptr); }

std::int32_t secondsSince(std::time_t start) { return wholeSecondsBetween(start, wallClockNow()); }

std::int32_t wholeSecondsBetween(std::time_t start, std::time_t end) {
    // time_t is a whole count of seconds here; the difference is taken in 64 bits so that
    // no clock value can overflow it, then held to what the time lines print.
    const std::int64_t seconds = static_cast<std::int64_t>(end) - static_cast<std::int64_t>(start);
    constexpr std::int64_t least = std::numeric_limits<std::int32_t>::min();
    constexpr std::int64_t greatest = std::numeric_limits<std::int32_t>::max();
    if (seconds < least) return static_cast<std::int32_t>(least);
    if (seconds > greatest) return static_cast<std::int32_t>(greatest);
    return static_cast<std::int32_t>(seconds);
}

std::int32_t wholeSecondsOf(double seconds) {
    // NaN fails both tests and counts as no time; anything beyond 32 bits is held to the limit.
    if (!(seconds >= 0.0)) return 0;
    if (!(seconds < 2147483648.0)) return std::numeric_limits<std::int32_t>::max();
    return static_cast<std::int32_t>(seconds);  // truncates toward zero
}

}  // namespace sorvek
