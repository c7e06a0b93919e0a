// MEDIT files: the mesh reader and the solution reader (both layouts).
//
// Both readers work on the tokens of the file (text_scanner): keywords in
// any case, any white space and line layout between tokens, '#' comments
// to the end of their line.
#include <sys/stat.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>

#include <zeb/plexa/io/medit.hpp>

#include "core/result_codes.hpp"
#include "io/common/input_file.hpp"
#include "io/common/mesh_assembly.hpp"
#include "io/common/text_scanner.hpp"

namespace zeb {
namespace plexa {

namespace {

using detail::mesh_assembly;
using detail::text_scanner;
using token = text_scanner::token;

// The readers' result codes.
constexpr int CANNOT_READ = -1;   // no stream, or a read error
constexpr int NOT_MEDIT = -2;     // the first token is not what the layout starts with
constexpr int MALFORMED = -3;     // truncated, a malformed number, a misplaced section
constexpr int UNSUPPORTED = -4;   // an unknown keyword, a dimension or kind not read
constexpr int MISSING_NODE = -5;  // an element names a vertex the file does not have

// Tokens with comments skipped, and the numbers of the format.
class medit_tokens {
 public:
  explicit medit_tokens(std::FILE* f) noexcept : s_(f) {}
  bool init() noexcept { return s_.init(); }

  // The next token; false at the end of the stream (or for a token too long).
  bool next(token& t) noexcept { return s_.next(t, true); }
  bool integer(std::int64_t low, std::int64_t high, std::int64_t& v) noexcept {
    return s_.next_integer(low, high, v, true);
  }
  bool count(unsigned& n) noexcept {
    std::int64_t v;
    if (!integer(0, UINT32_MAX, v)) return false;
    n = unsigned(v);
    return true;
  }
  bool real(double& x) noexcept { return s_.next_double(x, true); }
  // A reference: an int as the writers print it ("%d"), or an unsigned.
  bool reference(unsigned& r) noexcept {
    std::int64_t v;
    if (!integer(INT32_MIN, UINT32_MAX, v)) return false;
    r = unsigned(std::uint32_t(v));
    return true;
  }
  // The code of a failed read: a read error, or a malformed file.
  int failure() const noexcept { return s_.read_error() ? CANNOT_READ : MALFORMED; }
  // The code at the end of the tokens: 0 when the stream ended well.
  int at_end() const noexcept {
    if (s_.read_error()) return CANNOT_READ;
    return s_.too_long() ? MALFORMED : 0;
  }

 private:
  text_scanner s_;
};

bool starts_with_letter(const token& t) noexcept {
  const char c = *t.first;
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

// "MeshVersionFormatted v" at the start of a keyword file: 0, or the code.
int read_version(medit_tokens& in, const token& first) noexcept {
  if (!detail::token_is(first, "meshversionformatted")) return NOT_MEDIT;
  std::int64_t version;
  if (!in.integer(INT32_MIN, INT32_MAX, version)) return in.failure();
  return version >= 1 && version <= 4 ? 0 : UNSUPPORTED;
}

// ---------------------------------------------------------------------------
// Mesh files
// ---------------------------------------------------------------------------

enum class section_kind { vertices, elements, hexahedra, skip_integers, skip_vectors, dimension, end };

struct medit_section {
  const char* keyword;  // lower case
  section_kind kind;
  element_type type;    // elements
  unsigned count;       // nodes of an element; integers of a skipped record
};

constexpr medit_section medit_sections[] = {
    {"vertices", section_kind::vertices, ELT_NONE, 0},
    {"edges", section_kind::elements, ELT_EDGE2, 2},
    {"triangles", section_kind::elements, ELT_TRIA3, 3},
    {"quadrilaterals", section_kind::elements, ELT_QUAD4, 4},
    {"tetrahedra", section_kind::elements, ELT_TETRA4, 4},
    {"pyramids", section_kind::elements, ELT_PYRA5, 5},
    {"prisms", section_kind::elements, ELT_WEDGE6, 6},
    {"hexahedra", section_kind::hexahedra, ELT_HEXA8, 8},
    // Information on the geometry that other tools add: read and dropped.
    {"corners", section_kind::skip_integers, ELT_NONE, 1},
    {"ridges", section_kind::skip_integers, ELT_NONE, 1},
    {"requiredvertices", section_kind::skip_integers, ELT_NONE, 1},
    {"requirededges", section_kind::skip_integers, ELT_NONE, 1},
    {"requiredtriangles", section_kind::skip_integers, ELT_NONE, 1},
    {"requiredquadrilaterals", section_kind::skip_integers, ELT_NONE, 1},
    {"requiredtetrahedra", section_kind::skip_integers, ELT_NONE, 1},
    {"requiredhexahedra", section_kind::skip_integers, ELT_NONE, 1},
    {"normalatvertices", section_kind::skip_integers, ELT_NONE, 2},
    {"tangentatvertices", section_kind::skip_integers, ELT_NONE, 2},
    {"normalattrianglevertices", section_kind::skip_integers, ELT_NONE, 3},
    {"normalatquadrilateralvertices", section_kind::skip_integers, ELT_NONE, 3},
    {"tangentatedges", section_kind::skip_integers, ELT_NONE, 3},
    {"normals", section_kind::skip_vectors, ELT_NONE, 0},
    {"tangents", section_kind::skip_vectors, ELT_NONE, 0},
    {"dimension", section_kind::dimension, ELT_NONE, 0},
    {"end", section_kind::end, ELT_NONE, 0},
};

const medit_section* find_section(const token& t) noexcept {
  for (const medit_section& s : medit_sections)
    if (detail::token_is(t, s.keyword)) return &s;
  return nullptr;
}

// The kind that a hexahedron with the repeated nodes of the writer's
// patterns stands for: a b c d e e e e is the pyramid a b c d e, a b c c d e
// f f the wedge a b c d e f (the pyramid pattern is tested first).  The
// nodes are moved to the front.
element_type hexahedron_kind(unsigned* h) noexcept {
  if (h[4] == h[5] && h[4] == h[6] && h[4] == h[7]) return ELT_PYRA5;
  if (h[2] == h[3] && h[6] == h[7]) {
    h[3] = h[4];
    h[4] = h[5];
    h[5] = h[6];
    return ELT_WEDGE6;
  }
  return ELT_HEXA8;
}

// The bytes of the stream's file when it is a regular file, else 0: the
// bound of what the file can hold, for the storage reserved ahead.
std::uint64_t file_bytes(std::FILE* f) noexcept {
  struct stat st;
  return fstat(fileno(f), &st) == 0 && S_ISREG(st.st_mode) ? std::uint64_t(st.st_size) : 0;
}

class mesh_reader {
 public:
  // `vertex_refs`, when not null, receives the vertices' references.
  mesh_reader(std::FILE* f, dense1D<unsigned, 8>* vertex_refs) noexcept
      : in_(f), bytes_(file_bytes(f)), vertex_refs_(vertex_refs) {}

  // Reads the whole file into the assembly: 0 or a code.
  int read() noexcept {
    if (!in_.init()) return detail::OUT_OF_MEMORY;
    token t;
    if (!in_.next(t)) return in_.at_end() ? in_.at_end() : NOT_MEDIT;
    if (const int r = read_version(in_, t)) return r;
    while (in_.next(t)) {
      const medit_section* s = find_section(t);
      if (!s) return starts_with_letter(t) ? UNSUPPORTED : MALFORMED;
      if (s->kind == section_kind::end) break;
      if (const int r = read_section(*s)) return r;
    }
    if (const int r = in_.at_end()) return r;
    return dim_ == 0 ? MALFORMED : 0;
  }

  // Fills the outputs from what was read: 0 or a code.
  int finish(dense2D<double>& pos, dense2D<unsigned>& connect, dense1D<unsigned, 8>& ranges,
             dense1D<int, 8>& types, dense1D<unsigned, 8>& refs) noexcept {
    // Vertex ids are positions: none can repeat.
    return mesh_assembly::code(nodes_.finish(pos, connect, ranges, types, refs, nullptr, nullptr), MISSING_NODE,
                               MALFORMED);
  }

 private:
  int read_section(const medit_section& s) noexcept {
    if (s.kind == section_kind::dimension) {
      std::int64_t d;
      if (dim_ != 0) return MALFORMED;
      if (!in_.integer(INT32_MIN, INT32_MAX, d)) return in_.failure();
      if (d != 2 && d != 3) return UNSUPPORTED;
      dim_ = unsigned(d);
      nodes_ = mesh_assembly(dim_);
      return 0;
    }
    unsigned n;
    if (!in_.count(n)) return in_.failure();
    switch (s.kind) {
      case section_kind::vertices: return read_vertices(n);
      case section_kind::elements:
      case section_kind::hexahedra: return read_elements(s, n);
      case section_kind::skip_integers:
        for (std::uint64_t k = 0, total = std::uint64_t(n) * s.count; k < total; ++k) {
          std::int64_t v;
          if (!in_.integer(INT32_MIN, UINT32_MAX, v)) return in_.failure();
        }
        return 0;
      case section_kind::skip_vectors:
        if (dim_ == 0) return MALFORMED;
        for (std::uint64_t k = 0, total = std::uint64_t(n) * dim_; k < total; ++k) {
          double x;
          if (!in_.real(x)) return in_.failure();
        }
        return 0;
      default: return MALFORMED;
    }
  }

  int read_vertices(unsigned n) noexcept {
    if (dim_ == 0 || vertices_read_) return MALFORMED;
    vertices_read_ = true;
    // A vertex takes at least two characters per number.
    const unsigned expected = unsigned(std::min<std::uint64_t>(n, bytes_ / (2 * (dim_ + 1))));
    nodes_.reserve(expected, 0, 0);
    if (vertex_refs_ && !vertex_refs_->reserve(expected)) return detail::OUT_OF_MEMORY;
    double x[3];
    unsigned reference;
    for (unsigned id = 1; id <= n; ++id) {
      for (unsigned k = 0; k < dim_; ++k)
        if (!in_.real(x[k])) return in_.failure();
      if (!in_.reference(reference)) return in_.failure();
      if (!nodes_.add_node(id, x)) return detail::OUT_OF_MEMORY;
      if (vertex_refs_ && !vertex_refs_->push_back(reference)) return detail::OUT_OF_MEMORY;
    }
    return 0;
  }

  int read_elements(const medit_section& s, unsigned n) noexcept {
    unsigned ids[8], reference;
    nodes_.reserve(0, unsigned(std::min<std::uint64_t>(n, bytes_ / (2 * (s.count + 1)))), s.count);
    for (unsigned e = 0; e < n; ++e) {
      for (unsigned k = 0; k < s.count; ++k) {
        std::int64_t v;
        if (!in_.integer(0, UINT32_MAX, v)) return in_.failure();
        ids[k] = unsigned(v);
      }
      if (!in_.reference(reference)) return in_.failure();
      element_type type = s.type;
      if (s.kind == section_kind::hexahedra) type = hexahedron_kind(ids);
      if (!nodes_.add_element(type, ids, nbr_nodes(type), elements_++, reference)) return detail::OUT_OF_MEMORY;
    }
    return 0;
  }

  medit_tokens in_;
  std::uint64_t bytes_;
  unsigned dim_ = 0;
  bool vertices_read_ = false;
  unsigned elements_ = 0;
  mesh_assembly nodes_{3};
  dense1D<unsigned, 8>* vertex_refs_;
};

int read_mesh(std::FILE* f, dense2D<double>& pos, dense2D<unsigned>& connect, dense1D<unsigned, 8>& ranges,
              dense1D<int, 8>& types, dense1D<unsigned, 8>& refs, dense1D<unsigned, 8>* vertex_refs) {
  mesh_reader reader(f, vertex_refs);
  const int r = reader.read();
  if (r != 0) return r;
  return reader.finish(pos, connect, ranges, types, refs);
}

// ---------------------------------------------------------------------------
// Solution files
// ---------------------------------------------------------------------------

// Values per node of a field of the keyword layout: scalar, vector,
// symmetric tensor (packed), full matrix; 0 for an unknown type.
unsigned field_size(std::int64_t type, unsigned dim) noexcept {
  switch (type) {
    case 1: return 1;
    case 2: return dim;
    case 3: return dim * (dim + 1) / 2;
    case 4: return dim * dim;
    default: return 0;
  }
}

// The values of `nodes` nodes of `rows` values each, appended to `values`.
int read_values(medit_tokens& in, unsigned rows, unsigned nodes, dense1D<double, 8>& values) noexcept {
  if (std::uint64_t(rows) * nodes > UINT32_MAX) return MALFORMED;
  for (unsigned k = 0, total = rows * nodes; k < total; ++k) {
    double x;
    if (!in.real(x)) return in.failure();
    if (!values.push_back(x)) return detail::OUT_OF_MEMORY;
  }
  return 0;
}

// The layout of medit_scalar, medit_vector and medit_tensor: "dim rows
// nodes 2" and the values.
int read_header_layout(medit_tokens& in, const token& first, unsigned& dim, unsigned& rows, unsigned& nodes,
                       dense1D<double, 8>& values) noexcept {
  std::int64_t d, kind;
  if (!detail::token_integer(first, 0, INT32_MAX, d)) return NOT_MEDIT;
  unsigned per_node;
  if (!in.count(per_node) || !in.count(nodes) || !in.integer(INT32_MIN, INT32_MAX, kind)) return in.failure();
  if (per_node == 0) return MALFORMED;
  if (kind != 2) return UNSUPPORTED;  // values at elements
  dim = unsigned(d);
  rows = per_node;
  if (const int r = read_values(in, rows, nodes, values)) return r;
  token t;
  if (in.next(t)) return MALFORMED;
  return in.at_end();
}

// The keyword layout: "MeshVersionFormatted", "Dimension" and one
// "SolAtVertices" section (its fields side by side in each column).
int read_keyword_layout(medit_tokens& in, const token& first, unsigned& dim, unsigned& rows, unsigned& nodes,
                        dense1D<double, 8>& values) noexcept {
  if (const int r = read_version(in, first)) return r;
  token t;
  bool solution = false;
  while (in.next(t)) {
    if (detail::token_is(t, "end")) break;
    if (detail::token_is(t, "dimension")) {
      std::int64_t d;
      if (dim != 0) return MALFORMED;
      if (!in.integer(INT32_MIN, INT32_MAX, d)) return in.failure();
      if (d != 2 && d != 3) return UNSUPPORTED;
      dim = unsigned(d);
    } else if (detail::token_is(t, "solatvertices")) {
      unsigned fields;
      if (dim == 0 || solution) return MALFORMED;
      if (!in.count(nodes) || !in.count(fields)) return in.failure();
      if (fields == 0) return MALFORMED;
      for (unsigned k = 0; k < fields; ++k) {
        std::int64_t type;
        if (!in.integer(INT32_MIN, INT32_MAX, type)) return in.failure();
        const unsigned size = field_size(type, dim);
        if (size == 0) return UNSUPPORTED;
        if (std::uint64_t(rows) + size > UINT32_MAX) return MALFORMED;
        rows += size;
      }
      if (const int r = read_values(in, rows, nodes, values)) return r;
      solution = true;
    } else {
      return starts_with_letter(t) ? UNSUPPORTED : MALFORMED;
    }
  }
  if (const int r = in.at_end()) return r;
  return solution ? 0 : UNSUPPORTED;
}

int read_solution(std::FILE* f, unsigned& dim, dense2D<double>& values) {
  medit_tokens in(f);
  if (!in.init()) return detail::OUT_OF_MEMORY;
  token t;
  if (!in.next(t)) return in.at_end() ? in.at_end() : NOT_MEDIT;
  unsigned d = 0, rows = 0, nodes = 0;
  dense1D<double, 8> read;
  const int r = starts_with_letter(t) ? read_keyword_layout(in, t, d, rows, nodes, read)
                                      : read_header_layout(in, t, d, rows, nodes, read);
  if (r != 0) return r;
  // The values as a matrix over the storage they were read into.
  Ptr<vector_num<double, 8>> storage;
  storage = read.storage();
  values = nodes == 0 ? dense2D<double>() : dense2D<double>(storage, read.start(), rows, nodes, rows);
  if (nodes == 0 && !values.resize(rows, 0)) return detail::OUT_OF_MEMORY;
  dim = d;
  return 0;
}

}  // namespace

int medit_input(std::FILE* f, dense2D<double>& pos, dense2D<unsigned int>& connect, dense1D<unsigned int, 8>& ranges,
                dense1D<int, 8>& types, dense1D<unsigned int, 8>& refs) {
  if (const int r = detail::empty_read_outputs(pos, connect, ranges, types, refs, nullptr, nullptr)) return r;
  if (!f || std::ferror(f)) return CANNOT_READ;
  const int r = read_mesh(f, pos, connect, ranges, types, refs, nullptr);
  return r == 0 ? 0 : detail::fail(r, pos, connect, ranges, types, refs);
}

int medit_input(std::FILE* f, dense2D<double>& pos, dense2D<unsigned int>& connect, dense1D<unsigned int, 8>& ranges,
                dense1D<int, 8>& types, dense1D<unsigned int, 8>& refs, dense1D<unsigned int, 8>& node_refs) {
  if (&refs == &ranges) return detail::fail(-6, pos, connect, ranges, types, node_refs);
  if (&node_refs == &refs || &node_refs == &ranges) return detail::fail(-7, pos, connect, ranges, types, refs);
  detail::fail(0, pos, connect, ranges, types, refs, node_refs);
  if (!f || std::ferror(f)) return CANNOT_READ;
  const int r = read_mesh(f, pos, connect, ranges, types, refs, &node_refs);
  return r == 0 ? 0 : detail::fail(r, pos, connect, ranges, types, refs, node_refs);
}

int medit_input(const char* path, dense2D<double>& pos, dense2D<unsigned int>& connect,
                dense1D<unsigned int, 8>& ranges, dense1D<int, 8>& types, dense1D<unsigned int, 8>& refs,
                dense1D<unsigned int, 8>& node_refs) {
  if (&refs == &ranges) return detail::fail(-6, pos, connect, ranges, types, node_refs);
  if (&node_refs == &refs || &node_refs == &ranges) return detail::fail(-7, pos, connect, ranges, types, refs);
  detail::fail(0, pos, connect, ranges, types, refs, node_refs);
  std::FILE* f = path ? std::fopen(path, "r") : nullptr;
  if (!f) return CANNOT_READ;
  const int r = medit_input(f, pos, connect, ranges, types, refs, node_refs);
  std::fclose(f);
  return r;
}

int medit_input(const char* path, dense2D<double>& pos, dense2D<unsigned int>& connect,
                dense1D<unsigned int, 8>& ranges, dense1D<int, 8>& types, dense1D<unsigned int, 8>& refs) {
  if (const int r = detail::empty_read_outputs(pos, connect, ranges, types, refs, nullptr, nullptr)) return r;
  return detail::with_input_file(path, [&](std::FILE* f) { return medit_input(f, pos, connect, ranges, types, refs); });
}

int medit_solution_input(std::FILE* f, unsigned int& dim, dense2D<double>& values) {
  dim = 0;
  values.clear_hard();
  if (!f || std::ferror(f)) return CANNOT_READ;
  const int r = read_solution(f, dim, values);
  return r == 0 ? 0 : detail::fail(r, values);
}

int medit_solution_input(const char* path, unsigned int& dim, dense2D<double>& values) {
  dim = 0;
  values.clear_hard();
  return detail::with_input_file(path, [&](std::FILE* f) { return medit_solution_input(f, dim, values); });
}

}  // namespace plexa
}  // namespace zeb
