// One-line diagnostics of the commands.
#include <cstdarg>

#include "command.hpp"
#include "progress.hpp"

namespace plexa_cli {

namespace {

void report(const invocation& call, const char* format, std::va_list args) {
  progress::clear_line(call.err);
  std::fprintf(call.err, "plexa %s: ", call.self.name);
  std::vfprintf(call.err, format, args);
}

}  // namespace

int usage_error(const invocation& call, const char* format, ...) {
  std::va_list args;
  va_start(args, format);
  report(call, format, args);
  va_end(args);
  std::fprintf(call.err, " (see 'plexa help %s')\n", call.self.name);
  return EXIT_USAGE;
}

int failure(const invocation& call, const char* format, ...) {
  std::va_list args;
  va_start(args, format);
  report(call, format, args);
  va_end(args);
  std::fputc('\n', call.err);
  return EXIT_FAILURE_STATUS;
}

}  // namespace plexa_cli
