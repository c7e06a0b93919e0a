#include "mesh_output.hpp"

#include <zeb/plexa/messages.hpp>

namespace plexa_cli {

int find_mesh_output(const invocation& call, const char* path, const mesh_format*& format) {
  format = format_of(path);
  if (format && format->write) return EXIT_OK;
  return usage_error(call, "unknown output format of '%s' (known: %s)", path, writable_extensions().c_str());
}

int write_mesh_output(const invocation& call, const mesh_format& format, const char* path, const mesh& m) {
  const int code = format.write(path, m);
  if (code == -1) return failure(call, "cannot write '%s'", path);
  if (code != 0) {
    char reason[160];
    zeb::plexa::result_message(format.write_signature, code, reason, sizeof reason);
    return failure(call, "cannot write '%s': %s", path, reason);
  }
  std::fprintf(call.out, "wrote %s (%s): %u nodes, %u elements\n", path, format.name, m.coords.cols(),
               m.element_count());
  return EXIT_OK;
}

}  // namespace plexa_cli
