// `plexa convert`: reads a mesh and writes it in the format that the output
// file's extension names.  Inputs and outputs grow with the library's
// readers and writers; each is one entry of the tables below.
#include <cstring>

#include <zeb/plexa/core.hpp>
#include <zeb/plexa/io.hpp>

#include "builtin_mesh.hpp"
#include "command.hpp"
#include "transform_options.hpp"

namespace plexa_cli {

namespace {

// A mesh held as the writers take it: nodes and connectivity blocks with
// their element types.
struct mesh {
  zeb::dense2D<double> coords;
  zeb::dense2D<unsigned> blocks[1];
  zeb::dense1D<int, 8> types;
  unsigned block_count() const { return types.size(); }
  unsigned element_count() const {
    unsigned n = 0;
    for (unsigned b = 0; b < block_count(); ++b) n += blocks[b].empty() ? 0 : blocks[b].cols();
    return n;
  }
};

bool read_builtin(mesh& m) {
  if (!builtin_mesh(m.coords, m.blocks[0]) || !m.types.resize(1)) return false;
  m.types[0] = zeb::plexa::ELT_SOLID_MIX;
  return true;
}

int write_medit(const char* path, const mesh& m) {
  return zeb::plexa::medit_output(path, m.coords, m.blocks, m.blocks + m.block_count(), m.types);
}

// Output formats by file extension.
struct output_format {
  const char* extension;
  const char* name;
  int (*write)(const char* path, const mesh& m);
};
constexpr output_format outputs[] = {
    {".mesh", "MEDIT", write_medit},
};

const output_format* format_of(const char* path) {
  const std::size_t n = std::strlen(path);
  for (const output_format& f : outputs) {
    const std::size_t e = std::strlen(f.extension);
    if (n > e && std::strcmp(path + n - e, f.extension) == 0) return &f;
  }
  return nullptr;
}

int convert_main(const invocation& call) {
  const char* input = nullptr;
  const char* output = nullptr;
  transform_list transforms;
  for (int k = 0; k < call.argc; ++k) {
    const char* arg = call.argv[k];
    if (is_transform_option(arg)) {
      if (++k == call.argc) return usage_error(call, "missing value after '%s'", arg);
      if (!add_transform(arg, call.argv[k], transforms))
        return usage_error(call, "invalid value '%s' of '%s'", call.argv[k], arg);
    } else if (std::strcmp(arg, "--output") == 0 || std::strcmp(arg, "-o") == 0) {
      if (++k == call.argc) return usage_error(call, "missing file after '%s'", arg);
      output = call.argv[k];
    } else if (arg[0] == '-' && arg[1] != '\0') {
      return usage_error(call, "unknown option '%s'", arg);
    } else if (input) {
      return usage_error(call, "unexpected argument '%s'", arg);
    } else {
      input = arg;
    }
  }
  if (!output) return usage_error(call, "missing --output <file>");
  const output_format* format = format_of(output);
  if (!format) return usage_error(call, "unknown output format of '%s' (known: .mesh)", output);
  if (input && std::strcmp(input, "builtin") != 0)
    return usage_error(call, "cannot read '%s': the only input for now is the built-in mesh", input);

  mesh m;
  if (!read_builtin(m) || !apply_transforms(transforms, m.coords)) return failure(call, "out of memory");
  const int code = format->write(output, m);
  if (code == -1) return failure(call, "cannot write '%s'", output);
  if (code != 0) return failure(call, "writing '%s' failed with code %d", output, code);
  std::fprintf(call.out, "wrote %s (%s): %u nodes, %u elements\n", output, format->name, m.coords.cols(),
               m.element_count());
  return EXIT_OK;
}

}  // namespace

extern const command convert_command = {
    "convert",
    "write a mesh in another file format",
    "Usage: plexa convert [builtin] --output <file>\n"
    "\n"
    "Reads a mesh and writes it in the format named by the extension of the\n"
    "output file.\n"
    "\n"
    "Input: for now only the built-in mesh (the mesh of 'plexa demo'), named\n"
    "'builtin' or left out; mesh files will be accepted here as readers are\n"
    "added.\n"
    "\n"
    "Output formats:\n"
    "  .mesh  MEDIT mesh file\n"
    "\n"
    "Options:\n"
    "  -o, --output <file>  the file to write (its folder must exist)\n"
    "\n"
    "Transforms, applied to the coordinates in the order given:\n"
    "  --scale <f>            scale by f about the origin (f finite, not 0)\n"
    "  --translate <x,y[,z]>  move by the vector (x, y[, z])\n"
    "  --rotate <deg>         rotate by deg degrees about the z axis through the\n"
    "                         origin (counter-clockwise seen from +z)\n"
    "  --rotate <x,y,z>       rotate about the axis through the origin along\n"
    "                         (x, y, z), by its length in degrees (right-hand rule)\n"
    "A 3-component translation or rotation makes planar coordinates 3-D.\n",
    convert_main,
};

}  // namespace plexa_cli
