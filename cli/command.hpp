// The plexa tool's commands: a small table of named entry points.
//
// Adding a command: write cli/<name>.cpp defining a `command` object (name,
// one-line summary, help text, entry function) and add it to the table in
// commands.cpp.  The dispatcher in run.cpp handles --help, `help <name>` and
// the exit status conventions.
#pragma once

#include <cstdio>

namespace plexa_cli {

struct command;

// What a command's entry function receives: its own arguments (the words
// after the command name) and the two output streams.
struct invocation {
  const command& self;
  int argc;
  const char* const* argv;
  std::FILE* out;
  std::FILE* err;
};

// Exit statuses of the tool.
constexpr int EXIT_OK = 0;
constexpr int EXIT_FAILURE_STATUS = 1;
constexpr int EXIT_USAGE = 2;
// `plexa check` found defects in the mesh.
constexpr int EXIT_DEFECTS = 3;

struct command {
  const char* name;
  const char* summary;  // one line, shown by `plexa --help`
  const char* help;     // full text of `plexa help <name>`, starting with its usage line
  int (*entry)(const invocation& call);
};

// All commands, in the order `plexa --help` lists them.
struct command_list {
  const command* const* first;
  const command* const* last;
};
command_list commands();

// The command called `name`, or nullptr.
const command* find_command(const char* name);

// One-line diagnostics on call.err.  usage_error returns EXIT_USAGE and
// points at the command's help; failure returns EXIT_FAILURE_STATUS.
int usage_error(const invocation& call, const char* format, ...) __attribute__((format(printf, 2, 3)));
int failure(const invocation& call, const char* format, ...) __attribute__((format(printf, 2, 3)));

}  // namespace plexa_cli
