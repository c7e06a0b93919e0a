// The libFuzzer target of one reader entry (readers.hpp), named by
// PLEXA_FUZZ_READER: every input is read through the entry, and a broken
// promise aborts with what was broken, so that libFuzzer keeps the input.
#include <cstdio>
#include <cstdlib>

#include "readers.hpp"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
  static const plexa_fuzz::reader_entry* const reader = plexa_fuzz::find_reader(PLEXA_FUZZ_READER);
  if (!reader) {
    std::fprintf(stderr, "no reader entry named %s\n", PLEXA_FUZZ_READER);
    std::abort();
  }
  const std::string broken = plexa_fuzz::broken_promise(*reader, data, size);
  if (!broken.empty()) {
    std::fprintf(stderr, "%s: %s\n", reader->name, broken.c_str());
    std::abort();
  }
  return 0;
}
