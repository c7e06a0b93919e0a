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

// A solution file in another layout.
int convert_field(const invocation& call, const char* input, const char* output) {
  const field_format* from = field_format_of(input);
  const field_format* to = field_format_of(output);
  field f;
  if (const int status = read_field_input(call, input, *from, f)) return status;
  const int code = to->write(output, f);
  if (code == -1) return failure(call, "cannot write '%s'", output);
  if (code != 0) return file_failure(call, "write", output, to->write_signature, code);
  std::fprintf(call.out, "wrote %s (%s): %u nodes, %u values per node\n", output, to->name, f.values.cols(),
               f.values.rows());
  return EXIT_OK;
}

int convert_main(const invocation& call) {
  const char* input = nullptr;
  const char* output = nullptr;
  const char* positional[2] = {};
  int positionals = 0;
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
    } else if (positionals == 2 || (output && positionals == 1)) {
      return usage_error(call, "unexpected argument '%s'", arg);
    } else {
      positional[positionals++] = arg;
    }
  }
  // IN OUT, or [IN] --output OUT.
  if (output && positionals == 2) return usage_error(call, "unexpected argument '%s'", positional[1]);
  input = positional[0];
  if (!output && positionals == 2) output = positional[1];
  if (!output) return usage_error(call, "missing output file");

  const bool field_in = input && field_format_of(input), field_out = field_format_of(output);
  if (field_in || field_out) {
    if (!field_in || !field_out)
      return usage_error(call, "cannot convert between a mesh and a solution ('%s' to '%s')",
                         input ? input : "builtin", output);
    if (transforms.count != 0) return usage_error(call, "transforms apply to meshes, not to solutions");
    return convert_field(call, input, output);
  }
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
    "Usage: plexa convert <input> <output>\n"
    "       plexa convert [<input> | builtin] --output <output>\n"
    "\n"
    "Reads a mesh and writes it in the format named by the extension of the\n"
    "output file; or reads a solution file and writes it in the other layout.\n"
    "\n"
    "Input: a mesh file of a format read below, or the built-in mesh (the mesh\n"
    "of 'plexa demo'), named 'builtin' or left out.\n"
    "\n"
    "Mesh formats (r: read, w: written):\n"
    "  .mesh       rw  MEDIT mesh file (references kept; from other files: the\n"
    "                  ids read, or the block's position)\n"
    "  .vtk         w  legacy VTK file of an unstructured grid\n"
    "  .nas, .bdf   w  NASTRAN bulk data (property number: the id read, or the\n"
    "                  block's position + 1)\n"
    "  .obj        rw  Wavefront OBJ (faces, lines and points; groups kept)\n"
    "  .stl        rw  STL: read ASCII or binary (its triangle soup welded: see\n"
    "                  'plexa help weld'); written binary, the faces and the\n"
    "                  free boundary of each block of solids as triangles (the\n"
    "                  corners of 6-node ones, quadrilaterals cut in two along\n"
    "                  their 0-2 diagonal; edges are left out)\n"
    "  .geo         w  EnSight geometry file (mixed blocks split by kind;\n"
    "                  pyramids are not written)\n"
    "Solution formats, both read and written (either layout is read):\n"
    "  .sol        MEDIT solution, keyword layout (SolAtVertices)\n"
    "  .bb         MEDIT solution, header layout\n"
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
