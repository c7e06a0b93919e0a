// The plexa command-line tool as a testable function.
#pragma once

#include <cstdio>

namespace plexa_cli {

// Runs the tool with the given arguments (argv[0] is the program name),
// writing results to out and diagnostics to err.  Returns the exit status:
// 0 on success, 1 on failure, 2 on a usage error; a failure or usage error
// writes one line to err.  Output does not depend on the current locale.
int run(int argc, const char* const* argv, std::FILE* out, std::FILE* err);

}  // namespace plexa_cli
