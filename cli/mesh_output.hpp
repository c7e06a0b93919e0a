// The output files of a command: a mesh or solution file whose extension
// names a format the tool can write.  Every command that writes a file goes
// through here, with the same words for the same mistakes and the same
// report.
#pragma once

#include "command.hpp"
#include "mesh.hpp"
#include "mesh_formats.hpp"

namespace plexa_cli {

// Looks up the writer of the file named on the command line.  On success
// sets `format` and returns EXIT_OK; a name whose format cannot be written
// is a usage error (reported; EXIT_USAGE).
int find_mesh_output(const invocation& call, const char* path, const mesh_format*& format);

// The tool writes every number so that it reads back as the same double:
// the shortest text where the format has no fixed width, as many digits as
// the field holds where it has ('plexa convert --digits' chooses others).
constexpr zeb::plexa::write_options lossless = {zeb::plexa::SHORTEST_DIGITS};

// Writes m to `path` in `format`; EXIT_OK, or EXIT_FAILURE_STATUS after
// reporting why it could not be written (see write_failure).
int write_mesh_file(const invocation& call, const mesh_format& format, const char* path, const mesh& m,
                    const zeb::plexa::write_options& options = lossless);

// The report of a mesh file written, on call.out:
//   wrote <path> (<format name>): <nodes> nodes, <elements> elements
void report_written(const invocation& call, const mesh_format& format, const char* path, const mesh& m);

// write_mesh_file, then report_written.
int write_mesh_output(const invocation& call, const mesh_format& format, const char* path, const mesh& m,
                      const zeb::plexa::write_options& options = lossless);

// Writes the field f to `path` in `format`; EXIT_OK or EXIT_FAILURE_STATUS
// as above.
int write_field_file(const invocation& call, const field_format& format, const char* path, const field& f,
                     const zeb::plexa::write_options& options = lossless);

// Reports a writer's failure: "cannot write '<path>': <reason>", the
// reason being the system's (errno when the writer returned -1 with errno
// set: "Permission denied", "No space left on device", in English whatever
// the locale), the words of the writer's code (result_message of
// `signature`) otherwise.  Returns EXIT_FAILURE_STATUS.  The callers clear
// errno before the writer's call.
int write_failure(const invocation& call, const char* path, const char* signature, int code, int error_number);

// The system's reason for errno `error_number`, in English.
const char* system_reason(int error_number);

}  // namespace plexa_cli
