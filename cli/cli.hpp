// The plexa command-line tool as a testable function.
#pragma once

#include <cstdio>

namespace plexa_cli {

// Runs the tool with the given arguments, writing to out and err.  Returns
// the exit status: 0 on success, 1 on failure, 2 on a usage error.
int run(int argc, const char* const* argv, std::FILE* out, std::FILE* err);

}  // namespace plexa_cli
