// The command table.  Each command is defined in its own file, declared
// here and listed in the table (in the order of `plexa --help`).
#include "command.hpp"

#include <cstring>
#include <iterator>

namespace plexa_cli {

extern const command demo_command;
extern const command convert_command;
extern const command quality_command;
extern const command info_command;
extern const command weld_command;
extern const command check_command;
extern const command sizemap_command;
#if PLEXA_CLI_MPI
extern const command partition_command;
extern const command merge_parts_command;
#endif

namespace {

const command* const table[] = {
    &demo_command,
    &info_command,
    &check_command,
    &quality_command,
    &sizemap_command,
    &convert_command,
    &weld_command,
#if PLEXA_CLI_MPI
    &partition_command,
    &merge_parts_command,
#endif
};

}  // namespace

command_list commands() { return {std::begin(table), std::end(table)}; }

const command* find_command(const char* name) {
  for (const command* c : table)
    if (std::strcmp(c->name, name) == 0) return c;
  return nullptr;
}

}  // namespace plexa_cli
