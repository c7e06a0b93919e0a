// Words for the result codes, one table per family of functions.  An entry
// names a function (a bare name covers all its overloads, a whole signature
// one overload) and a code; it gives the reason, and the argument's name
// where the code does not follow the position rule.
#include <zeb/plexa/messages.hpp>

#include <cstring>

#include "core/result_codes.hpp"

namespace zeb {
namespace plexa {

namespace {

struct reason {
  const char* function;
  int code;
  const char* argument;  // null: the parameter at position -code; "": none (NOT_AN_ARGUMENT)
  const char* text;
};

// The code names what a reader found in its file, not an argument: the
// message is the reason alone.
constexpr const char* NOT_AN_ARGUMENT = "";

constexpr const char* bad_index = "a node index is not below the node count";
constexpr const char* bad_connectivity = "the connectivity does not fit its element type or names a missing node";
constexpr const char* reversed = "first is after last";
constexpr const char* bad_tolerance = "negative or not a number";
constexpr const char* same_output = "the same object as an earlier output";

constexpr reason index_reasons[] = {
    {"get_IDs", -2, nullptr, "the two connectivities have different row counts"},
    {"get_IDs", -4, nullptr, "the same object as pos1"},
    {"get_sorted_order", -3, nullptr, "the same object as order"},
    {"unique_indices", -3, nullptr, reversed},
    {"count_unique_indices", -2, nullptr, reversed},
};

constexpr reason geometry_reasons[] = {
    {"inc_bounding_box", -1, nullptr, "its row count differs from the dimension of the box"},
    {"inc_bounding_box", -2, nullptr, bad_index},
    {"inc_bounding_box", -3, nullptr, "the same object as min"},
    {"inc_bounding_box", -4, nullptr, "the same object as min"},
    {"centroids", -1, nullptr, "its row count is not 1, 2 or 3, or is below the element dimension"},
    {"centroids", -2, nullptr, bad_connectivity},
    {"centroids", -4, nullptr, "element type not supported (linear types only)"},
    {"copy_sym_mesh", -4, nullptr, "the normal is zero"},
    {"clip", -2, nullptr, bad_index},
    {"clip", -4, nullptr, "the normal is zero"},
    {"clip", -5, nullptr, "its row count differs from the connectivity's"},
};

constexpr reason search_reasons[] = {
    {"reinit", -1, nullptr, "its row count is not 2 or 3"},
    {"reinit", -2, nullptr, bad_index},
    {"reinit", -3, nullptr, reversed},
    {"merge(pos, nodes1, nodes2, new_IDs, tolerance)", -3, nullptr, bad_index},
    {"merge(pos, nodes1, nodes2, new_IDs, tolerance)", -4, "tolerance", bad_tolerance},
    {"merge(pos, nodes, new_IDs, tolerance)", -4, "tolerance", bad_tolerance},
    {"merge(pos, new_IDs, tolerance)", -3, nullptr, bad_tolerance},
    {"merge(pos, tolerance)", -3, "tolerance", bad_tolerance},
    {"merge", -1, nullptr, "its row count is not 2 or 3"},
    {"merge", -2, nullptr, bad_index},
    {"merge", -3, nullptr, reversed},
    {"merge", -5, nullptr, bad_tolerance},
    {"merge", -6, nullptr, "mode greater than 2"},
    {"simplify", -2, nullptr, bad_index},
    {"simplify", -3, nullptr, reversed},
};

constexpr const char* bad_element_columns = "the connectivity does not fit its element type";
constexpr const char* not_neighbors =
    "not the neighbour matrix of the connectivity (shape, or an entry that is neither UINT_MAX nor an element)";
constexpr const char* not_boundary_rows = "not empty, and its row count is not that of the boundaries of the type";
constexpr const char* not_two_rows = "not empty, and its row count is not 2";
constexpr const char* no_size = "an edge has a node without a positive size or a valid metric";
constexpr const char* excluded_edges = "its row count is not 2, or it names a node without coordinates";

constexpr reason topology_reasons[] = {
    {"get_element_boundaries", -1, nullptr, bad_connectivity},
    {"get_element_boundaries", -2, nullptr, "element type not supported, or an output of another row count"},
    {"get_neighbors", -1, nullptr, bad_connectivity},
    {"get_neighbors", -2, nullptr, "element type not supported"},
    {"get_node_graph", -2, "connectivity", "its row count does not fit the element type"},
    {"get_node_graph", -5, "type", "element type without an edge rule"},
    {"get_node_graph", -3, nullptr, "the same object as offsets"},
    {"get_connected_elements", -3, nullptr, "the same object as offsets"},
    {"get_subdomains", -2, nullptr, "it shares entries with the connectivity, or its column count differs"},
    {"get_subdomains", -3, nullptr, "the same object as elements"},
    {"sort_elfes", -1, "neighbors", "its column count differs from the connectivity's"},
    {"sort_elfes(connectivity, node_counts, group_ends, new_index)", -3, nullptr, "the same object as node_counts"},
    {"sort_elfes(connectivity, node_counts, group_ends, new_index)", -4, nullptr, same_output},
    {"sort_elfes(connectivity, neighbors, node_counts, group_ends, new_index)", -2, nullptr,
     "it shares entries with the connectivity"},
    {"sort_elfes(connectivity, neighbors, node_counts, group_ends, new_index)", -4, nullptr,
     "the same object as node_counts"},
    {"sort_elfes(connectivity, neighbors, node_counts, group_ends, new_index)", -5, nullptr, same_output},
    {"get_mesh_boundaries", -1, nullptr, bad_element_columns},
    {"get_mesh_boundaries", -2, nullptr, not_neighbors},
    {"get_mesh_boundaries", -3, nullptr, "element type not supported"},
    {"get_mesh_boundaries", -4, nullptr, not_boundary_rows},
    {"get_mesh_bounding_elements", -1, nullptr, bad_element_columns},
    {"get_mesh_bounding_elements", -2, nullptr,
     "not the neighbour matrix of the connectivity, or the element type is not supported"},
    {"get_colors_boundaries", -1, nullptr, bad_element_columns},
    {"get_colors_boundaries", -2, nullptr, not_neighbors},
    {"get_colors_boundaries", -3, nullptr, "not one value per element"},
    {"get_colors_boundaries", -4, nullptr, "element type not supported"},
    {"get_colors_boundaries", -5, nullptr, not_boundary_rows},
    {"get_elements_on_boundaries", -1, nullptr, "its row count is not that of the boundaries of the element type"},
    {"get_elements_on_boundaries", -2, nullptr, bad_element_columns},
    {"get_elements_on_boundaries", -3, nullptr,
     "not the neighbour matrix of the connectivity: wrong shape, an entry that is no element, or a link to an "
     "element that does not hold the node walked around"},
    {"get_elements_on_boundaries", -4, nullptr,
     "an entry is no element, or names an element that does not hold its node"},
    {"get_elements_on_boundaries", -5, nullptr, "element type not supported"},
    {"copy_edges(connectivity, type, edges)", -2, nullptr, "not an element type"},
    {"copy_edges(connectivity, type, edges)", -3, nullptr, not_two_rows},
    {"copy_edges", -1, nullptr, "a block does not fit its element type"},
    {"copy_edges", -2, nullptr, reversed},
    {"copy_edges", -3, nullptr, "not one element type per block"},
    {"copy_edges", -4, nullptr, not_two_rows},
    {"edge_quality", -2, nullptr, "not positive"},
    {"edge_quality", -3, nullptr, "not positive"},
    {"edge_qualities(pos, connectivity, type, sizes, histogram, excluded)", -3, nullptr, "not an element type"},
    {"edge_qualities(pos, connectivity, type, sizes, histogram, excluded)", -4, nullptr, no_size},
    {"edge_qualities(pos, connectivity, type, metrics, histogram, excluded)", -3, nullptr, "not an element type"},
    {"edge_qualities(pos, connectivity, type, metrics, histogram, excluded)", -4, nullptr, no_size},
    {"edge_qualities", -1, nullptr, "its row count is not 2 or 3"},
    {"edge_qualities", -2, nullptr, "a block does not fit its element type or names a node without coordinates"},
    {"edge_qualities", -3, nullptr, reversed},
    {"edge_qualities", -4, nullptr, "not one element type per block"},
    {"edge_qualities", -5, nullptr, no_size},
    {"edge_qualities", -6, nullptr, excluded_edges},
    {"edge_qualities", -7, nullptr, excluded_edges},
};

constexpr const char* not_finite = "not finite";
constexpr const char* two_or_three_rows = "its row count is not 2 or 3";
constexpr const char* no_node_graph =
    "element type without a node graph (edges, linear faces and solids, mixed faces and solids only)";
constexpr const char* field_of_connectivity =
    "not a field of the space dimension (3 rows in 2-D, 6 in 3-D) with a value for every node of the connectivity";
constexpr const char* not_a_field = "its row count is not 3 or 6";

constexpr reason metrics_reasons[] = {
    {"bound_metric", -1, nullptr, "no size needed clamping, or the clamped metric is not valid"},
    {"bound_metric", -2, nullptr, not_finite},
    {"bound_metric", -3, nullptr, not_finite},
    {"bound_metrics", -1, nullptr, not_a_field},
    {"bound_metrics", -2, nullptr, not_finite},
    {"bound_metrics", -3, nullptr, not_finite},
    {"overwrite_invalid_metrics(H, h)", -2, nullptr, "not positive"},
    {"overwrite_invalid_metrics(M, Mref)", -2, nullptr, "a field of another row count, or not a valid metric"},
    {"overwrite_invalid_metrics", -1, nullptr, "its row count is not 3 or 6, or not that of the reference metric"},
    {"metrics_iso_to_aniso2d(H, M)", -2, nullptr, "not 3 rows and at least one column per size"},
    {"metrics_iso_to_aniso2d", -2, nullptr, "not 6 rows and one column per size"},
    {"metrics_iso_to_aniso2d", -3, nullptr, "not 3 rows and at least one column per size"},
    {"metrics_iso_to_aniso3d", -2, nullptr, "not 6 rows and at least one column per size"},
    {"metrics_aniso3d_to_aniso2d", -1, nullptr, "its row count is not 6"},
    {"metrics_aniso3d_to_aniso2d", -2, nullptr, "not 6 rows and one column per metric"},
    {"metrics_aniso3d_to_aniso2d", -3, nullptr, "not 3 rows and at least one column per metric"},
    {"bound_metric_gradations", -1, nullptr, two_or_three_rows},
    {"bound_metric_gradations", -2, nullptr, bad_connectivity},
    {"bound_metric_gradations", -3, nullptr, no_node_graph},
    {"bound_metric_gradations", -4, nullptr, bad_index},
    {"bound_metric_gradations", -7, nullptr, bad_tolerance},
    {"bound_metric_gradations", -8, nullptr, field_of_connectivity},
    {"bound_metric_variations", -1, nullptr, two_or_three_rows},
    {"bound_metric_variations", -2, nullptr, bad_connectivity},
    {"bound_metric_variations", -3, nullptr, no_node_graph},
    {"bound_metric_variations", -4, nullptr, bad_index},
    {"bound_metric_variations", -7, nullptr, bad_tolerance},
    {"bound_metric_variations", -8, nullptr, field_of_connectivity},
    {"metrics_gen_iso", -1, nullptr, "the element dimension of the type is above its row count"},
    {"metrics_gen_iso", -2, nullptr, bad_connectivity},
    {"metrics_gen_iso", -3, nullptr, "not a linear element type with edges"},
    {"metrics_gen_iso", -5, nullptr, "negative"},
    {"H_shock", -1, nullptr, two_or_three_rows},
    {"H_shock", -2, nullptr, "its row count is not 2, or a node index is not below the node count"},
    {"H_shock", -3, nullptr,
     "not a field of the space dimension (3 rows in 2-D, 6 in 3-D) with a value for every node of the edges"},
};

constexpr const char* unwritable = "the file cannot be opened or written";
constexpr const char* unfit_block = "a block does not fit its element type";
constexpr const char* block_count = "the number of blocks differs from the number of types";

constexpr const char* unreadable = "the file cannot be opened or read";
constexpr const char* truncated = "the file is truncated or malformed";
constexpr const char* missing_vertex = "an element names a vertex that the file does not have";

constexpr reason io_reasons[] = {
    {"medit_input", -1, nullptr, unreadable},
    {"medit_input", -2, NOT_AN_ARGUMENT, "not a MEDIT mesh file (no MeshVersionFormatted at its start)"},
    {"medit_input", -3, NOT_AN_ARGUMENT, truncated},
    {"medit_input", -4, NOT_AN_ARGUMENT, "a keyword, version or dimension that the reader does not read"},
    {"medit_input", -5, NOT_AN_ARGUMENT, missing_vertex},
    {"medit_input", -6, nullptr, "the same object as ranges"},
    {"medit_output(path, pos, connect, ranges, types, refs)", -2, nullptr, "its row count is not 1, 2 or 3"},
    {"medit_output(path, pos, connect, ranges, types, refs)", -3, nullptr,
     "a block does not fit its element type or names a missing node"},
    {"medit_output(path, pos, connect, ranges, types, refs)", -4, nullptr,
     "the ranges decrease or go past the columns"},
    {"medit_output(path, pos, connect, ranges, types, refs)", -5, nullptr,
     "its size is not the number of ranges minus one"},
    {"medit_output(path, pos, connect, ranges, types, refs)", -6, nullptr,
     "its size differs from the number of columns"},
    {"medit_solution_input", -1, nullptr, unreadable},
    {"medit_solution_input", -2, NOT_AN_ARGUMENT, "not a MEDIT solution file"},
    {"medit_solution_input", -3, NOT_AN_ARGUMENT, truncated},
    {"medit_solution_input", -4, NOT_AN_ARGUMENT,
     "values at elements, a keyword, field kind, version or dimension that the reader does not read, or no "
     "solution at vertices"},
    {"WavefrontOBJ_input", -1, nullptr, unreadable},
    {"WavefrontOBJ_input", -3, NOT_AN_ARGUMENT, truncated},
    {"WavefrontOBJ_input", -4, NOT_AN_ARGUMENT, "a statement that the reader does not read (free-form geometry, an "
                                           "unknown keyword)"},
    {"WavefrontOBJ_input", -5, NOT_AN_ARGUMENT, missing_vertex},
    {"WavefrontOBJ_input", -6, nullptr, "the same object as ranges"},
    {"WavefrontOBJ_output", -1, nullptr, unwritable},
    {"WavefrontOBJ_output", -2, nullptr, "its row count is not 2 or 3"},
    {"WavefrontOBJ_output", -3, nullptr,
     "a block does not fit its element type, names a missing node or has a type that OBJ files do not hold "
     "(solids)"},
    {"WavefrontOBJ_output", -4, nullptr, "the ranges decrease or go past the columns"},
    {"WavefrontOBJ_output", -5, nullptr, "its size is not the number of ranges minus one"},
    {"WavefrontOBJ_output", -6, nullptr, "its size differs from the number of columns"},
    {"WavefrontOBJ_output", -7, nullptr, "a group without a name, or a name that would not read back"},
    {"medit_solution_output", -1, nullptr, unwritable},
    {"medit_solution_output", -2, nullptr, "not 2 or 3"},
    {"medit_solution_output", -3, nullptr, "its row count is not 1, the dimension or that of a packed tensor"},
    {"medit_output", -1, nullptr, unwritable},
    {"medit_output", -2, nullptr, "its row count is not 1, 2 or 3"},
    {"medit_output", -3, nullptr, "a block does not fit its element type or names a missing node"},
    {"medit_output", -4, nullptr, "last precedes first"},
    {"medit_output", -5, nullptr, "the number of blocks or colours differs from the number of types or columns"},
    {"medit_output", -6, "colors", "the blocks of the colours cannot be allocated"},
    {"medit_scalar", -1, nullptr, unwritable},
    {"medit_vector", -1, nullptr, unwritable},
    {"medit_tensor", -1, nullptr, unwritable},
    {"medit_tensor", -2, nullptr, "its row count is not 3 or 6"},
    {"vtk_convert", -1, nullptr, "the connectivity does not fit its element type"},
    {"vtk_convert", -2, nullptr, "element type without a VTK cell"},
    {"vtk_convert", -5, nullptr, "the same object as cells"},
    {"vtk_output(f, pos, ncells, cells, cell_types)", -1, nullptr, "the stream is null, in error or refused bytes"},
    {"vtk_output(f, pos, ncells, cells, cell_types)", -3, nullptr,
     "that many cells do not take exactly the entries of the cell list"},
    {"vtk_output(f, pos, ncells, cells, cell_types)", -4, nullptr, "a node index is not below the node count"},
    {"vtk_output(f, pos, ncells, cells, cell_types)", -5, nullptr, "its size differs from the number of cells"},
    {"vtk_output", -1, nullptr, unwritable},
    {"vtk_output", -2, nullptr, "its row count is not 2 or 3, or a block's element type has no VTK cell"},
    {"vtk_output", -3, nullptr, "a block does not fit its element type or names a missing node"},
    {"vtk_output", -4, nullptr, "last precedes first"},
    {"vtk_output", -5, nullptr, block_count},
    {"NASTRAN_output", -1, nullptr, "the file or stream cannot be opened, is in error or refused bytes"},
    {"NASTRAN_output", -2, nullptr, "its row count is not 2 or 3"},
    {"NASTRAN_output", -3, nullptr, unfit_block},
    {"NASTRAN_output", -4, nullptr, "the ranges decrease or go past the columns"},
    {"NASTRAN_output", -5, nullptr, "its size is not the number of ranges minus one"},
    {"NASTRAN_output", -6, nullptr, "its size differs from the number of columns"},
    {"ensight_output", -1, nullptr, unwritable},
    {"ensight_output", -2, nullptr, "its row count is not 1, 2 or 3"},
    {"ensight_output", -3, nullptr, unfit_block},
    {"ensight_output", -4, nullptr, "last precedes first"},
    {"ensight_output", -5, nullptr, block_count},
    {"STL_input(f, pos, connect)", -1, nullptr, "the stream is null, in error or cannot be positioned"},
    {"STL_input(f, pos, connect, report)", -1, nullptr, "the stream is null, in error or cannot be positioned"},
    {"STL_input", -1, nullptr, "the file cannot be opened"},
    {"STL_input", -2, NOT_AN_ARGUMENT, "not an STL file (no \"solid\" line, and too short for a binary header)"},
    {"STL_input", -3, NOT_AN_ARGUMENT, "malformed or truncated STL file"},
    {"STL_output(f, pos, connect, ascii)", -1, nullptr, "the stream is null, in error or refused bytes"},
    {"STL_output", -1, nullptr, unwritable},
    {"STL_output", -2, nullptr, "its row count is not 3"},
    {"STL_output", -3, nullptr, "not 3 rows, or a node index is not below the node count"},
};

constexpr const char* quality_dimension = "its row count is not 3 (or 2 for faces in the plane)";
constexpr const char* quality_type = "element type without a shape (faces and solids only)";

constexpr reason quality_reasons[] = {
    {"shape_qualities", -1, nullptr, quality_dimension},
    {"shape_qualities", -2, nullptr, bad_connectivity},
    {"shape_qualities", -3, nullptr, quality_type},
    {"shape_qualities", -4, nullptr,
     "not one valid metric per node (3 rows in 2-D, 6 in 3-D, finite and positive definite)"},
    {"min_quality", -1, nullptr, quality_dimension},
    {"min_quality", -2, nullptr, bad_connectivity},
    {"min_quality", -3, nullptr, quality_type},
    {"jacobians", -1, nullptr, quality_dimension},
    {"jacobians", -2, nullptr, bad_connectivity},
    {"jacobians", -3, nullptr, quality_type},
};

struct family {
  const reason* first;
  const reason* last;
};

template <std::size_t N>
constexpr family family_of(const reason (&r)[N]) {
  return {r, r + N};
}

constexpr family families[] = {family_of(index_reasons), family_of(geometry_reasons), family_of(search_reasons),
                               family_of(topology_reasons), family_of(metrics_reasons), family_of(quality_reasons),
                               family_of(io_reasons)};

// Length of the function name at the start of a signature.
std::size_t name_length(const char* signature) {
  const char* open = std::strchr(signature, '(');
  return open ? std::size_t(open - signature) : std::strlen(signature);
}

// The entry for (signature, code): one naming the whole signature first,
// else one naming the function.
const reason* find_reason(const char* signature, int code) {
  const std::size_t n = name_length(signature);
  const reason* by_name = nullptr;
  for (const family& f : families)
    for (const reason* r = f.first; r != f.last; ++r) {
      if (r->code != code) continue;
      if (std::strcmp(r->function, signature) == 0) return r;
      if (!by_name && std::strlen(r->function) == n && std::strncmp(r->function, signature, n) == 0) by_name = r;
    }
  return by_name;
}

// The k-th (1-based) parameter name of a signature: start and length.
bool parameter(const char* signature, unsigned k, const char*& start, std::size_t& length) {
  const char* p = std::strchr(signature, '(');
  if (!p) return false;
  ++p;
  for (unsigned i = 1;; ++i) {
    while (*p == ' ') ++p;
    const char* end = p;
    while (*end && *end != ',' && *end != ')') ++end;
    if (i == k) {
      const char* last = end;
      while (last > p && last[-1] == ' ') --last;
      start = p;
      length = std::size_t(last - p);
      return length > 0;
    }
    if (*end != ',') return false;
    p = end + 1;
  }
}

// Appends to a bounded buffer, counting what did not fit.
struct message_builder {
  char* text;
  unsigned size;
  unsigned length = 0;

  void add(const char* s, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i, ++length)
      if (length + 1 < size) text[length] = s[i];
  }
  void add(const char* s) { add(s, std::strlen(s)); }
  void add(int v) {
    char digits[12];
    unsigned n = 0;
    unsigned u = v < 0 ? 0u - unsigned(v) : unsigned(v);
    do digits[n++] = char('0' + u % 10); while (u /= 10);
    if (v < 0) add("-", 1);
    while (n > 0) add(&digits[--n], 1);
  }
  unsigned finish() {
    if (size > 0) text[length < size ? length : size - 1] = '\0';
    return length;
  }
};

}  // namespace

unsigned result_message(const char* signature, int code, char* text, unsigned size) noexcept {
  message_builder m{text, size};
  if (!signature) signature = "";
  if (code >= 0) {
    m.add("success");
  } else if (code == detail::OUT_OF_MEMORY) {
    m.add("out of memory");
  } else if (code >= -99) {
    const reason* r = find_reason(signature, code);
    if (r && r->argument && *r->argument == '\0') {
      m.add(r->text);
      return m.finish();
    }
    const char* name = nullptr;
    std::size_t name_length = 0;
    if (r && r->argument) {
      name = r->argument;
      name_length = std::strlen(name);
    } else {
      parameter(signature, unsigned(-code), name, name_length);
    }
    m.add("argument ");
    m.add(-code);
    if (name) {
      m.add(" (");
      m.add(name, name_length);
      m.add(")");
    }
    m.add(": ");
    m.add(r ? r->text : "invalid value");
  } else {
    m.add("failure ");
    m.add(code);
  }
  return m.finish();
}

}  // namespace plexa
}  // namespace zeb
