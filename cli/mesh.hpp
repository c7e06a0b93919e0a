// A mesh as the tool holds it between reading and writing: nodes and any
// number of connectivity blocks, each with its element type, laid out as the
// library's block writers take them.
#pragma once

#include <string>
#include <vector>

#include <zeb/dense.hpp>
#include <zeb/plexa/core.hpp>

namespace plexa_cli {

struct mesh {
  zeb::dense2D<double> coords;                 // one column per node
  std::vector<zeb::dense2D<unsigned>> blocks;  // one connectivity per block
  zeb::dense1D<int, 8> types;                  // element_type of each block
  // One unsigned per element of each block, as the file it was read from
  // gave it (NASTRAN property, MEDIT reference, OBJ group), or empty for a
  // block without (writers then number by block).
  std::vector<zeb::dense1D<unsigned, 8>> ids;
  std::vector<std::string> id_names;  // names of the ids, where the format has them (OBJ groups)

  // Appends a block (a view sharing connect's storage) and its ids (empty,
  // or one per column); false when memory runs out, with the mesh unchanged.
  bool add_block(const zeb::dense2D<unsigned>& connect, zeb::plexa::element_type type,
                 const zeb::dense1D<unsigned, 8>& block_ids = {});
  // Replaces the mesh by what a reader returned: nodes, blocks as column
  // ranges of one connectivity, one id per element.  The blocks are views
  // of `connect`, each cut to its type's rows.  False when memory runs out.
  bool assign(const zeb::dense2D<double>& pos, const zeb::dense2D<unsigned>& connect,
              const zeb::dense1D<unsigned, 8>& ranges, const zeb::dense1D<int, 8>& types,
              const zeb::dense1D<unsigned, 8>& element_ids);

  unsigned block_count() const { return types.size(); }
  // The blocks as the half-open array range the writers take.
  const zeb::dense2D<unsigned>* first_block() const { return blocks.data(); }
  const zeb::dense2D<unsigned>* last_block() const { return blocks.data() + blocks.size(); }
  // Columns of all blocks.
  unsigned element_count() const;

  // The blocks side by side in one connectivity of as many rows as the
  // highest block (unused entries UINT_MAX), block k holding the columns
  // ranges[k] to ranges[k+1] - 1: the layout of the NASTRAN writer.  False
  // when memory runs out.
  bool joined(zeb::dense2D<unsigned>& connect, zeb::dense1D<unsigned, 8>& ranges) const;
  // The ids of the joined layout: each block's own, or first + its
  // position for a block without ids.  False when memory runs out.
  bool joined_ids(zeb::dense1D<unsigned, 8>& element_ids, unsigned first) const;

  // The same mesh with every mixed block (ELT_FACE_MIX, ELT_SOLID_MIX)
  // replaced by one block per element kind, grouped as sort_elfes groups
  // them, for writers that take simple blocks only.  False when memory runs
  // out.
  bool split_mixed(mesh& out) const;
};

// The built-in mesh (see builtin_mesh.hpp) as one ELT_SOLID_MIX block; false
// when memory runs out.
bool builtin_mesh(mesh& m);

}  // namespace plexa_cli
