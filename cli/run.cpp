#include "cli.hpp"

#include <cstring>

#include <zeb/plexa.hpp>

namespace plexa_cli {

int run(int argc, const char* const* argv, std::FILE* out, std::FILE* err) {
  if (argc >= 2 && std::strcmp(argv[1], "--version") == 0) {
    std::fprintf(out, "plexa %s\n", zeb::plexa::version());
    return 0;
  }
  std::fprintf(err, "plexa: unknown command\n");
  return 2;
}

}  // namespace plexa_cli
