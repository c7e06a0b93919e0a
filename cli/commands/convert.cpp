// `plexa convert`: reads a mesh and writes it in the format that the output
// file's extension names (the formats are those of mesh_formats.hpp).
#include <cstring>
#include <string>

#include "command.hpp"
#include "mesh.hpp"
#include "mesh_formats.hpp"
#include "mesh_input.hpp"
#include "mesh_output.hpp"
#include "transform_options.hpp"

namespace plexa_cli {

namespace {

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
  const mesh_format* format;
  if (const int status = find_mesh_output(call, output, format)) return status;
  mesh_input in;
  if (const int status = find_mesh_input(call, input, in)) return status;
  mesh m;
  if (const int status = read_mesh_input(call, in, m)) return status;
  if (!apply_transforms(transforms, m.coords)) return failure(call, "out of memory");
  return write_mesh_output(call, *format, output, m);
}

}  // namespace

extern const command convert_command = {
    "convert",
    "write a mesh in another file format",
    "Usage: plexa convert [builtin | <mesh file>] --output <file>\n"
    "\n"
    "Reads a mesh and writes it in the format named by the extension of the\n"
    "output file.\n"
    "\n"
    "Input: the built-in mesh (the mesh of 'plexa demo'), named 'builtin' or\n"
    "left out, or a mesh file:\n"
    "  .stl        STL, ASCII or binary (its triangle soup welded: see 'plexa\n"
    "              help weld')\n"
    "\n"
    "Output formats:\n"
    "  .mesh       MEDIT mesh file\n"
    "  .vtk        legacy VTK file of an unstructured grid\n"
    "  .nas, .bdf  NASTRAN bulk data (property number: the block's position + 1)\n"
    "  .geo        EnSight geometry file (mixed blocks split by kind; pyramids\n"
    "              are not written)\n"
    "  .stl        binary STL of the faces and of the free boundary of each\n"
    "              block of solids: triangles (the corners of 6-node ones),\n"
    "              quadrilaterals cut in two along their 0-2 diagonal; edges\n"
    "              are left out\n"
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
