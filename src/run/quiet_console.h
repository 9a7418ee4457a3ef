#pragma once
// Silences the console for a while: the report measures pairs with the engine's own
// functions, and the lines those print belong to the stages, not to the report.

namespace sorvek {

// While it lives, standard output and standard error go to the null device; its end
// puts them back. Only the main thread prints, so nothing else writes meanwhile. If the
// null device cannot be opened the console simply stays as it was.
struct QuietConsole {
    QuietConsole();
    ~QuietConsole();
    QuietConsole(const QuietConsole&) = delete;
    QuietConsole& operator=(const QuietConsole&) = delete;

    int savedOutput = -1;  // duplicate of the real standard output, -1 when not silenced
    int savedError = -1;   // duplicate of the real standard error
};

}  // namespace sorvek
