// The input mesh of a command: the built-in mesh or a file whose extension
// names a format the tool can read.  Every command that reads a mesh takes
// it through here, with the same words for the same mistakes.
#pragma once

#include "command.hpp"
#include "mesh.hpp"
#include "mesh_formats.hpp"
#include "progress.hpp"

namespace plexa_cli {

struct mesh_input {
  const char* path = nullptr;            // as given; nullptr for the built-in mesh
  const mesh_format* format = nullptr;   // its reader; nullptr for the built-in mesh

  bool builtin() const { return path == nullptr; }
  // How the mesh is named in reports: the path, or "built-in mesh".
  const char* name() const { return path ? path : "built-in mesh"; }
};

// Looks up the input named on the command line (nullptr or "builtin" for
// the built-in mesh).  On success fills `in` and returns EXIT_OK; a name
// whose format cannot be read is a usage error (reported; EXIT_USAGE).
int find_mesh_input(const invocation& call, const char* name, mesh_input& in);

// Reads the input into m.  EXIT_OK, or EXIT_FAILURE_STATUS after reporting
// why it could not be read.
int read_mesh_input(const invocation& call, const mesh_input& in, mesh& m);

// find_mesh_input, then read_mesh_input with "reading" shown as the step
// of `shown`: the first thing a command that works on one mesh does.
// EXIT_OK, or the status of the step that failed (reported).
int read_mesh_argument(const invocation& call, const char* name, progress& shown, mesh_input& in, mesh& m);

// Reads the solution file `path` of the given format into f.  EXIT_OK, or
// EXIT_FAILURE_STATUS after reporting why it could not be read.
int read_field_input(const invocation& call, const char* path, const field_format& format, field& f);

// Reports a reader's or writer's failure in words: "cannot <verb> '<path>':
// <reason>".  Returns EXIT_FAILURE_STATUS.
int file_failure(const invocation& call, const char* verb, const char* path, const char* signature, int code);

}  // namespace plexa_cli
