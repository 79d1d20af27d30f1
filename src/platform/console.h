#pragma once
// The program's standard streams and arguments as UTF-8 on every system. On Windows the
// arguments come from the wide command line (argv is in the ANSI code page), standard output
// and error are switched to binary mode so that "\n" stays "\n", the console shows UTF-8,
// and a line typed on the console is read in the console's input code page.

#include <string>
#include <string_view>
#include <vector>

namespace px {

// The program's arguments, argv[0] first, in UTF-8.
std::vector<std::string> Utf8Arguments(int argc, char** argv);

// Call once at the start of main, before anything is printed.
void PrepareStandardStreams();

// A line read from standard input, in UTF-8: on a Windows console it arrives in the
// console's input code page; everywhere else it is taken as UTF-8 already.
std::string InputLineToUtf8(std::string_view line);

// Whether standard input and standard error are both a terminal (questions can be asked).
bool StandardInputAndErrorAreTerminal();

}  // namespace px
