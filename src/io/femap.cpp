// FEMAP neutral files: the writer and the reader of the mesh subset of
// version 4.41 (header, nodes, elements), over one table of topologies.
#include <zeb/plexa/io/femap.hpp>

#include <cstdint>
#include <cstring>

#include "core/element_model.hpp"
#include "core/result_codes.hpp"
#include "io/common/block_expansion.hpp"
#include "io/common/input_file.hpp"
#include "io/common/mesh_assembly.hpp"
#include "io/common/number_parse.hpp"
#include "io/common/output_file.hpp"
#include "io/common/text_scanner.hpp"
#include "io/common/text_writer.hpp"

namespace zeb {
namespace plexa {

namespace {

using detail::NO_INDEX;
using detail::text_writer;

constexpr unsigned SLOTS = 20;

// How an element type is held in the node array of an element record.
struct femap_layout {
  signed char topology;  // -1: the type is not written
  unsigned char type;    // the element type code written
  unsigned char count;   // rows held
  unsigned char slots[SLOTS];  // the slot of each row
};

constexpr femap_layout layouts[ELEMENT_TYPE_COUNT] = {
    {-1, 0, 0, {}},                                                                 // ELT_NONE
    {9, 27, 1, {0}},                                                                // ELT_NODE
    {0, 2, 2, {0, 1}},                                                              // ELT_EDGE_MIX
    {0, 2, 2, {0, 1}},                                                              // ELT_EDGE2
    {1, 2, 3, {0, 1, 2}},                                                           // ELT_EDGE3
    {-1, 0, 0, {}},                                                                 // ELT_FACE_MIX (by column)
    {2, 17, 3, {0, 1, 2}},                                                          // ELT_TRIA3
    {4, 17, 4, {0, 1, 2, 3}},                                                       // ELT_QUAD4
    {3, 18, 6, {0, 1, 2, 5, 6, 4}},                                                 // ELT_TRIA6
    {5, 18, 8, {0, 1, 2, 3, 4, 5, 6, 7}},                                           // ELT_QUAD8
    {5, 18, 8, {0, 1, 2, 3, 4, 5, 6, 7}},                                           // ELT_QUAD9: centre dropped
    {-1, 0, 0, {}},                                                                 // ELT_SOLID_MIX (by column)
    {6, 25, 4, {0, 1, 2, 4}},                                                       // ELT_TETRA4
    {10, 26, 10, {0, 1, 2, 4, 9, 10, 8, 12, 13, 14}},                               // ELT_TETRA10
    {8, 25, 5, {0, 1, 2, 3, 4}},                                                    // ELT_PYRA5: apex in 4 to 7
    {12, 26, 13, {0, 1, 2, 3, 4, 8, 9, 10, 11, 12, 13, 14, 15}},                    // ELT_PYRA13: and 16 to 19
    {12, 26, 13, {0, 1, 2, 3, 4, 8, 9, 10, 11, 12, 13, 14, 15}},                    // ELT_PYRA14
    {7, 25, 6, {0, 1, 2, 4, 5, 6}},                                                 // ELT_WEDGE6
    {11, 26, 15, {0, 1, 2, 4, 5, 6, 12, 13, 14, 9, 10, 8, 17, 18, 16}},             // ELT_WEDGE15
    {11, 26, 15, {0, 1, 2, 4, 5, 6, 12, 13, 14, 9, 10, 8, 17, 18, 16}},             // ELT_WEDGE18
    {8, 25, 8, {0, 1, 2, 3, 4, 5, 6, 7}},                                           // ELT_HEXA8
    {12, 26, 20, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 16, 17, 18, 19, 12, 13, 14, 15}},  // ELT_HEXA20
    {12, 26, 20, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 16, 17, 18, 19, 12, 13, 14, 15}},  // ELT_HEXA27
};

// The element type read from each topology (before the pyramid forms of
// the bricks are recognised); ELT_NONE for a topology not read.
constexpr element_type topology_types[] = {ELT_EDGE2,  ELT_EDGE3,  ELT_TRIA3,  ELT_TRIA6,   ELT_QUAD4,
                                           ELT_QUAD8,  ELT_TETRA4, ELT_WEDGE6, ELT_HEXA8,   ELT_NODE,
                                           ELT_TETRA10, ELT_WEDGE15, ELT_HEXA20};
constexpr unsigned TOPOLOGIES = sizeof topology_types / sizeof topology_types[0];

// The slots a pyramid's apex fills besides slot 4.
constexpr unsigned char apex_slots5[] = {5, 6, 7};
constexpr unsigned char apex_slots13[] = {5, 6, 7, 16, 17, 18, 19};

// The node array of an element of `kind` (one-based node IDs, 0 when
// empty) from its column.
void fill_slots(element_type kind, const unsigned* col, unsigned* slot) noexcept {
  const femap_layout& l = layouts[kind];
  for (unsigned s = 0; s < SLOTS; ++s) slot[s] = 0;
  for (unsigned r = 0; r < l.count; ++r) slot[l.slots[r]] = col[r] + 1;
  if (kind == ELT_PYRA5)
    for (const unsigned char s : apex_slots5) slot[s] = col[4] + 1;
  if (kind == ELT_PYRA13 || kind == ELT_PYRA14)
    for (const unsigned char s : apex_slots13) slot[s] = col[4] + 1;
}

// The three reals of a node, z = 0 for planar ones.
void write_node(text_writer& w, unsigned id, const double* x, unsigned dim) {
  w.put_unsigned(id);
  w.put(",0,0,1,46,0,0,0,0,0,0,", 22);
  for (unsigned k = 0; k < 3; ++k) {
    w.put_shortest(k < dim ? x[k] : 0.0);
    w.put(',');
  }
  w.put('\n');
}

void write_element(text_writer& w, element_type kind, unsigned id, unsigned property, const unsigned* col) {
  const femap_layout& l = layouts[kind];
  w.put_unsigned(id);
  w.put(",124,", 5);
  w.put_unsigned(property);
  w.put(',');
  w.put_int(unsigned(l.type));
  w.put(',');
  w.put_int(unsigned(l.topology));
  w.put(",1,0,0,\n", 8);
  unsigned slot[SLOTS];
  fill_slots(kind, col, slot);
  for (unsigned s = 0; s < SLOTS; ++s) {
    w.put_unsigned(slot[s]);
    w.put(s == 9 || s == 19 ? ",\n" : ",");
  }
  w.put("0.,0.,0.,\n0.,0.,0.,\n0.,0.,0.,\n0,0,0,0,0,0,\n0,0,0,0,0,0,\n");
}

int write_neutral(std::FILE* f, const dense2D<double>& pos, const dense2D<unsigned>& connect,
                  const dense1D<unsigned, 8>& ranges, const dense1D<int, 8>& types, const dense1D<unsigned, 8>& ids) {
  if (!f || std::ferror(f)) return -1;
  const unsigned dim = pos.rows(), n = pos.cols();
  if (dim != 2 && dim != 3) return -2;
  if (const int r = detail::check_ranged_blocks(connect, ranges, types, ids, n)) return r;

  text_writer w(f);
  w.put("   -1\n   100\nZEB Plexa(R) FEMAP exporter\n4.41,\n   -1\n");
  if (n > 0) {
    w.put("   -1\n   403\n");
    const double* x = pos.data();
    for (unsigned j = 0; j < n; ++j, x += pos.ld()) write_node(w, j + 1, x, dim);
    w.put("   -1\n");
  }
  const unsigned blocks = types.size(), rows = connect.rows();
  bool opened = false;
  for (unsigned i = 0; i < blocks; ++i) {
    const element_type type = element_type(types[i]);
    const bool mixed = type == ELT_FACE_MIX || type == ELT_SOLID_MIX;
    if (ranges[i] == ranges[i + 1] || (!mixed && layouts[type].topology < 0)) continue;
    if (!opened) {
      w.put("   -1\n   404\n");
      opened = true;
    }
    bool fits;
    const unsigned used = detail::ranged_block_rows(type, rows, fits);
    for (unsigned j = ranges[i]; j < ranges[i + 1]; ++j) {
      const unsigned* col = connect.data() + std::size_t(j) * connect.ld();
      const element_type kind = mixed ? detail::ranged_column_type(type, col, used) : type;
      write_element(w, kind, j + 1, ids[j], col);
    }
  }
  if (opened) w.put("   -1\n");
  return w.finish();
}

// ---------------------------------------------------------------------------
// Reading

// A field of a record, blanks around it dropped.
struct field {
  const char* first;
  const char* last;
};

// The fields of the record [s, e) into `out` (at most `max`); returns how
// many the record has (a blank after the last comma is not one).
unsigned split_record(const char* s, const char* e, field* out, unsigned max) noexcept {
  unsigned count = 0;
  for (const char* a = s;;) {
    const char* b = a;
    while (b < e && *b != ',') ++b;
    const char* first = a;
    const char* last = b;
    while (first < last && detail::is_c_space(*first)) ++first;
    while (last > first && detail::is_c_space(last[-1])) --last;
    if (b == e && first == last) return count;
    if (count < max) out[count] = {first, last};
    ++count;
    if (b == e) return count;
    a = b + 1;
  }
}

bool integer(const field& f, std::int64_t low, std::int64_t high, std::int64_t& v) noexcept {
  return detail::parse_integer(f.first, f.last, low, high, v);
}

bool real(const field& f, double& v) noexcept {
  const char* end = f.first < f.last ? detail::parse_double(f.first, v) : nullptr;
  return end == f.last;
}

bool is_delimiter(const char* s, const char* e) noexcept {
  while (s < e && detail::is_c_space(*s)) ++s;
  while (e > s && detail::is_c_space(e[-1])) --e;
  return e - s == 2 && s[0] == '-' && s[1] == '1';
}

bool is_blank(const char* s, const char* e) noexcept {
  while (s < e && detail::is_c_space(*s)) ++s;
  return s == e;
}

constexpr std::int64_t ID_MAX = 0xFFFFFFFF;

class neutral_reader {
 public:
  explicit neutral_reader(std::FILE* f) noexcept : lines_(f), mesh_(3) {}

  int read() noexcept {
    if (!lines_.init()) return detail::OUT_OF_MEMORY;
    for (bool first = true;; first = false) {
      // A delimiter and a block number, after blank lines.
      bool more;
      while ((more = next()) && is_blank(s_, e_)) {
      }
      if (!more) return first ? -2 : 0;
      if (!is_delimiter(s_, e_)) return first ? -2 : -3;
      std::int64_t block;
      if (!next() || !integer(trimmed(), 0, INT32_MAX, block)) return first ? -2 : -3;
      if (first && block != 100) return -2;
      int r;
      switch (block) {
        case 100:
          r = header();
          break;
        case 403:
          r = nodes();
          break;
        case 404:
          r = elements();
          break;
        default:
          r = skip_block();
      }
      if (r) return r;
    }
  }

  bool read_error() const noexcept { return lines_.read_error(); }
  detail::mesh_assembly& mesh() noexcept { return mesh_; }

 private:
  bool next() noexcept { return lines_.next_line(s_, e_); }
  field trimmed() const noexcept {
    field f{s_, e_};
    split_record(s_, e_, &f, 1);
    return f;
  }
  // The next line as a record of a block being read: false (with the code
  // in r) at the end of the file or a line too long to read.
  bool record(int& r) noexcept {
    if (!next()) return r = -3, false;
    if (lines_.truncated()) return r = -3, false;
    return true;
  }

  int skip_block() noexcept {
    while (next())
      if (is_delimiter(s_, e_)) return 0;
    return -3;
  }

  int header() noexcept {
    int r;
    if (!record(r) || !record(r)) return r;  // the title, then the version
    field f[1];
    double version;
    if (is_delimiter(s_, e_) || split_record(s_, e_, f, 1) < 1 || !real(f[0], version)) return -3;
    if (version != 4.4 && version != 4.41) return -4;
    return skip_block();
  }

  int nodes() noexcept {
    bool ended = false;  // a record of ID -1 was met
    for (;;) {
      int r;
      if (!record(r)) return r;
      if (is_delimiter(s_, e_)) return 0;
      if (ended) continue;
      field f[14];
      std::int64_t id, system;
      double x[3];
      const unsigned count = split_record(s_, e_, f, 14);
      if (count < 1 || !integer(f[0], -1, ID_MAX, id) || id == 0) return -3;
      if (id == -1) {
        ended = true;
        continue;
      }
      if (count < 14 || !integer(f[1], INT32_MIN, INT32_MAX, system)) return -3;
      if (system != 0) return -4;
      for (unsigned k = 0; k < 3; ++k)
        if (!real(f[11 + k], x[k])) return -3;
      if (!mesh_.add_node(unsigned(id), x)) return detail::OUT_OF_MEMORY;
    }
  }

  int elements() noexcept {
    bool ended = false;
    for (;;) {
      int r;
      if (!record(r)) return r;
      if (is_delimiter(s_, e_)) return 0;
      if (ended) continue;
      field f[SLOTS / 2];
      std::int64_t id, property, topology;
      const unsigned count = split_record(s_, e_, f, 5);
      if (count < 1 || !integer(f[0], -1, ID_MAX, id) || id == 0) return -3;
      if (id == -1) {
        ended = true;
        continue;
      }
      if (count < 5 || !integer(f[2], 0, ID_MAX, property) ||
          !integer(f[4], INT32_MIN, INT32_MAX, topology))
        return -3;
      unsigned slot[SLOTS];
      for (unsigned half = 0; half < 2; ++half) {
        if (!record(r)) return r;
        if (is_delimiter(s_, e_) || split_record(s_, e_, f, SLOTS / 2) < SLOTS / 2) return -3;
        for (unsigned k = 0; k < SLOTS / 2; ++k) {
          std::int64_t v;
          if (!integer(f[k], 0, ID_MAX, v)) return -3;
          slot[half * (SLOTS / 2) + k] = unsigned(v);
        }
      }
      // Orientation, offsets and releases: present, not read.
      for (unsigned k = 0; k < 5; ++k)
        if (!next() || is_delimiter(s_, e_)) return -3;
      if (topology < 0 || topology >= TOPOLOGIES) return -4;
      if ((r = add_element(topology_types[topology], slot, unsigned(id), unsigned(property)))) return r;
    }
  }

  // The element of `type` held in `slot`: its nodes in the slots of its
  // layout, 0 in the others.
  int add_element(element_type type, const unsigned* slot, unsigned id, unsigned property) noexcept {
    auto one_node = [&](const unsigned char* list, unsigned n) {
      for (unsigned k = 0; k < n; ++k)
        if (slot[list[k]] != slot[4]) return false;
      return slot[4] != 0;
    };
    if (type == ELT_HEXA8 && one_node(apex_slots5, 3)) type = ELT_PYRA5;
    if (type == ELT_HEXA20 && one_node(apex_slots13, 7)) type = ELT_PYRA13;
    const femap_layout& l = layouts[type];
    bool used[SLOTS] = {};
    for (unsigned r = 0; r < l.count; ++r) used[l.slots[r]] = true;
    if (type == ELT_PYRA5)
      for (const unsigned char s : apex_slots5) used[s] = true;
    if (type == ELT_PYRA13)
      for (const unsigned char s : apex_slots13) used[s] = true;
    for (unsigned s = 0; s < SLOTS; ++s) {
      if (used[s] && slot[s] == 0) return -3;
      if (!used[s] && slot[s] != 0) return -4;
    }
    unsigned nodes[SLOTS];
    for (unsigned r = 0; r < l.count; ++r) nodes[r] = slot[l.slots[r]];
    return mesh_.add_element(type, nodes, l.count, id, property) ? 0 : detail::OUT_OF_MEMORY;
  }

  detail::text_scanner lines_;
  detail::mesh_assembly mesh_;
  char* s_ = nullptr;
  char* e_ = nullptr;
};

int read_neutral(std::FILE* f, dense2D<double>& pos, dense2D<unsigned>& connect, dense1D<unsigned, 8>& ranges,
                 dense1D<int, 8>& types, dense1D<unsigned, 8>& ids, dense1D<unsigned, 8>* node_ids,
                 dense1D<unsigned, 8>* element_ids) noexcept {
  if (!f || std::ferror(f)) return -1;
  neutral_reader reader(f);
  const int r = reader.read();
  if (reader.read_error()) return -1;
  if (r) return r;
  return detail::mesh_assembly::code(reader.mesh().finish(pos, connect, ranges, types, ids, node_ids, element_ids),
                                     -5, -5);
}

int read_file(std::FILE* f, dense2D<double>& pos, dense2D<unsigned>& connect, dense1D<unsigned, 8>& ranges,
              dense1D<int, 8>& types, dense1D<unsigned, 8>& ids, dense1D<unsigned, 8>* node_ids,
              dense1D<unsigned, 8>* element_ids) noexcept {
  if (const int r = detail::empty_read_outputs(pos, connect, ranges, types, ids, node_ids, element_ids)) return r;
  return read_neutral(f, pos, connect, ranges, types, ids, node_ids, element_ids);
}

int read_file(const char* path, dense2D<double>& pos, dense2D<unsigned>& connect, dense1D<unsigned, 8>& ranges,
              dense1D<int, 8>& types, dense1D<unsigned, 8>& ids, dense1D<unsigned, 8>* node_ids,
              dense1D<unsigned, 8>* element_ids) noexcept {
  if (const int r = detail::empty_read_outputs(pos, connect, ranges, types, ids, node_ids, element_ids)) return r;
  return detail::with_input_file(
      path, [&](std::FILE* f) { return read_neutral(f, pos, connect, ranges, types, ids, node_ids, element_ids); });
}

}  // namespace

int FEMAP_output(std::FILE* f, const dense2D<double>& pos, const dense2D<unsigned int>& connect,
                 const dense1D<unsigned int, 8>& ranges, const dense1D<int, 8>& types,
                 const dense1D<unsigned int, 8>& ids) {
  return write_neutral(f, pos, connect, ranges, types, ids);
}

int FEMAP_output(const char* path, const dense2D<double>& pos, const dense2D<unsigned int>& connect,
                 const dense1D<unsigned int, 8>& ranges, const dense1D<int, 8>& types,
                 const dense1D<unsigned int, 8>& ids) {
  detail::output_file file(path);
  if (!file) return -1;
  return file.close(write_neutral(file.get(), pos, connect, ranges, types, ids));
}

int FEMAP_input(std::FILE* f, dense2D<double>& pos, dense2D<unsigned int>& connect,
                dense1D<unsigned int, 8>& ranges, dense1D<int, 8>& types, dense1D<unsigned int, 8>& ids,
                dense1D<unsigned int, 8>& node_ids, dense1D<unsigned int, 8>& element_ids) {
  return read_file(f, pos, connect, ranges, types, ids, &node_ids, &element_ids);
}

int FEMAP_input(std::FILE* f, dense2D<double>& pos, dense2D<unsigned int>& connect,
                dense1D<unsigned int, 8>& ranges, dense1D<int, 8>& types, dense1D<unsigned int, 8>& ids) {
  return read_file(f, pos, connect, ranges, types, ids, nullptr, nullptr);
}

int FEMAP_input(const char* path, dense2D<double>& pos, dense2D<unsigned int>& connect,
                dense1D<unsigned int, 8>& ranges, dense1D<int, 8>& types, dense1D<unsigned int, 8>& ids,
                dense1D<unsigned int, 8>& node_ids, dense1D<unsigned int, 8>& element_ids) {
  return read_file(path, pos, connect, ranges, types, ids, &node_ids, &element_ids);
}

int FEMAP_input(const char* path, dense2D<double>& pos, dense2D<unsigned int>& connect,
                dense1D<unsigned int, 8>& ranges, dense1D<int, 8>& types, dense1D<unsigned int, 8>& ids) {
  return read_file(path, pos, connect, ranges, types, ids, nullptr, nullptr);
}

}  // namespace plexa
}  // namespace zeb
