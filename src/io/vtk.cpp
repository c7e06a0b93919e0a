// Legacy VTK files: the conversion of connectivities into VTK cells and the
// unstructured-grid writer.
#include <cstddef>
#include <cstdint>
#include <cstdio>

#include <zeb/plexa/indices.hpp>
#include <zeb/plexa/io/vtk.hpp>

#include "core/element_model.hpp"
#include "core/result_codes.hpp"
#include "io/common/block_expansion.hpp"
#include "io/common/output_file.hpp"
#include "io/common/text_writer.hpp"

namespace zeb {
namespace plexa {

namespace {

using detail::block_expansion;
using detail::output_file;
using detail::simple_block;
using detail::text_writer;

constexpr unsigned POLY_VERTEX = 2;
constexpr unsigned TETRA = 10;

// The VTK cell of an element type and the number k of its leading rows that
// form it; type 0: no cell.
struct vtk_cell {
  unsigned char type, k;
};

constexpr vtk_cell vtk_cells[ELEMENT_TYPE_COUNT] = {
    {0, 0},       // ELT_NONE
    {0, 0},       // ELT_NODE
    {0, 0},       // ELT_EDGE_MIX
    {3, 2},       // ELT_EDGE2
    {3, 2},       // ELT_EDGE3
    {0, 0},       // ELT_FACE_MIX
    {5, 3},       // ELT_TRIA3
    {9, 4},       // ELT_QUAD4
    {5, 3},       // ELT_TRIA6
    {9, 4},       // ELT_QUAD8
    {9, 4},       // ELT_QUAD9
    {0, 0},       // ELT_SOLID_MIX
    {TETRA, 4},   // ELT_TETRA4
    {TETRA, 4},   // ELT_TETRA10
    {14, 5},      // ELT_PYRA5
    {0, 0},       // ELT_PYRA13: left out
    {14, 5},      // ELT_PYRA14
    {13, 6},      // ELT_WEDGE6
    {0, 0},       // ELT_WEDGE15: left out
    {13, 6},      // ELT_WEDGE18
    {12, 8},      // ELT_HEXA8
    {12, 8},      // ELT_HEXA20
    {12, 8},      // ELT_HEXA27
};

bool has_cell(int type) noexcept { return detail::is_element_type(type) && vtk_cells[type].type != 0; }

// Entries that `cols` elements of `rows` rows add to a cell list and to a
// cell-type list.
struct cell_growth {
  std::uint64_t cells, types;
};
cell_growth growth_of(element_type type, unsigned rows, unsigned cols) noexcept {
  const unsigned k = vtk_cells[type].k;
  if (rows > k) return {std::uint64_t(rows + 2) * cols, 2 * std::uint64_t(cols)};
  return {std::uint64_t(k + 1) * cols, cols};
}

// Moves `v` to storage of its own, entries unchanged.
bool detach(dense1D<unsigned, 8>& v) noexcept {
  dense1D<unsigned, 8> own;
  if (!own.copy(v)) return false;
  v = own;
  return true;
}

bool shares(const dense1D<unsigned, 8>& v, const vector_num<unsigned, 8>* storage) noexcept {
  return storage && v.storage() == storage;
}

}  // namespace

int vtk_convert(const dense2D<unsigned int>& connect, element_type type, unsigned int& ncells,
                dense1D<unsigned int, 8>& cells, dense1D<unsigned int, 8>& cell_types) {
  if (!check_IDs(connect, type, detail::NO_INDEX)) return -1;
  if (!has_cell(type)) return -2;
  if (&cells == &cell_types) return -5;
  if (connect.empty()) return 0;
  const unsigned rows = connect.rows(), cols = connect.cols(), k = vtk_cells[type].k;
  const cell_growth grow = growth_of(type, rows, cols);
  if (cells.size() + grow.cells > UINT32_MAX || cell_types.size() + grow.types > UINT32_MAX)
    return detail::OUT_OF_MEMORY;

  // Appending to an output that shares its storage with the input or with
  // the other output would overwrite entries still to be read.
  if ((shares(cells, connect.storage()) || shares(cells, cell_types.storage())) && !detach(cells))
    return detail::OUT_OF_MEMORY;
  if (shares(cell_types, connect.storage()) && !detach(cell_types)) return detail::OUT_OF_MEMORY;

  const unsigned cells0 = cells.size(), types0 = cell_types.size();
  if (!cells.reserve(unsigned(cells0 + grow.cells)) || !cell_types.reserve(unsigned(types0 + grow.types)))
    return detail::OUT_OF_MEMORY;
  cells.resize(unsigned(cells0 + grow.cells));
  cell_types.resize(unsigned(types0 + grow.types));

  const unsigned char cell_type = vtk_cells[type].type;
  const unsigned* col = connect.data();
  const std::size_t ld = connect.ld();
  unsigned* out = cells.data() + cells0;
  unsigned* types_out = cell_types.data() + types0;
  for (unsigned j = 0; j < cols; ++j, col += ld) {
    *types_out++ = cell_type;
    *out++ = k;
    for (unsigned i = 0; i < k; ++i) *out++ = col[i];
    if (cell_type == TETRA) {
      const unsigned third = out[-2];
      out[-2] = out[-1];
      out[-1] = third;
    }
    if (rows > k) {
      *types_out++ = POLY_VERTEX;
      *out++ = rows - k;
      for (unsigned i = k; i < rows; ++i) *out++ = col[i];
    }
  }
  ncells += unsigned(grow.types);
  return 0;
}

int vtk_output(std::FILE* f, const dense2D<double>& pos, unsigned int ncells, const dense1D<unsigned int, 8>& cells,
               const dense1D<unsigned int, 8>& cell_types, const write_options& options) {
  if (!f || std::ferror(f)) return -1;
  const unsigned d = pos.rows(), n = pos.cols();
  if (d != 2 && d != 3) return -2;

  // The list must hold exactly ncells cells, over existing nodes.
  const unsigned size = cells.size();
  const unsigned* c = cells.data();
  std::uint64_t at = 0;
  for (unsigned i = 0; i < ncells; ++i) {
    if (at >= size) return -3;
    at += std::uint64_t(c[at]) + 1;
  }
  if (at != size) return -3;
  for (unsigned i = 0, p = 0; i < ncells; ++i) {
    const unsigned end = p + 1 + c[p];
    for (++p; p < end; ++p)
      if (c[p] >= n) return -4;
  }
  if (cell_types.size() != ncells) return -5;

  text_writer w(f);
  w.set_digits(options.digits);
  w.put("# vtk DataFile Version 2.0\nGenerated by ZEB Plexa(R).\nASCII\nDATASET UNSTRUCTURED_GRID\n\nPOINTS ");
  w.put_int(n);
  w.put(" double\n");
  const double* p = pos.data();
  const std::size_t ld = pos.ld();
  for (unsigned j = 0; j < n; ++j, p += ld) {
    w.put_fixed(p[0]);
    w.put(' ');
    w.put_fixed(p[1]);
    w.put(' ');
    if (d == 3) w.put_fixed(p[2]);
    else w.put("0.000000", 8);
    w.put('\n');
  }

  w.put("\nCELLS ");
  w.put_int(ncells);
  w.put(' ');
  w.put_int(size);
  w.put('\n');
  for (unsigned i = 0, q = 0; i < ncells; ++i) {
    const unsigned end = q + 1 + c[q];
    for (; q < end; ++q) {
      w.put_int(c[q]);
      w.put(' ');
    }
    w.put('\n');
  }

  w.put("\nCELL_TYPES ");
  w.put_int(cell_types.size());
  w.put('\n');
  for (unsigned t : cell_types) {
    w.put_int(t);
    w.put('\n');
  }
  return w.finish();
}

namespace {

// The writer behind the path overloads: blocks [first, last), block i of
// type types[i], with type_count types given.
int write_vtk(const char* path, const dense2D<double>& pos, const dense2D<unsigned>* first,
              const dense2D<unsigned>* last, const int* types, unsigned type_count,
              const write_options& options = write_options()) {
  output_file file(path);
  if (!file) return -1;
  const unsigned d = pos.rows(), n = pos.cols();
  if (d != 2 && d != 3) return -2;
  if (const int r = detail::check_blocks(first, last, types, type_count, n)) return r;

  block_expansion blocks;
  if (blocks.expand(first, last, types) != 0) return detail::OUT_OF_MEMORY;

  // Room for every cell at once, so that the conversions do not grow the
  // lists block after block.
  std::uint64_t cell_entries = 0, type_entries = 0;
  for (const simple_block& b : blocks) {
    if (!has_cell(b.type)) continue;
    const cell_growth grow = growth_of(b.type, b.rows, b.cols);
    cell_entries += grow.cells;
    type_entries += grow.types;
  }
  dense1D<unsigned, 8> cells, cell_types;
  if (cell_entries > UINT32_MAX || !cells.reserve(unsigned(cell_entries)) ||
      !cell_types.reserve(unsigned(type_entries)))
    return detail::OUT_OF_MEMORY;
  unsigned ncells = 0;
  for (const simple_block& b : blocks)
    if (const int r = vtk_convert(b.view(), b.type, ncells, cells, cell_types)) return r;
  return file.close(vtk_output(file.get(), pos, ncells, cells, cell_types, options));
}

}  // namespace

int vtk_output(const char* path, const dense2D<double>& pos, const dense2D<unsigned int>* first,
               const dense2D<unsigned int>* last, const dense1D<int, 8>& types, const write_options& options) {
  return write_vtk(path, pos, first, last, types.data(), types.size(), options);
}

int vtk_output(const char* path, const dense2D<double>& pos, const dense2D<unsigned int>& connect1,
               const dense2D<unsigned int>& connect2, element_type type1, element_type type2) {
  const dense2D<unsigned> blocks[2] = {connect1, connect2};
  const int types[2] = {type1, type2};
  return write_vtk(path, pos, blocks, blocks + 2, types, 2);
}

int vtk_output(const char* path, const dense2D<double>& pos, const dense2D<unsigned int>& connect,
               element_type type) {
  const int types[1] = {type};
  return write_vtk(path, pos, &connect, &connect + 1, types, 1);
}

}  // namespace plexa
}  // namespace zeb
