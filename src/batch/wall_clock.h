#pragma once
// The time lines of the batch stages: whole seconds of wall clock.

#include <cstdint>
#include <ctime>

namespace sorvek {

// The wall clock now, in whole seconds.
std::time_t wallClockNow();

// Whole seconds from `start` to now as a 32-bit number; a clock that jumped beyond what
// 32 bits hold gives the nearest limit.
std::int32_t secondsSince(std::time_t start);

// The difference itself, for times already read.
std::int32_t wholeSecondsBetween(std::time_t start, std::time_t end);

}  // namespace sorvek
