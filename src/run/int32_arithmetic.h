#pragma once
// Whole numbers that the result files and messages hold in 32 bits. Where a product or a
// sum can pass 2^31 - 1 it is formed wider and cut back to the low 32 bits, as 32-bit
// arithmetic leaves them, rather than overflowing; where a count can, it stops at the
// largest 32-bit number instead.

#include <cstddef>
#include <cstdint>

namespace sorvek {

// The low 32 bits of `value` as a two's complement number: 2^31 gives INT32_MIN, 2^32
// gives 0. Converting to a narrower signed type is modular since C++20.
constexpr std::int32_t wrapToInt32(std::int64_t value) { return static_cast<std::int32_t>(value); }

// count + 1, where 2^31 - 1 is followed by INT32_MIN.
constexpr std::int32_t wrappingIncrement(std::int32_t count) {
    return wrapToInt32(std::int64_t{count} + 1);
}

// Adds one to `count` unless it already holds 2^31 - 1, where it stays.
void saturatingIncrement(std::int32_t& count);

// A size as a 32-bit count, 2^31 - 1 for every size beyond it.
std::int32_t countAsInt32(std::size_t count);

}  // namespace sorvek
