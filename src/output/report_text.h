#pragma once
// Text for the report page and other files written whole: escaping and number formatting,
// the same on every machine.

#include <cstdio>
#include <string>
#include <string_view>

namespace sorvek {

// `text` safe inside an element or a quoted attribute: & < > " and ' escaped.
std::string htmlEscaped(std::string_view text);

// printf formatting into a string. The program never changes the C locale, so numbers
// always use a decimal point.
template <typename... Values>
std::string formatted(const char* format, Values... values) {
    const int length = std::snprintf(nullptr, 0, format, values...);
    if (length <= 0) return {};
    std::string text(static_cast<std::size_t>(length) + 1, '\0');
    std::snprintf(text.data(), text.size(), format, values...);
    text.pop_back();
    return text;
}

}  // namespace sorvek
