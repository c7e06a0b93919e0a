// The command line of a command: its options and its positional words.
//
// Every command parses through here, so that every command takes the same
// forms: "--name value", "--name=value", "-n value" for an option with a
// value, "--name" for a flag, "--" before positional words that start with a
// dash.  An option given twice is refused, except those marked repeatable
// (the transforms of convert, applied in the order given).
#pragma once

#include <string>
#include <vector>

#include "command.hpp"

namespace plexa_cli {

struct option_info {
  const char* name;        // "--output"
  char short_name;         // 'o', or '\0'
  const char* value_name;  // "file" for an option with a value, nullptr for a flag
  bool repeatable = false;
};

struct option_use {
  int option;         // index into the command's option list
  const char* value;  // the value given, nullptr for a flag
};

struct parsed_arguments {
  std::vector<option_use> options;        // in command-line order
  std::vector<const char*> positionals;  // in command-line order

  // The value of the option of index `option` (its last use), or nullptr.
  const char* value(int option) const;
  bool has(int option) const;
};

// Parses call.argv against the option list [known, known + count), allowing
// at most `max_positionals` positional words.  EXIT_OK, or EXIT_USAGE after
// reporting the mistake (an unknown option, a missing or unexpected value,
// an option given twice, a word too many).
int parse_arguments(const invocation& call, const option_info* known, int count, unsigned max_positionals,
                    parsed_arguments& args);

// Option values read independently of the locale; each returns false when
// the text is not one of its values.
bool parse_double(const char* text, double& value);     // a finite number
bool parse_count(const char* text, unsigned max, unsigned& value);  // decimal digits, at most max

}  // namespace plexa_cli
