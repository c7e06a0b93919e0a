// The mesh and solution file formats the tool reads and writes, one table
// from file extension to reader and writer for each.  A command that takes
// or writes a file looks its format up here; a new format is one entry of
// a table in mesh_formats.cpp.
#pragma once

#include <string>

#include <zeb/dense.hpp>

#include "mesh.hpp"

namespace plexa_cli {


struct mesh_format {
  const char* extension;  // with its dot: ".mesh"
  const char* name;       // as printed: "MEDIT"
  // Reads the file into m (replacing it); 0 or the reader's result code.
  // Null for a format that is written only.
  int (*read)(const char* path, mesh& m);
  // Writes m to the file; 0 or the writer's result code.  Null for a format
  // that is read only.
  int (*write)(const char* path, const mesh& m);
  // The library functions behind read and write, as result_message() takes
  // them, so that a failure is reported in words.
  const char* read_signature;
  const char* write_signature;
};

// The format named by the extension of `path` (compared exactly, and only
// when something precedes it), or nullptr.
const mesh_format* format_of(const char* path);

// The extensions of the formats that can be written (or read), in table
// order, separated by ", ": ".mesh".
std::string writable_extensions();
std::string readable_extensions();

// A field of values at the nodes: one column per node.
struct field {
  unsigned dim = 0;  // space dimension of the file
  zeb::dense2D<double> values;
};

struct field_format {
  const char* extension;
  const char* name;
  int (*read)(const char* path, field& f);
  int (*write)(const char* path, const field& f);
  const char* read_signature;
  const char* write_signature;
};

// The solution format named by the extension of `path`, or nullptr.
const field_format* field_format_of(const char* path);
// The extensions of the solution formats, separated by ", ".
std::string field_extensions();

}  // namespace plexa_cli
