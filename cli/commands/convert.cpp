// `plexa convert`: reads a mesh and writes it in the format that the output
// file's extension names (the formats are those of mesh_formats.hpp).
#include <cerrno>
#include <cmath>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include <zeb/plexa/messages.hpp>

#include "command.hpp"
#include "format.hpp"
#include "mesh.hpp"
#include "mesh_formats.hpp"
#include "mesh_input.hpp"
#include "mesh_output.hpp"
#include "mesh_quality.hpp"
#include "options.hpp"
#include "progress.hpp"
#include "transform_options.hpp"

namespace plexa_cli {

namespace {

enum { OUTPUT, SCALE, TRANSLATE, ROTATE, DIGITS, QUALITY };
const option_info options[] = {{"--output", 'o', "file"},         {"--scale", '\0', "value", true},
                               {"--translate", '\0', "value", true}, {"--rotate", '\0', "value", true},
                               {"--digits", '\0', "count"},       {"--quality", '\0', nullptr}};

// A solution file in another layout.
int convert_field(const invocation& call, const char* input, const char* output,
                  const zeb::plexa::write_options& digits) {
  const field_format* from = field_format_of(input);
  const field_format* to = field_format_of(output);
  field f;
  if (const int status = read_field_input(call, input, *from, f)) return status;
  if (const int status = write_field_file(call, *to, output, f, digits)) return status;
  std::fprintf(call.out, "wrote %s (%s): %u nodes, %u values per node\n", output, to->name, f.values.cols(),
               f.values.rows());
  return EXIT_OK;
}

// VTK cells per element: a higher-order element is written as its linear
// cell and a poly-vertex cell of its other nodes.
unsigned vtk_cells(zeb::plexa::element_type type) {
  return zeb::plexa::nbr_nodes(type) > zeb::plexa::nbr_base_nodes(type) ? 2 : 1;
}

// Appends to the VTK file `path`, written from the blocks of m (none mixed),
// the shape quality and the scaled Jacobian of every cell as cell data (the
// element's values on both cells of a higher-order element).  Edges have no
// shape to measure: they get 1, so that they never show among the bad
// elements; an element that could not be measured (NaN) gets 0, as a
// degenerate one (VTK's readers take no NaN).
int append_quality(const invocation& call, const char* path, const mesh& m) {
  std::vector<double> qualities, jacobians;
  const char* failed = nullptr;
  if (const int code = element_qualities(m, qualities, jacobians, failed)) {
    char reason[160];
    zeb::plexa::result_message(failed, code, reason, sizeof reason);
    return failure(call, "cannot measure the elements: %s", reason);
  }
  std::size_t e = 0;
  for (unsigned k = 0; k < m.block_count(); ++k)
    for (unsigned j = 0; j < (m.blocks[k].empty() ? 0 : m.blocks[k].cols()); ++j, ++e)
      if (zeb::plexa::element_dim(zeb::plexa::element_type(m.types[k])) < 2) qualities[e] = jacobians[e] = 1;
  std::vector<unsigned> repeats;
  unsigned cells = 0;
  for (unsigned k = 0; k < m.block_count(); ++k) {
    const unsigned n = vtk_cells(zeb::plexa::element_type(m.types[k]));
    repeats.insert(repeats.end(), m.blocks[k].empty() ? 0 : m.blocks[k].cols(), n);
    cells += n * (m.blocks[k].empty() ? 0 : m.blocks[k].cols());
  }
  errno = 0;
  std::FILE* f = std::fopen(path, "a");
  if (!f) return failure(call, "cannot write '%s': %s", path, system_reason(errno));
  std::fprintf(f, "\nCELL_DATA %u\n", cells);
  for (const auto* values : {&qualities, &jacobians}) {
    std::fprintf(f, "SCALARS %s double 1\nLOOKUP_TABLE default\n",
                 values == &qualities ? "shape_quality" : "scaled_jacobian");
    for (std::size_t e = 0; e < values->size(); ++e)
      for (unsigned r = 0; r < repeats[e]; ++r)
        std::fprintf(f, "%s\n", format_number(std::isfinite((*values)[e]) ? (*values)[e] : 0.0).text);
  }
  const bool written = std::fflush(f) == 0 && !std::ferror(f);
  const int error = errno;
  if (std::fclose(f) != 0 || !written)
    return failure(call, "cannot write '%s': %s", path, system_reason(errno ? errno : error));
  return EXIT_OK;
}

int convert_main(const invocation& call) {
  parsed_arguments args;
  if (const int status = parse_arguments(call, options, 6, 2, args)) return status;
  transform_list transforms;
  for (const option_use& use : args.options)
    if (use.option == SCALE || use.option == TRANSLATE || use.option == ROTATE)
      if (!add_transform(options[use.option].name, use.value, transforms))
        return usage_error(call, "invalid value '%s' of '%s'", use.value, options[use.option].name);
  zeb::plexa::write_options digits = lossless;
  if (const char* text = args.value(DIGITS)) {
    unsigned n;
    if (!parse_count(text, 17, n)) return usage_error(call, "invalid count '%s' of '--digits' (0 to 17)", text);
    digits.digits = int(n);
  }
  // IN OUT, or [IN] --output OUT.
  const char* output = args.value(OUTPUT);
  const std::size_t positionals = args.positionals.size();
  if (output && positionals == 2) return usage_error(call, "unexpected argument '%s'", args.positionals[1]);
  const char* input = positionals > 0 ? args.positionals[0] : nullptr;
  if (!output && positionals == 2) output = args.positionals[1];
  if (!output) return usage_error(call, "missing output file");

  const bool field_in = input && field_format_of(input), field_out = field_format_of(output);
  if (field_in || field_out) {
    if (!field_in || !field_out)
      return usage_error(call, "cannot convert between a mesh and a solution ('%s' to '%s')",
                         input ? input : "builtin", output);
    if (transforms.count != 0) return usage_error(call, "transforms apply to meshes, not to solutions");
    if (args.has(QUALITY)) return usage_error(call, "'--quality' applies to meshes, not to solutions");
    return convert_field(call, input, output, digits);
  }
  const mesh_format* format;
  if (const int status = find_mesh_output(call, output, format)) return status;
  if (args.has(QUALITY) && std::strcmp(format->extension, ".vtk") != 0)
    return usage_error(call, "'--quality' writes VTK cell data: the output must be a .vtk file");
  progress shown(call.err, call.self.name);
  mesh_input in;
  mesh m;
  if (const int status = read_mesh_argument(call, input, shown, in, m)) return status;
  bool mirrored = false;
  if (!apply_transforms(transforms, m.coords, mirrored)) return failure(call, "out of memory");
  if (mirrored) {
    progress::clear_line(call.err);
    std::fprintf(call.err,
                 "plexa convert: warning: the transforms mirror the mesh (a negative scale in 3-D): its elements "
                 "are now inside out\n");
  }
  shown.step("writing");
  if (!args.has(QUALITY)) {
    if (const int status = write_mesh_file(call, *format, output, m, digits)) return status;
    shown.done();
    report_written(call, *format, output, m);
    return EXIT_OK;
  }

  // The cells in the order the VTK writer gives them: mixed blocks split by
  // kind first, so that the cell data follows the blocks.
  mesh simple;
  if (!m.split_mixed(simple)) return failure(call, "out of memory");
  if (const int status = write_mesh_file(call, *format, output, simple, digits)) return status;
  try {
    if (const int status = append_quality(call, output, simple)) return status;
  } catch (const std::bad_alloc&) {
    return failure(call, "out of memory");
  }
  shown.done();
  std::fprintf(call.out, "wrote %s (%s): %u nodes, %u elements, cell data shape_quality and scaled_jacobian\n",
               output, format->name, simple.coords.cols(), simple.element_count());
  return EXIT_OK;
}

}  // namespace

extern const command convert_command = {
    "convert",
    "write a mesh in another file format",
    "Usage: plexa convert <input> <output> [options]\n"
    "       plexa convert [<input> | builtin] --output <output> [options]\n"
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
    "Numbers are written so that they read back as the same doubles: the\n"
    "shortest text that does where the format has no fixed width (.mesh,\n"
    ".vtk, .obj, .sol, .bb), as many digits as the field holds where it has\n"
    "(.nas and .bdf: 16 characters; .geo: 12; .stl holds floats).\n"
    "\n"
    "Options:\n"
    "  -o, --output <file>  the file to write (its folder must exist)\n"
    "  --digits <n>         write n significant digits instead (1 to 17; 0: the\n"
    "                       format's own layout, \"%E\" or \"%f\")\n"
    "  --quality            (.vtk output) add the shape quality and the scaled\n"
    "                       Jacobian of every element as cell data\n"
    "                       (shape_quality, scaled_jacobian; see 'plexa help\n"
    "                       quality'), to colour the mesh by quality in a\n"
    "                       viewer; edges, which have no shape, get 1, and\n"
    "                       elements that cannot be measured 0.\n"
    "                       Mixed blocks are written split by kind.\n"
    "\n"
    "Transforms, applied to the coordinates in the order given:\n"
    "  --scale <f>            scale by f about the origin (f finite, not 0)\n"
    "  --translate <x,y[,z]>  move by the vector (x, y[, z])\n"
    "  --rotate <deg>         rotate by deg degrees about the z axis through the\n"
    "                         origin (counter-clockwise seen from +z)\n"
    "  --rotate <x,y,z>       rotate about the axis through the origin along\n"
    "                         (x, y, z), by its length in degrees (right-hand rule)\n"
    "A 3-component translation or rotation makes planar coordinates 3-D.  A\n"
    "rotation by a multiple of 90 degrees about z (or about a coordinate axis)\n"
    "is exact.  A negative scale of 3-D coordinates mirrors the mesh and turns\n"
    "its elements inside out: convert says so on the standard error.\n",
    convert_main,
};

}  // namespace plexa_cli
