// NASTRAN bulk data: the writer.
#include <cstddef>
#include <cstdint>
#include <cstdio>

#include <zeb/plexa/indices.hpp>
#include <zeb/plexa/io/nastran.hpp>

#include "core/element_model.hpp"
#include "core/result_codes.hpp"
#include "io/common/block_expansion.hpp"
#include "io/common/output_file.hpp"
#include "io/common/text_writer.hpp"

namespace zeb {
namespace plexa {

namespace {

using detail::NO_INDEX;
using detail::output_file;
using detail::text_writer;

// The card of an element type and the local rows written, in order.
struct nastran_card {
  const char* name;  // nullptr: the type is not written
  unsigned char count;
  unsigned char rows[20];
};

constexpr nastran_card nastran_cards[ELEMENT_TYPE_COUNT] = {
    {nullptr, 0, {}},                                                                   // ELT_NONE
    {nullptr, 0, {}},                                                                   // ELT_NODE
    {nullptr, 0, {}},                                                                   // ELT_EDGE_MIX
    {"CBAR", 2, {0, 1}},                                                                // ELT_EDGE2
    {"CBAR", 2, {0, 1}},                                                                // ELT_EDGE3
    {nullptr, 0, {}},                                                                   // ELT_FACE_MIX (by column)
    {"CTRIA3", 3, {0, 1, 2}},                                                           // ELT_TRIA3
    {"CQUAD4", 4, {0, 1, 2, 3}},                                                        // ELT_QUAD4
    {"CTRIA6", 6, {0, 1, 2, 5, 3, 4}},                                                  // ELT_TRIA6
    {"CQUAD8", 8, {0, 1, 2, 3, 4, 5, 6, 7}},                                            // ELT_QUAD8
    {"CQUAD8", 8, {0, 1, 2, 3, 4, 5, 6, 7}},                                            // ELT_QUAD9: centre dropped
    {nullptr, 0, {}},                                                                   // ELT_SOLID_MIX (by column)
    {"CTETRA", 4, {0, 2, 1, 3}},                                                        // ELT_TETRA4
    {"CTETRA", 10, {0, 2, 1, 3, 5, 4, 6, 7, 9, 8}},                                     // ELT_TETRA10
    {"CPYRAM", 5, {0, 1, 2, 3, 4}},                                                     // ELT_PYRA5
    {"CPYRAM", 13, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}},                         // ELT_PYRA13
    {"CPYRAM", 13, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}},                         // ELT_PYRA14
    {"CPENTA", 6, {0, 1, 2, 3, 4, 5}},                                                  // ELT_WEDGE6
    {"CPENTA", 15, {0, 1, 2, 3, 4, 5, 11, 9, 10, 6, 7, 8, 14, 12, 13}},                 // ELT_WEDGE15
    {"CPENTA", 15, {0, 1, 2, 3, 4, 5, 11, 9, 10, 6, 7, 8, 14, 12, 13}},                 // ELT_WEDGE18
    {"CHEXA", 8, {0, 1, 2, 3, 4, 5, 6, 7}},                                             // ELT_HEXA8
    {"CHEXA", 20, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 16, 17, 18, 19, 12, 13, 14, 15}},  // ELT_HEXA20
    {"CHEXA", 20, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 16, 17, 18, 19, 12, 13, 14, 15}},  // ELT_HEXA27
};

void write_nodes(text_writer& w, const dense2D<double>& pos) {
  const unsigned d = pos.rows(), n = pos.cols();
  const double* p = pos.data();
  const std::size_t ld = pos.ld();
  for (unsigned j = 0; j < n; ++j, p += ld) {
    w.put("GRID*   ", 8);
    w.put_int(j + 1, 16);
    w.put("                ", 16);
    w.put_exponent(p[0], detail::UPPER_E, 16);
    w.put_exponent(p[1], detail::UPPER_E, 16);
    w.put("*C\n*C      ", 11);
    w.put_exponent(d == 3 ? p[2] : 0.0, detail::UPPER_E, 16);
    w.put('\n');
  }
}

// One card: "name,id,pid" and the one-based nodes, nine fields on the first
// line and continuation lines of up to nine fields ("+C" and eight nodes).
void write_card(text_writer& w, const nastran_card& card, unsigned id, unsigned pid, const unsigned* col) {
  w.put(card.name);
  w.put(',');
  w.put_int(id);
  w.put(',');
  w.put_int(pid);
  unsigned fields = 3;
  for (unsigned k = 0; k < card.count; ++k) {
    if (fields == 9) {
      w.put(",+C\n+C", 6);
      fields = 1;
    }
    w.put(',');
    w.put_int(col[card.rows[k]] + 1);
    ++fields;
  }
  w.put('\n');
}

int write_deck(std::FILE* f, const dense2D<double>& pos, const dense2D<unsigned>& connect,
               const dense1D<unsigned, 8>& ranges, const dense1D<int, 8>& types, const dense1D<unsigned, 8>& pids) {
  if (!f || std::ferror(f)) return -1;
  if (pos.rows() != 2 && pos.rows() != 3) return -2;
  if (const int r = detail::check_ranged_blocks(connect, ranges, types, pids, NO_INDEX)) return r;
  const unsigned blocks = types.size(), rows = connect.rows();

  text_writer w(f);
  w.put("$ ZEB Plexa(R) NASTRAN exporter\n"
        "BEGIN BULK\n"
        "$----------------------------------------\n"
        "$ Referenced Material Records -----------\n"
        "$ Material Record :    ------------------\n"
        "$ Description of Material :   -----------\n"
        "MAT1    1       0.                 0.  0.\n"
        "$----------------------------------------\n"
        "$                GRID POINTS            \n"
        "$----------------------------------------\n");
  write_nodes(w, pos);
  w.put("$----------------------------------------\n"
        "$                 ELEMENTS              \n"
        "$----------------------------------------\n");

  const unsigned* base = connect.data();
  const std::size_t ld = connect.ld();
  for (unsigned i = 0; i < blocks; ++i) {
    if (ranges[i] == ranges[i + 1]) continue;
    const element_type type = element_type(types[i]);
    const bool mixed = type == ELT_FACE_MIX || type == ELT_SOLID_MIX;
    if (!mixed && !nastran_cards[type].name) continue;
    bool fits;
    const unsigned used = detail::ranged_block_rows(type, rows, fits);
    for (unsigned j = ranges[i]; j < ranges[i + 1]; ++j) {
      const unsigned* col = base + j * ld;
      const element_type kind = mixed ? detail::ranged_column_type(type, col, used) : type;
      write_card(w, nastran_cards[kind], j + 1, pids[j], col);
    }
  }
  w.put("ENDDATA\n");
  return w.finish();
}

// The two convenience forms as a deck: the blocks' columns in one matrix,
// their ranges, types and property numbers (1 for the first block, 2 for
// the second).
struct joined_deck {
  dense2D<unsigned> connect;
  dense1D<unsigned, 8> ranges, pids;
  dense1D<int, 8> types;

  // False when memory cannot be had.
  bool join(const dense2D<unsigned>* blocks, const element_type* block_types, unsigned count) noexcept {
    unsigned rows = 0;
    std::uint64_t cols = 0;
    for (unsigned b = 0; b < count; ++b) {
      const unsigned needed = detail::is_element_type(block_types[b]) ? detail::node_count(block_types[b]) : 0;
      if (needed > rows) rows = needed;
      cols += blocks[b].cols();
    }
    if (cols > UINT32_MAX || !connect.resize(rows, unsigned(cols)) || !ranges.resize(count + 1) ||
        !types.resize(count) || !pids.resize(unsigned(cols)))
      return false;
    unsigned* out = connect.data();
    unsigned at = 0;
    ranges[0] = 0;
    for (unsigned b = 0; b < count; ++b) {
      const dense2D<unsigned>& block = blocks[b];
      const unsigned kept = block.rows() < rows ? block.rows() : rows;
      for (unsigned j = 0; j < block.cols(); ++j, out += rows) {
        if (kept) {
          const unsigned* col = block.data() + j * block.ld();
          for (unsigned i = 0; i < kept; ++i) out[i] = col[i];
        }
        for (unsigned i = kept; i < rows; ++i) out[i] = NO_INDEX;
        pids[at++] = b + 1;
      }
      ranges[b + 1] = at;
      types[b] = block_types[b];
    }
    return true;
  }
};

int write_joined(std::FILE* f, const dense2D<double>& pos, const dense2D<unsigned>* blocks,
                 const element_type* block_types, unsigned count) {
  joined_deck deck;
  if (!deck.join(blocks, block_types, count)) return detail::OUT_OF_MEMORY;
  return write_deck(f, pos, deck.connect, deck.ranges, deck.types, deck.pids);
}

}  // namespace

int NASTRAN_output(std::FILE* f, const dense2D<double>& pos, const dense2D<unsigned int>& connect,
                   const dense1D<unsigned int, 8>& ranges, const dense1D<int, 8>& types,
                   const dense1D<unsigned int, 8>& pids) {
  return write_deck(f, pos, connect, ranges, types, pids);
}

int NASTRAN_output(std::FILE* f, const dense2D<double>& pos, const dense2D<unsigned int>& connect1,
                   const dense2D<unsigned int>& connect2, element_type type1, element_type type2) {
  const dense2D<unsigned> blocks[2] = {connect1, connect2};
  const element_type types[2] = {type1, type2};
  return write_joined(f, pos, blocks, types, 2);
}

int NASTRAN_output(std::FILE* f, const dense2D<double>& pos, const dense2D<unsigned int>& connect,
                   element_type type) {
  dense1D<unsigned, 8> ranges, pids;
  dense1D<int, 8> types;
  const unsigned cols = connect.cols();
  if (!ranges.resize(2) || !types.resize(1, int(type)) || !pids.resize(cols, 1u)) return detail::OUT_OF_MEMORY;
  ranges[0] = 0;
  ranges[1] = cols;
  return write_deck(f, pos, connect, ranges, types, pids);
}

int NASTRAN_output(const char* path, const dense2D<double>& pos, const dense2D<unsigned int>& connect,
                   const dense1D<unsigned int, 8>& ranges, const dense1D<int, 8>& types,
                   const dense1D<unsigned int, 8>& pids) {
  output_file file(path);
  if (!file) return -1;
  return file.close(NASTRAN_output(file.get(), pos, connect, ranges, types, pids));
}

int NASTRAN_output(const char* path, const dense2D<double>& pos, const dense2D<unsigned int>& connect1,
                   const dense2D<unsigned int>& connect2, element_type type1, element_type type2) {
  output_file file(path);
  if (!file) return -1;
  return file.close(NASTRAN_output(file.get(), pos, connect1, connect2, type1, type2));
}

int NASTRAN_output(const char* path, const dense2D<double>& pos, const dense2D<unsigned int>& connect,
                   element_type type) {
  output_file file(path);
  if (!file) return -1;
  return file.close(NASTRAN_output(file.get(), pos, connect, type));
}

}  // namespace plexa
}  // namespace zeb
