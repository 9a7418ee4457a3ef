// sorvek: aligns the overlapping scans of a laser-scan survey.

#include "run/program.h"

int main(int argc, char** argv) { return sorvek::runProgram(argc, argv, nullptr); }
