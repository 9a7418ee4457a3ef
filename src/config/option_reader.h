#pragma once
// The option file: one "KEY value" a line, '#' comments, every key with a default.

#include <string>
#include <string_view>
#include <vector>

#include "run/records.h"

namespace sorvek {

// Applies one line of an option file (at most 255 characters, line end included) to
// `options`. Lines that match no key, or whose value does not convert, change nothing.
void applyOptionLine(RunOptions& options, const char* line);

// Applies a whole option text, cut into lines as the reader of the file cuts them.
void applyOptionText(RunOptions& options, std::string_view text);

// Reads optionPath into run.options, derives the output names, refuses a database name or
// option values the run cannot use, then shows the summary and takes the mode.
void readOptions(Run& run);

// One option as a person reads it: the key without its blank, and its value.
struct OptionSetting {
    std::string key;    // as written in the option file
    std::string value;  // integers whole, floats with up to ten significant digits
};

// Every option in option-table order.
std::vector<OptionSetting> optionSettings(const RunOptions& options);

// Prints one "has an invalid value" line per unusable option, in option-table order, and
// returns how many there were.
int reportInvalidOptions(const RunOptions& options, const std::string& optionPath);

}  // namespace sorvek
