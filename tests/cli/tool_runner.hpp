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
  char *out_text = nullptr, *err_text = nullptr;
  std::size_t out_size = 0, err_size = 0;
  std::FILE* captured = open_memstream(&out_text, &out_size);
  std::FILE* err = open_memstream(&err_text, &err_size);
  result r;
  r.status = plexa_cli::run(int(args.size()), args.data(), out ? out : captured, err);
  std::fclose(captured);
  std::fclose(err);
  r.out.assign(out_text, out_size);
  r.err.assign(err_text, err_size);
  std::free(out_text);
  std::free(err_text);
  return r;
}

}  // namespace plexa_cli_test
