#include "mesh_output.hpp"

#include <cerrno>
#include <cstring>

#include <zeb/plexa/messages.hpp>

namespace plexa_cli {

int find_mesh_output(const invocation& call, const char* path, const mesh_format*& format) {
  format = format_of(path);
  if (format && format->write) return EXIT_OK;
  return usage_error(call, "unknown output format of '%s' (known: %s)", path, writable_extensions().c_str());
}

const char* system_reason(int error_number) {
  // strerrordesc_np does not translate, unlike strerror.
  const char* text = strerrordesc_np(error_number);
  return text ? text : "unknown system error";
}

int write_failure(const invocation& call, const char* path, const char* signature, int code, int error_number) {
  if (code == -1 && error_number != 0) return failure(call, "cannot write '%s': %s", path, system_reason(error_number));
  char reason[160];
  zeb::plexa::result_message(signature, code, reason, sizeof reason);
  return failure(call, "cannot write '%s': %s", path, reason);
}

int write_mesh_file(const invocation& call, const mesh_format& format, const char* path, const mesh& m,
                    const zeb::plexa::write_options& options) {
  errno = 0;
  const int code = format.write(path, m, options);
  return code == 0 ? EXIT_OK : write_failure(call, path, format.write_signature, code, errno);
}

int write_mesh_output(const invocation& call, const mesh_format& format, const char* path, const mesh& m,
                      const zeb::plexa::write_options& options) {
  if (const int status = write_mesh_file(call, format, path, m, options)) return status;
  report_written(call, format, path, m);
  return EXIT_OK;
}

void report_written(const invocation& call, const mesh_format& format, const char* path, const mesh& m) {
  std::fprintf(call.out, "wrote %s (%s): %u nodes, %u elements\n", path, format.name, m.coords.cols(),
               m.element_count());
}

int write_field_file(const invocation& call, const field_format& format, const char* path, const field& f,
                     const zeb::plexa::write_options& options) {
  errno = 0;
  const int code = format.write(path, f, options);
  return code == 0 ? EXIT_OK : write_failure(call, path, format.write_signature, code, errno);
}

}  // namespace plexa_cli
