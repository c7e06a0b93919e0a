// Runs the plexa tool in-process and captures what it prints.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "cli.hpp"

namespace plexa_cli_test {

struct result {
  int status;
  std::string out, err;
};

// Runs the tool with the given arguments; `out` may replace the captured
// standard output (to simulate a stream that cannot be written).
inline result run(std::vector<const char*> args, std::FILE* out = nullptr) {
  args.insert(args.begin(), "plexa");
  char* text[2] = {};
  std::size_t size[2] = {};
  std::FILE* captured[2] = {open_memstream(&text[0], &size[0]), open_memstream(&text[1], &size[1])};
  result r{plexa_cli::run(int(args.size()), args.data(), out ? out : captured[0], captured[1]), {}, {}};
  for (int k = 0; k < 2; ++k) {
    std::fclose(captured[k]);
    (k == 0 ? r.out : r.err).assign(text[k], size[k]);
    std::free(text[k]);
  }
  return r;
}

}  // namespace plexa_cli_test
