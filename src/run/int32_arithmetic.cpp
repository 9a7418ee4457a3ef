#include "run/int32_arithmetic.h"

#include <limits>

namespace sorvek {

void saturatingIncrement(std::int32_t& count) {
    if (count < std::numeric_limits<std::int32_t>::max()) ++count;
}

std::int32_t countAsInt32(std::size_t count) {
    constexpr std::size_t greatest = std::numeric_limits<std::int32_t>::max();
    return static_cast<std::int32_t>(count > greatest ? greatest : count);
}

}  // namespace sorvek
