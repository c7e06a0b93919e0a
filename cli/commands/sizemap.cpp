// `plexa sizemap`: a size field on a mesh, generated from its edges or read,
// bounded, its gradation or variation limited, written as a solution file.
#include <cfloat>
#include <climits>
#include <cstring>
#include <new>
#include <string>

#include <zeb/misc/histogram.hpp>
#include <zeb/plexa/edges.hpp>
#include <zeb/plexa/gradation.hpp>
#include <zeb/plexa/indices.hpp>
#include <zeb/plexa/messages.hpp>
#include <zeb/plexa/metrics.hpp>
#include <zeb/plexa/topology.hpp>

#include "command.hpp"
#include "format.hpp"
#include "json.hpp"
#include "mesh.hpp"
#include "mesh_formats.hpp"
#include "mesh_input.hpp"
#include "mesh_output.hpp"
#include "mesh_summary.hpp"
#include "mesh_topology.hpp"
#include "options.hpp"
#include "part_files.hpp"
#include "progress.hpp"

namespace plexa_cli {

namespace {

using namespace zeb::plexa;

constexpr double default_gradation = 0.3;
constexpr double no_bound = DBL_MAX;
// Sizes only shrink while the gradation or variation is bounded: no place
// of the mesh gets coarser than the field asked for.
constexpr int shrink_only = -1;

struct sizemap_settings {
  double exponent = 1, hmin = 0, hmax = no_bound;
  bool variation = false;  // bound the variation rather than the gradation
  double limit = default_gradation;
  bool freeze_boundary = false;
  const char* metric = nullptr;  // a field file read instead of generated
};

struct sizemap_report {
  bool anisotropic = false;
  double low = 0, high = 0;  // the sizes generated (isotropic fields)
  unsigned bounded = 0, frozen = 0, changed = 0;
  double shock_before = 0, shock_after = 0;
  zeb::misc::histogram lengths;
};

// The mesh's elements of its highest dimension, their vertices in one
// connectivity, and its edges.
struct mesh_cells {
  zeb::dense2D<unsigned> cells, edges;
  element_type type = ELT_NONE;
};

double largest(const zeb::dense1D<double, 8>& values) {
  double top = 0;
  for (unsigned v = 0; v < values.size(); ++v)
    if (values[v] > top) top = values[v];
  return top;
}

// The nodes of the free boundary of the cells, each once.
int boundary_nodes(const mesh_cells& c, zeb::dense1D<unsigned, 8>& nodes) {
  zeb::dense2D<unsigned> neighbors, boundary;
  int code = get_neighbors(c.cells, c.type, false, neighbors);
  if (code == 0) code = get_mesh_boundaries(c.cells, neighbors, c.type, boundary);
  if (code != 0) return code;
  return boundary.empty() ? 0 : unique_indices(nodes, boundary, zeb::dense1D<unsigned, 8>());
}

// Entries (columns) that differ between two fields of one shape.
unsigned differences(const zeb::dense1D<double, 8>& a, const zeb::dense1D<double, 8>& b) {
  unsigned n = 0;
  for (unsigned v = 0; v < a.size(); ++v) n += !(a[v] == b[v]);
  return n;
}
unsigned differences(const zeb::dense2D<double>& a, const zeb::dense2D<double>& b) {
  unsigned n = 0;
  for (unsigned j = 0; j < a.cols(); ++j)
    for (unsigned i = 0; i < a.rows(); ++i)
      if (!(a(i, j) == b(i, j))) {
        ++n;
        break;
      }
  return n;
}

struct step_failure {
  const char* signature;
  int code;
};

// Bounds the field and measures its gradation before it is limited; keeps
// the field as it was first, to count the nodes changed.
template <class Field>
bool bound_field(const mesh& m, const mesh_cells& c, const sizemap_settings& s, Field& field, Field& original,
                 sizemap_report& r, step_failure& failed) {
  if (!original.copy(field)) {
    failed = {nullptr, -199};
    return false;
  }
  int code = bound_metrics(field, s.hmin, s.hmax);
  if (code < 0) {
    failed = {"bound_metrics(M, hmin, hmax)", code};
    return false;
  }
  r.bounded = unsigned(code);
  zeb::dense1D<double, 8> shock;
  if ((code = H_shock(m.coords, c.edges, field, shock)) != 0) {
    failed = {"H_shock(pos, edges, M, S)", code};
    return false;
  }
  r.shock_before = largest(shock);
  return true;
}

// The gradation after it was limited, and the nodes changed.
template <class Field>
bool measure_field(const mesh& m, const mesh_cells& c, const Field& original, const Field& field, sizemap_report& r,
                   step_failure& failed) {
  zeb::dense1D<double, 8> shock;
  if (const int code = H_shock(m.coords, c.edges, field, shock); code != 0) {
    failed = {"H_shock(pos, edges, M, S)", code};
    return false;
  }
  r.shock_after = largest(shock);
  r.changed = differences(original, field);
  return true;
}

// Bounds the field, limits its gradation or variation and measures it:
// the same steps on sizes and on metrics.
template <class Field>
bool shape_field(const mesh& m, const mesh_cells& c, const sizemap_settings& s, const zeb::dense1D<unsigned, 8>& frozen,
                 Field& field, progress& shown, sizemap_report& r, step_failure& failed) {
  Field original;
  if (!bound_field(m, c, s, field, original, r, failed)) return false;
  shown.step(s.variation ? "bounding the variation" : "bounding the gradation");
  const int code = s.variation
                       ? bound_metric_variations(m.coords, c.cells, c.type, frozen, true, shrink_only, s.limit, field)
                       : bound_metric_gradations(m.coords, c.cells, c.type, frozen, true, shrink_only, s.limit, field);
  if (code < 0) {
    failed = {s.variation ? "bound_metric_variations(pos, connect, type, nodes, frozen, mode, g, M)"
                          : "bound_metric_gradations(pos, connect, type, nodes, frozen, mode, g, M)",
              code};
    return false;
  }
  if (!measure_field(m, c, original, field, r, failed)) return false;
  shown.step("measuring the edges");
  if (const int code = edge_qualities(m.coords, c.cells, c.type, field, r.lengths, zeb::dense2D<unsigned>());
      code < 0) {
    failed = {"edge_qualities(pos, connectivity, type, sizes, histogram, excluded)", code};
    return false;
  }
  return true;
}

// Reports a failed step; EXIT_FAILURE_STATUS.
int step_failed(const invocation& call, const step_failure& failed) {
  if (!failed.signature) return failure(call, "out of memory");
  char reason[160];
  result_message(failed.signature, failed.code, reason, sizeof reason);
  return failure(call, "cannot make the size field: %s", reason);
}

void write_text(std::FILE* out, const mesh_input& in, const mesh& m, const sizemap_settings& s,
                const sizemap_report& r) {
  std::fprintf(out, "%s: %u nodes, %u elements\n", in.name(), m.coords.cols(), m.element_count());
  if (s.metric)
    std::fprintf(out, "size field: read from %s (%s)\n", s.metric, r.anisotropic ? "anisotropic" : "isotropic");
  else
    std::fprintf(out, "size field: power mean (exponent %s) of the edge lengths at each node, %s to %s\n",
                 format_number(s.exponent).text, format_number(r.low, 6).text, format_number(r.high, 6).text);
  if (s.hmin > 0 || s.hmax != no_bound)
    std::fprintf(out, "bounded to [%s, %s]: %u nodes\n", format_number(s.hmin).text,
                 s.hmax == no_bound ? "inf" : format_number(s.hmax).text, r.bounded);
  if (s.freeze_boundary) std::fprintf(out, "frozen boundary nodes: %u\n", r.frozen);
  std::fprintf(out, "largest gradation (H_shock): %s before, %s after bounding the %s to %s (sizes only shrink)\n",
               format_number(r.shock_before, 6).text, format_number(r.shock_after, 6).text,
               s.variation ? "variation" : "gradation", format_number(s.limit).text);
  std::fprintf(out, "nodes changed: %u\n", r.changed);
  std::fputs("edge lengths in the new field:\n", out);
  r.lengths.print(out);
}

void write_json(std::FILE* out, const mesh_input& in, const mesh& m, const sizemap_settings& s,
                const sizemap_report& r, const char* output) {
  json_writer j(out);
  j.begin_object();
  write_mesh_counts(j, in.name(), m);
  if (s.metric)
    j.text("field", s.metric);
  else
    j.null("field");
  j.text("kind", r.anisotropic ? "anisotropic" : "isotropic");
  if (s.metric) {
    j.null("exponent");
    j.null("generated_min");
    j.null("generated_max");
  } else {
    j.number("exponent", s.exponent);
    j.number("generated_min", r.low);
    j.number("generated_max", r.high);
  }
  j.number("hmin", s.hmin);
  if (s.hmax == no_bound)
    j.null("hmax");
  else
    j.number("hmax", s.hmax);
  j.count("bounded", r.bounded);
  j.text("bound", s.variation ? "variation" : "gradation");
  j.number("limit", s.limit);
  j.boolean("freeze_boundary", s.freeze_boundary);
  j.count("frozen_nodes", r.frozen);
  j.number("shock_before", r.shock_before);
  j.number("shock_after", r.shock_after);
  j.count("changed", r.changed);
  j.histogram("edge_lengths", r.lengths);
  j.text("output", output);
  j.end_object();
  j.finish();
}

enum { OUTPUT, EXPONENT, HMIN, HMAX, GRADATION, VARIATION, FREEZE, METRIC, JSON };
const option_info options[] = {
    {"--output", 'o', "file"},   {"--exponent", '\0', "exponent"}, {"--hmin", '\0', "size"},
    {"--hmax", '\0', "size"},    {"--gradation", '\0', "bound"},   {"--variation", '\0', "bound"},
    {"--freeze-boundary", '\0', nullptr}, {"--metric", '\0', "file"}, {"--json", '\0', nullptr}};

// Reads the settings; EXIT_OK or a usage error.
int read_settings(const invocation& call, const parsed_arguments& args, sizemap_settings& s) {
  const struct {
    int option;
    double* value;
    bool positive;
  } numbers[] = {{EXPONENT, &s.exponent, false}, {HMIN, &s.hmin, false}, {HMAX, &s.hmax, true},
                 {GRADATION, &s.limit, false},   {VARIATION, &s.limit, false}};
  for (const auto& n : numbers)
    if (const char* text = args.value(n.option))
      if (!parse_double(text, *n.value) || *n.value < 0 || (n.positive && *n.value == 0))
        return usage_error(call, "invalid value '%s' of '%s' (a number, %s)", text, options[n.option].name,
                           n.positive ? "above 0" : "0 or more");
  if (args.has(GRADATION) && args.has(VARIATION))
    return usage_error(call, "'--gradation' and '--variation' exclude each other");
  if (s.hmin > s.hmax) return usage_error(call, "'--hmin' is above '--hmax'");
  s.variation = args.has(VARIATION);
  s.freeze_boundary = args.has(FREEZE);
  s.metric = args.value(METRIC);
  if (s.metric && args.has(EXPONENT)) return usage_error(call, "'--exponent' generates a field: not with '--metric'");
  return EXIT_OK;
}

// The cells and edges of a mesh read; EXIT_OK or a failure reported.
int find_cells(const invocation& call, const char* name, const mesh& m, mesh_cells& c) {
  if (m.coords.rows() != 2 && m.coords.rows() != 3)
    return failure(call, "cannot size '%s': its nodes are neither 2-D nor 3-D", name);
  for (unsigned k = 0; k < m.block_count(); ++k)
    if (!check_IDs(m.blocks[k], element_type(m.types[k]), m.coords.cols()))
      return failure(call, "cannot size '%s': block %u names missing nodes (see 'plexa check')", name, k);
  const unsigned dim = top_dimension(m);
  if (dim == 0) return failure(call, "cannot size '%s': it has no edges", name);
  if (!join_vertices(m, dim, c.cells, c.type) || copy_edges(c.cells, c.type, c.edges) < 0)
    return failure(call, "out of memory");
  return EXIT_OK;
}

// Reads or generates the field: sizes H, or metrics M when the file holds
// them.
int make_field(const invocation& call, const mesh& m, const mesh_cells& c, const sizemap_settings& s,
               zeb::dense1D<double, 8>& H, zeb::dense2D<double>& M, sizemap_report& r) {
  const unsigned nodes = m.coords.cols();
  if (!s.metric) {
    const int code = metrics_gen_iso(m.coords, c.cells, c.type, H, s.exponent);
    if (code != 0) {
      char reason[160];
      result_message("metrics_gen_iso(pos, connect, type, H, p)", code, reason, sizeof reason);
      return failure(call, "cannot generate the size field: %s", reason);
    }
    if (!H.resize(nodes)) return failure(call, "out of memory");
    r.low = no_bound, r.high = 0;
    for (unsigned v = 0; v < nodes; ++v) {
      if (H[v] > 0 && H[v] < r.low) r.low = H[v];
      if (H[v] > r.high) r.high = H[v];
    }
    if (r.low == no_bound) r.low = 0;
    return EXIT_OK;
  }
  field f;
  if (const int status = read_field_input(call, s.metric, *field_format_of(s.metric), f)) return status;
  const unsigned rows = f.values.rows(), dim = m.coords.rows();
  if (f.values.cols() != nodes)
    return failure(call, "the field '%s' has %u values for %u nodes", s.metric, f.values.cols(), nodes);
  if (rows == 1) {
    if (!H.resize(nodes)) return failure(call, "out of memory");
    for (unsigned v = 0; v < nodes; ++v) H[v] = f.values(0, v);
    return EXIT_OK;
  }
  if ((dim == 2 && rows == 3) || (dim == 3 && rows == 6)) {
    M = f.values;
    r.anisotropic = true;
    return EXIT_OK;
  }
  return failure(call, "the field '%s' holds %u values per node: neither sizes nor %u-D metrics", s.metric, rows,
                 dim);
}

#if PLEXA_CLI_MPI
// One part per rank (`plexa partition` files): rank k sizes PREFIX.<k>.mesh
// as the serial command sizes a mesh, the gradation bounded across the
// parts, and writes FIELD.<k>.sol; rank 0 prints the figures of all parts.
int sizemap_parts(const invocation& call, const parsed_arguments& args, const sizemap_settings& s, ranks world) {
  if (s.variation || s.freeze_boundary || s.metric || args.has(JSON))
    return usage_error(call, "on part files (under mpirun) only the gradation of generated sizes is bounded: "
                             "no '--variation', '--freeze-boundary', '--metric' or '--json'");
  if (args.positionals.empty()) return usage_error(call, "missing the prefix of the part files");
  const char* prefix = args.positionals[0];
  const char* output = args.value(OUTPUT);
  const std::string in_path = part_path(prefix, unsigned(world.rank), ".mesh");
  const std::string out_path = part_path(output, unsigned(world.rank), ".sol");

  mesh m;
  zeb::dense1D<unsigned, 8> ids;
  mesh_cells c;
  sizemap_report r;
  zeb::dense1D<double, 8> H, original;
  zeb::dense2D<double> unused;
  step_failure failed{nullptr, 0};
  int status = read_part(call, in_path.c_str(), m, ids);
  if (status == EXIT_OK) status = find_cells(call, in_path.c_str(), m, c);
  if (status == EXIT_OK) status = make_field(call, m, c, s, H, unused, r);
  if (status == EXIT_OK && !bound_field(m, c, s, H, original, r, failed)) status = step_failed(call, failed);
  if (!all_ranks_ok(status == EXIT_OK))
    return status != EXIT_OK ? status : failure(call, "stopped: another rank failed (see its message)");
  // Collective: every rank gets the same result.
  if (const int code = grade_sizes_across_parts(m, ids, s.limit, H); code < 0)
    return step_failed(call, {"bound_metric_gradations(comm, pos, connect, type, ids, frozen, mode, g, M)", code});
  if (!measure_field(m, c, original, H, r, failed)) status = step_failed(call, failed);
  field result;
  result.dim = m.coords.rows();
  if (status == EXIT_OK && !result.values.resize(1, H.size())) status = failure(call, "out of memory");
  if (status == EXIT_OK) {
    for (unsigned v = 0; v < H.size(); ++v) result.values(0, v) = H[v];
    status = write_field_file(call, *field_format_of(out_path.c_str()), out_path.c_str(), result);
  }
  if (!all_ranks_ok(status == EXIT_OK))
    return status != EXIT_OK ? status : failure(call, "stopped: another rank failed (see its message)");

  // Nodes by their global ids (a node shared by parts is one node); the
  // other counts are summed over the parts, a shared node counted in each.
  unsigned top_id = 0;
  for (unsigned v = 0; v < ids.size(); ++v)
    if (ids[v] > top_id) top_id = ids[v];
  double highest[] = {double(top_id), r.high, r.shock_before, r.shock_after}, lowest = r.low > 0 ? r.low : no_bound;
  unsigned counts[] = {m.element_count(), r.bounded, r.changed};
  max_over_ranks(highest, 4);
  min_over_ranks(&lowest, 1);
  sum_over_ranks(counts, 3);
  if (world.rank != 0) return EXIT_OK;
  std::fprintf(call.out, "%s: %d parts, %u nodes, %u elements\n", prefix, world.size, unsigned(highest[0]) + 1,
               counts[0]);
  std::fprintf(call.out, "size field: power mean (exponent %s) of the edge lengths at each node, %s to %s\n",
               format_number(s.exponent).text, format_number(lowest == no_bound ? 0 : lowest, 6).text,
               format_number(highest[1], 6).text);
  if (s.hmin > 0 || s.hmax != no_bound)
    std::fprintf(call.out, "bounded to [%s, %s]: %u nodes\n", format_number(s.hmin).text,
                 s.hmax == no_bound ? "inf" : format_number(s.hmax).text, counts[1]);
  std::fprintf(call.out,
               "largest gradation (H_shock): %s before, %s after bounding the gradation to %s across the parts "
               "(sizes only shrink)\n",
               format_number(highest[2], 6).text, format_number(highest[3], 6).text, format_number(s.limit).text);
  std::fprintf(call.out, "nodes changed: %u (a shared node counted in each of its parts)\n", counts[2]);
  std::fprintf(call.out, "wrote %s.<k>.sol (MEDIT solution) for the parts k = 0 to %d\n", output, world.size - 1);
  return EXIT_OK;
}
#endif

int sizemap_main(const invocation& call) {
  parsed_arguments args;
  if (const int status = parse_arguments(call, options, 9, 1, args)) return status;
  sizemap_settings s;
  if (const int status = read_settings(call, args, s)) return status;
  const char* output = args.value(OUTPUT);
  if (!output) return usage_error(call, "missing output file ('-o <file>')");
#if PLEXA_CLI_MPI
  if (const ranks world = mpi_ranks(); world.size > 1) return sizemap_parts(call, args, s, world);
#endif
  const field_format* out_format = field_format_of(output);
  if (!out_format)
    return usage_error(call, "unknown solution format of '%s' (known: %s)", output, field_extensions().c_str());
  if (s.metric && !field_format_of(s.metric))
    return usage_error(call, "unknown solution format of '%s' (known: %s)", s.metric, field_extensions().c_str());
  progress shown(call.err, call.self.name);
  mesh_input in;
  mesh m;
  const char* input = args.positionals.empty() ? nullptr : args.positionals[0];
  if (const int status = read_mesh_argument(call, input, shown, in, m)) return status;
  mesh_cells c;
  if (const int status = find_cells(call, in.name(), m, c)) return status;

  sizemap_report r;
  zeb::dense1D<double, 8> H;
  zeb::dense2D<double> M;
  shown.step("making the field");
  if (const int status = make_field(call, m, c, s, H, M, r)) return status;
  zeb::dense1D<unsigned, 8> frozen;
  if (s.freeze_boundary) {
    if (const int code = boundary_nodes(c, frozen); code < 0) return failure(call, "cannot find the boundary nodes");
    r.frozen = frozen.size();
  }
  step_failure failed{nullptr, 0};
  if (!(r.anisotropic ? shape_field(m, c, s, frozen, M, shown, r, failed)
                      : shape_field(m, c, s, frozen, H, shown, r, failed))) {
    return step_failed(call, failed);
  }

  field result;
  result.dim = m.coords.rows();
  if (r.anisotropic) {
    result.values = M;
  } else {
    if (!result.values.resize(1, H.size())) return failure(call, "out of memory");
    for (unsigned v = 0; v < H.size(); ++v) result.values(0, v) = H[v];
  }
  shown.step("writing");
  if (const int status = write_field_file(call, *out_format, output, result)) return status;
  shown.done();
  if (args.has(JSON)) {
    write_json(call.out, in, m, s, r, output);
  } else {
    write_text(call.out, in, m, s, r);
    std::fprintf(call.out, "wrote %s (%s): %u nodes, %u values per node\n", output, out_format->name,
                 result.values.cols(), result.values.rows());
  }
  return EXIT_OK;
}

}  // namespace

extern const command sizemap_command = {
    "sizemap",
    "make a size field on a mesh, bounded and graded, as a solution file",
    "Usage: plexa sizemap [builtin | <mesh file>] -o <field file> [--exponent <p>]\n"
    "                     [--hmin <h>] [--hmax <h>]\n"
    "                     [--gradation <g> | --variation <v>] [--freeze-boundary]\n"
    "                     [--metric <field file>] [--json]\n"
    "\n"
    "Makes a size field on the nodes of a mesh and writes it as a MEDIT\n"
    "solution file (.sol, or .bb: see 'plexa help convert'):\n"
    "  1. the field: at each node the power mean, of exponent p, of the lengths\n"
    "     of the element edges there (1: the mean; 0: the shortest); or, with\n"
    "     --metric, the field of a solution file, sizes (one value per node) or\n"
    "     metrics (3 values per node in 2-D, 6 in 3-D);\n"
    "  2. its sizes bounded to [hmin, hmax];\n"
    "  3. its gradation bounded to g (the growth of the size per unit of length\n"
    "     in the field, minus one: 0.3 lets the size grow by 30%) or its\n"
    "     variation to v (the change of size per unit of length), sizes only\n"
    "     shrinking, so that no place gets coarser than the field asked.\n"
    "Edges are those of the elements of the highest dimension (solids, or\n"
    "faces, or edges), quadratic ones by their vertices.  Prints the largest\n"
    "gradation along an edge (H_shock) before and after step 3, the number of\n"
    "nodes whose value changed in steps 2 and 3, and the histogram of the\n"
    "edge lengths measured in the new field (1: an edge of the size asked).\n"
    "\n"
    "Under mpirun on k ranks (k above 1), the mesh argument is the prefix of the\n"
    "part files of 'plexa partition' (PREFIX.<rank>.mesh, vertex references\n"
    "the global node ids): rank r makes the sizes of steps 1 and 2 on part r\n"
    "and step 3 bounds the gradation across the parts; each rank writes\n"
    "<field>.<rank>.sol, beside its part when <field> is PREFIX, where\n"
    "'plexa merge-parts --field' finds it.  Rank 0 prints the figures of all\n"
    "parts (no histogram): nodes by global id, elements and changed nodes\n"
    "summed over the parts, sizes and gradations their extremes.  Step 1 sees\n"
    "only the edges of each part, so a node on a border between parts gets\n"
    "one size per part; their smallest is kept by step 3.  Only the gradation\n"
    "of generated sizes is bounded there: no --variation, --freeze-boundary,\n"
    "--metric or --json.\n"
    "\n"
    "Options:\n"
    "  -o, --output <file>  the field file to write (.sol or .bb); under mpirun\n"
    "                       the prefix of the part fields\n"
    "  --exponent <p>       the exponent of the mean (0 or more; default 1)\n"
    "  --hmin <h>, --hmax <h>  the smallest and the largest size (default: no\n"
    "                       bound)\n"
    "  --gradation <g>      the bound of the gradation (0 or more; default 0.3)\n"
    "  --variation <v>      bound the variation to v instead\n"
    "  --freeze-boundary    keep the values of the nodes of the free boundary\n"
    "                       in step 3 (the bounds of step 2 apply to them)\n"
    "  --metric <file>      start from the field of this solution file\n"
    "  --json               print one JSON object instead of the text: mesh,\n"
    "                       nodes, elements, field (the file read, or null),\n"
    "                       kind (\"isotropic\" or \"anisotropic\"), exponent,\n"
    "                       generated_min, generated_max (null for a field\n"
    "                       read), hmin, hmax (null: no bound), bounded (nodes\n"
    "                       changed by the bounds), bound (\"gradation\" or\n"
    "                       \"variation\"), limit, freeze_boundary, frozen_nodes,\n"
    "                       shock_before, shock_after, changed, edge_lengths\n"
    "                       (a histogram, as 'plexa help quality' gives it),\n"
    "                       output.\n",
    sizemap_main,
};

}  // namespace plexa_cli
