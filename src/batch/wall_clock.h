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

// A duration measured in fractions of a second, as whole seconds for a time line: cut
// toward zero, 0 for anything below zero or not a number, the 32-bit limit beyond it.
std::int32_t wholeSecondsOf(double seconds);

}  // namespace sorvek
