// The output mesh file of a command: a file whose extension names a format
// the tool can write.  Every command that writes a mesh file goes through
// here, with the same words for the same mistakes and the same report.
#pragma once

#include "command.hpp"
#include "mesh.hpp"
#include "mesh_formats.hpp"

namespace plexa_cli {

// Looks up the writer of the file named on the command line.  On success
// sets `format` and returns EXIT_OK; a name whose format cannot be written
// is a usage error (reported; EXIT_USAGE).
int find_mesh_output(const invocation& call, const char* path, const mesh_format*& format);

// Writes m to `path` in `format` and reports it on call.out:
//   wrote <path> (<format name>): <nodes> nodes, <elements> elements
// EXIT_OK, or EXIT_FAILURE_STATUS after reporting why it could not be
// written.
int write_mesh_output(const invocation& call, const mesh_format& format, const char* path, const mesh& m);

}  // namespace plexa_cli
