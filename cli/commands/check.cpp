// `plexa check`: everything that is wrong with a mesh, each defect with its
// count and its first offenders; the exit status tells whether any was found.
#include <climits>
#include <new>
#include <string>
#include <vector>

#include <zeb/plexa/indices.hpp>
#include <zeb/plexa/messages.hpp>
#include <zeb/plexa/search.hpp>

#include "command.hpp"
#include "format.hpp"
#include "json.hpp"
#include "mesh.hpp"
#include "mesh_input.hpp"
#include "mesh_quality.hpp"
#include "mesh_summary.hpp"
#include "mesh_topology.hpp"
#include "options.hpp"
#include "progress.hpp"

namespace plexa_cli {

namespace {

// Offenders listed per defect.
constexpr unsigned listed = 5;

struct element_ref {
  unsigned block, element;
};

struct check_report {
  unsigned out_of_range = 0;
  std::vector<element_ref> first_out_of_range;
  unsigned unused = 0;
  std::vector<unsigned> first_unused;
  unsigned close = 0;
  std::vector<std::pair<unsigned, unsigned>> first_close;  // node, the node it is closer than the tolerance to
  mesh_quality quality;
  unsigned dimension = 0;  // of the elements whose boundaries are checked
  boundary_counts boundaries;
  unsigned parts = 0, subdomains = 0;

  // Everything past the index check is known only when every index is in
  // range.
  bool complete() const { return out_of_range == 0; }
  unsigned defects() const {
    return out_of_range + unused + close + quality.degenerate + quality.inverted + boundaries.non_manifold;
  }
};

// Element columns naming a node that does not exist (UINT_MAX is no index
// and is left to the shape check of the library calls).
void find_out_of_range(const mesh& m, check_report& r) {
  const unsigned nodes = m.coords.cols();
  for (unsigned k = 0; k < m.block_count(); ++k) {
    const zeb::dense2D<unsigned>& b = m.blocks[k];
    for (unsigned j = 0; !b.empty() && j < b.cols(); ++j)
      for (unsigned i = 0; i < b.rows(); ++i)
        if (b(i, j) >= nodes && b(i, j) != UINT_MAX) {
          if (r.first_out_of_range.size() < listed) r.first_out_of_range.push_back({k, j});
          ++r.out_of_range;
          break;
        }
  }
}

void find_unused(const mesh& m, check_report& r) {
  std::vector<char> used(m.coords.cols(), 0);
  for (const zeb::dense2D<unsigned>& b : m.blocks)
    for (unsigned j = 0; !b.empty() && j < b.cols(); ++j)
      for (unsigned i = 0; i < b.rows(); ++i)
        if (b(i, j) != UINT_MAX) used[b(i, j)] = 1;
  for (unsigned v = 0; v < used.size(); ++v)
    if (!used[v]) {
      if (r.first_unused.size() < listed) r.first_unused.push_back(v);
      ++r.unused;
    }
}

// A dry run of merge over all nodes: each node closer than the tolerance to
// an earlier one is counted with the node it would be merged onto.
int find_close(const mesh& m, double tolerance, check_report& r) {
  const unsigned n = m.coords.cols();
  if (n == 0 || (m.coords.rows() != 2 && m.coords.rows() != 3)) return 0;
  zeb::dense1D<unsigned, 8> nodes, new_ids;
  if (!nodes.resize(n)) return -199;
  for (unsigned v = 0; v < n; ++v) nodes[v] = v;
  const int merged = zeb::plexa::merge(m.coords, nodes, new_ids, tolerance);
  if (merged < 0) return merged;
  r.close = unsigned(merged);
  for (unsigned v = 0; v < new_ids.size() && r.first_close.size() < listed; ++v)
    if (new_ids[v] != v) r.first_close.emplace_back(v, new_ids[v]);
  return 0;
}

// The boundary nouns of the checked dimension: what a free or non-manifold
// boundary of a solid, face or edge is.
const char* boundary_noun(unsigned dimension) {
  return dimension == 3 ? "faces" : dimension == 2 ? "edges" : "nodes";
}

std::string node_list(const std::vector<unsigned>& nodes) {
  std::string text = "(";
  for (unsigned v : nodes) {
    if (v == UINT_MAX) continue;
    if (text.size() > 1) text += ' ';
    text += std::to_string(v);
  }
  return text + ")";
}

// "  first: a, b, c" after a count line, when there are offenders.
template <class List, class Text>
void write_first(std::FILE* out, const List& list, Text text) {
  if (list.empty()) return;
  std::string line = "  first:";
  for (std::size_t k = 0; k < list.size(); ++k) line += (k ? ", " : " ") + text(list[k]);
  std::fprintf(out, "%s\n", line.c_str());
}

std::string element_text(const element_ref& e) {
  return "block " + std::to_string(e.block) + " element " + std::to_string(e.element);
}

std::string measured_text(const measured_element& e) {
  return element_text({e.block, e.element}) + " (" + element_name(e.kind) + ")";
}

void write_text(std::FILE* out, const check_report& r, double tolerance) {
  std::fprintf(out, "node indices out of range: %u\n", r.out_of_range);
  write_first(out, r.first_out_of_range, element_text);
  if (!r.complete()) {
    std::fputs("other checks skipped: elements name missing nodes\n", out);
  } else {
    std::fprintf(out, "unused nodes: %u\n", r.unused);
    write_first(out, r.first_unused, [](unsigned v) { return std::to_string(v); });
    std::fprintf(out, "nodes closer than %s: %u\n", format_number(tolerance).text, r.close);
    write_first(out, r.first_close, [](const std::pair<unsigned, unsigned>& p) {
      return std::to_string(p.first) + " to " + std::to_string(p.second);
    });
    std::fprintf(out, "degenerate elements: %u\n", r.quality.degenerate);
    write_first(out, r.quality.first_degenerate, measured_text);
    std::fprintf(out, "inverted elements: %u\n", r.quality.inverted);
    write_first(out, r.quality.first_inverted, measured_text);
    if (r.dimension > 0) {
      const char* noun = boundary_noun(r.dimension);
      std::fprintf(out, "non-manifold %s: %u\n", noun, r.boundaries.non_manifold);
      write_first(out, r.boundaries.first_non_manifold, node_list);
      std::fprintf(out, "free boundary %s: %u\n", noun, r.boundaries.free);
      write_first(out, r.boundaries.first_free, node_list);
    }
    std::fprintf(out, "connected parts: %u\nsub-domains: %u\n", r.parts, r.subdomains);
  }
  const unsigned defects = r.defects();
  if (defects == 0)
    std::fputs("no defects found\n", out);
  else
    std::fprintf(out, "defects found: %u\n", defects);
}

void write_element_list(json_writer& j, const char* key, unsigned count, const std::vector<measured_element>& first) {
  j.begin_object(key);
  j.count("count", count);
  j.begin_array("first");
  for (const measured_element& e : first) {
    j.begin_object();
    j.count("block", e.block);
    j.count("element", e.element);
    j.text("type", element_name(e.kind));
    j.end_object();
  }
  j.end_array();
  j.end_object();
}

void write_node_lists(json_writer& j, const char* key, unsigned count, const std::vector<std::vector<unsigned>>& first) {
  j.begin_object(key);
  j.count("count", count);
  j.begin_array("first");
  for (const std::vector<unsigned>& nodes : first) {
    j.begin_array();
    for (unsigned v : nodes)
      if (v != UINT_MAX) j.count(v);
    j.end_array();
  }
  j.end_array();
  j.end_object();
}

void write_json(std::FILE* out, const mesh_input& in, const mesh& m, const check_report& r, double tolerance) {
  json_writer j(out);
  j.begin_object();
  write_mesh_counts(j, in.name(), m);
  j.number("tolerance", tolerance);
  j.begin_object("out_of_range");
  j.count("count", r.out_of_range);
  j.begin_array("first");
  for (const element_ref& e : r.first_out_of_range) {
    j.begin_object();
    j.count("block", e.block);
    j.count("element", e.element);
    j.end_object();
  }
  j.end_array();
  j.end_object();
  j.boolean("complete", r.complete());
  if (r.complete()) {
    j.begin_object("unused_nodes");
    j.count("count", r.unused);
    j.begin_array("first");
    for (unsigned v : r.first_unused) j.count(v);
    j.end_array();
    j.end_object();
    j.begin_object("close_nodes");
    j.count("count", r.close);
    j.begin_array("first");
    for (const auto& p : r.first_close) {
      j.begin_array();
      j.count(p.first);
      j.count(p.second);
      j.end_array();
    }
    j.end_array();
    j.end_object();
    write_element_list(j, "degenerate", r.quality.degenerate, r.quality.first_degenerate);
    write_element_list(j, "inverted", r.quality.inverted, r.quality.first_inverted);
    if (r.dimension > 0)
      j.text("boundary", boundary_noun(r.dimension));
    else
      j.null("boundary");
    write_node_lists(j, "non_manifold", r.boundaries.non_manifold, r.boundaries.first_non_manifold);
    write_node_lists(j, "free_boundaries", r.boundaries.free, r.boundaries.first_free);
    j.count("parts", r.parts);
    j.count("subdomains", r.subdomains);
  }
  j.count("defects", r.defects());
  j.end_object();
  j.finish();
}

// Runs the checks past the index check.  0, or a library code with
// `failed` naming the function.
int run_checks(const mesh& m, double tolerance, progress& shown, check_report& r, const char*& failed) {
  failed = "merge(pos, nodes, new_IDs, tolerance)";
  find_unused(m, r);
  shown.step("looking for close nodes");
  if (const int code = find_close(m, tolerance, r)) return code;
  shown.step("measuring the elements");
  if (const int code = measure_quality(m, listed, r.quality, failed)) return code;
  shown.step("walking the boundaries");
  failed = nullptr;
  r.dimension = top_dimension(m);
  zeb::dense2D<unsigned> cells;
  zeb::plexa::element_type type;
  if (r.dimension > 0 && (!join_vertices(m, r.dimension, cells, type) ||
                          !count_boundaries(cells, type, listed, r.boundaries) ||
                          !count_subdomains(cells, type, r.subdomains)))
    return -199;
  return count_parts(m, r.parts) ? 0 : -199;
}

enum { TOLERANCE, JSON };
const option_info options[] = {{"--tolerance", 't', "tolerance"}, {"--json", '\0', nullptr}};

int check_main(const invocation& call) {
  parsed_arguments args;
  if (const int status = parse_arguments(call, options, 2, 1, args)) return status;
  double tolerance = 0;
  if (const char* text = args.value(TOLERANCE))
    if (!parse_double(text, tolerance) || tolerance < 0)
      return usage_error(call, "invalid tolerance '%s' (a number, 0 or more)", text);
  progress shown(call.err, call.self.name);
  mesh_input in;
  mesh m;
  const char* input = args.positionals.empty() ? nullptr : args.positionals[0];
  if (const int status = read_mesh_argument(call, input, shown, in, m)) return status;

  check_report r;
  try {
    find_out_of_range(m, r);
    const char* failed = nullptr;
    if (r.complete()) {
      if (const int code = run_checks(m, tolerance, shown, r, failed)) {
        if (code == -199 || !failed) return failure(call, "out of memory");
        char reason[160];
        zeb::plexa::result_message(failed, code, reason, sizeof reason);
        return failure(call, "cannot check '%s': %s", in.name(), reason);
      }
    }
  } catch (const std::bad_alloc&) {
    return failure(call, "out of memory");
  }
  shown.done();
  if (args.has(JSON)) {
    write_json(call.out, in, m, r, tolerance);
  } else {
    std::fprintf(call.out, "%s: %u nodes, %u elements\n", in.name(), m.coords.cols(), m.element_count());
    write_text(call.out, r, tolerance);
  }
  return r.defects() == 0 ? EXIT_OK : EXIT_DEFECTS;
}

}  // namespace

extern const command check_command = {
    "check",
    "list what is wrong with a mesh (exit status 3 when something is)",
    "Usage: plexa check [builtin | <mesh file>] [--tolerance <t>] [--json]\n"
    "\n"
    "Looks for the defects of a mesh and prints, for each, its count and its\n"
    "first five offenders (nodes and elements numbered from 0, elements by\n"
    "their block and their column in it, as 'plexa info' lists the blocks):\n"
    "  - node indices out of range: elements naming a node the mesh does not\n"
    "    have (the other checks are then skipped);\n"
    "  - unused nodes: nodes that no element names;\n"
    "  - nodes closer than the tolerance: each node within the tolerance of an\n"
    "    earlier one, with that node (a dry run of the node merge);\n"
    "  - degenerate elements (a shape quality or smallest Jacobian determinant\n"
    "    of 0) and inverted ones (negative): see 'plexa help quality';\n"
    "  - non-manifold boundaries: faces shared by three or more solids, or,\n"
    "    in a mesh without solids, edges shared by three or more faces (by\n"
    "    their nodes).\n"
    "Then, as information rather than defects: the free boundary of the\n"
    "elements of the highest dimension (faces of one solid, or edges of one\n"
    "face), the connected parts (elements joined through shared nodes) and\n"
    "the sub-domains (elements joined through shared boundaries).  The last\n"
    "line is 'no defects found' or 'defects found: <n>', the sum of the\n"
    "defect counts.\n"
    "\n"
    "Exit status: 0 no defect, 3 defects found, 1 the mesh could not be read\n"
    "or checked, 2 a usage error.\n"
    "\n"
    "Options:\n"
    "  -t, --tolerance <t>  the distance below which two nodes count as one\n"
    "                       (0 or more; default 0: coincident nodes only)\n"
    "  --json               print one JSON object instead of the text: mesh,\n"
    "                       nodes, elements, tolerance; out_of_range {count,\n"
    "                       first: [{block, element}]}; complete (false when\n"
    "                       the other checks were skipped, whose keys are then\n"
    "                       left out); unused_nodes {count, first: [node]};\n"
    "                       close_nodes {count, first: [[node, other]]};\n"
    "                       degenerate, inverted {count, first: [{block,\n"
    "                       element, type}]}; boundary (\"faces\", \"edges\",\n"
    "                       \"nodes\" or null); non_manifold, free_boundaries\n"
    "                       {count, first: [[nodes]]}; parts; subdomains;\n"
    "                       defects.\n",
    check_main,
};

}  // namespace plexa_cli
