#pragma once
// Pieces of a session's standard output that the survey and output stage tests compare.

#include <string>

namespace sorvek::testing {

// Everything after the menu's last line: the survey table, the confirmation, the stages
// and the closing. The summary before it belongs to the option tests.
inline std::string afterMenu(const std::string& out) {
    const std::string lastMenuLine = "0 = quit and reformat your input file, \n";
    const std::size_t at = out.find(lastMenuLine);
    return at == std::string::npos ? "(no menu in the output)" : out.substr(at + lastMenuLine.size());
}

// The three lines that ask for the confirmation, and the two lines of the closing.
inline constexpr const char* confirmationLines =
    " Please check that all filenames are correct and that the program has correctly matched up scans correctly \n"
    " and press Enter to continue.  \n"
    " \n";
inline constexpr const char* closingLines =
    "100 percent complete \n"
    "Press ENTER to close the program  \n";

// Everything after the confirmation: the stages' own lines and the closing.
inline std::string afterConfirmation(const std::string& out) {
    const std::size_t at = out.find(confirmationLines);
    return at == std::string::npos ? "(no confirmation in the output)"
                                   : out.substr(at + std::string(confirmationLines).size());
}

}  // namespace sorvek::testing
