// Dispatch of the plexa tool: global options, help, and the command table.
#include "cli.hpp"

#include <algorithm>
#include <cstring>

#include <zeb/plexa/core.hpp>

#include "command.hpp"

namespace plexa_cli {

namespace {

bool is(const char* arg, const char* word) { return std::strcmp(arg, word) == 0; }
bool is_help_option(const char* arg) { return is(arg, "--help") || is(arg, "-h"); }

void write_overview(std::FILE* out) {
  std::fputs(
      "Usage: plexa <command> [arguments]\n"
      "       plexa --version | --help | help <command>\n"
      "\n"
      "Finite-element mesh tools.\n"
      "\n"
      "Commands:\n",
      out);
  const command_list all = commands();
  int width = 0;
  for (auto c = all.first; c != all.last; ++c) width = std::max(width, int(std::strlen((*c)->name)));
  for (auto c = all.first; c != all.last; ++c) std::fprintf(out, "  %-*s  %s\n", width, (*c)->name, (*c)->summary);
  std::fputs("\nRun 'plexa help <command>' for the arguments of a command.\n", out);
}

constexpr const char* help_of_help =
    "Usage: plexa help [<command>]\n"
    "\n"
    "Without a command, lists the commands, each with what it does; with one,\n"
    "prints its arguments and options ('plexa <command> --help' does the\n"
    "same).\n";

int usage(std::FILE* err, const char* message, const char* word) {
  std::fprintf(err, "plexa: %s%s%s%s (see 'plexa --help')\n", message, word ? " '" : "", word ? word : "",
               word ? "'" : "");
  return EXIT_USAGE;
}

int dispatch(int argc, const char* const* argv, std::FILE* out, std::FILE* err) {
  if (argc < 2) return usage(err, "missing command", nullptr);
  const char* first = argv[1];

  if (is(first, "--version")) {
    if (argc > 2) return usage(err, "unexpected argument", argv[2]);
    std::fprintf(out, "plexa %s\n", zeb::plexa::version());
    return EXIT_OK;
  }
  if (is_help_option(first) || is(first, "help")) {
    if (argc == 2) {
      write_overview(out);
      return EXIT_OK;
    }
    if (argc > 3 || !is(first, "help")) return usage(err, "unexpected argument", argv[argc > 3 ? 3 : 2]);
    if (is(argv[2], "help")) {
      std::fputs(help_of_help, out);
      return EXIT_OK;
    }
    const command* c = find_command(argv[2]);
    if (!c) return usage(err, "unknown command", argv[2]);
    std::fputs(c->help, out);
    return EXIT_OK;
  }
  if (first[0] == '-') return usage(err, "unknown option", first);

  const command* c = find_command(first);
  if (!c) return usage(err, "unknown command", first);
  if (argc >= 3 && is_help_option(argv[2])) {
    std::fputs(c->help, out);
    return EXIT_OK;
  }
  return c->entry(invocation{*c, argc - 2, argv + 2, out, err});
}

}  // namespace

int run(int argc, const char* const* argv, std::FILE* out, std::FILE* err) {
  const int status = dispatch(argc, argv, out, err);
  // Output that did not reach its destination (a full disk, a closed pipe)
  // turns success into failure.
  if (std::fflush(out) != 0 || std::ferror(out)) {
    std::fputs("plexa: cannot write the output\n", err);
    return EXIT_FAILURE_STATUS;
  }
  return status;
}

}  // namespace plexa_cli
