#include "mesh_input.hpp"

#include <cstring>
#include <string>

#include <zeb/plexa/messages.hpp>

namespace plexa_cli {

int find_mesh_input(const invocation& call, const char* name, mesh_input& in) {
  in = mesh_input();
  if (!name || std::strcmp(name, "builtin") == 0) return EXIT_OK;
  const mesh_format* format = format_of(name);
  if (!format || !format->read) {
    const std::string readable = readable_extensions();
    if (readable.empty())
      return usage_error(call, "cannot read '%s': the only input for now is the built-in mesh", name);
    return usage_error(call, "unknown input format of '%s' (known: %s)", name, readable.c_str());
  }
  in.path = name;
  in.format = format;
  return EXIT_OK;
}

int read_mesh_input(const invocation& call, const mesh_input& in, mesh& m) {
  if (in.builtin()) return builtin_mesh(m) ? EXIT_OK : failure(call, "out of memory");
  const int code = in.format->read(in.path, m);
  if (code == 0) return EXIT_OK;
  return file_failure(call, "read", in.path, in.format->read_signature, code);
}

int read_mesh_argument(const invocation& call, const char* name, progress& shown, mesh_input& in, mesh& m) {
  if (const int status = find_mesh_input(call, name, in)) return status;
  shown.step("reading");
  return read_mesh_input(call, in, m);
}

int read_field_input(const invocation& call, const char* path, const field_format& format, field& f) {
  const int code = format.read(path, f);
  if (code == 0) return EXIT_OK;
  return file_failure(call, "read", path, format.read_signature, code);
}

int file_failure(const invocation& call, const char* verb, const char* path, const char* signature, int code) {
  char reason[160];
  zeb::plexa::result_message(signature, code, reason, sizeof reason);
  return failure(call, "cannot %s '%s': %s", verb, path, reason);
}

}  // namespace plexa_cli
