// Expansion of connectivity blocks into simple blocks for the mesh writers.
//
// A writer receives blocks of any element type, mixed ones included.  The
// expansion turns them into blocks of one linear or higher-order type each:
// empty blocks are skipped (they keep their position in the numbering of
// the references), blocks of a simple type are kept as they are, and a mixed
// block (ELT_FACE_MIX, ELT_SOLID_MIX) is copied and grouped by element kind
// with sort_elfes, each group becoming a block of the member type (ELT_TRIA3,
// ELT_QUAD4; ELT_TETRA4, ELT_PYRA5, ELT_WEDGE6, ELT_HEXA8) cut to its node
// count.  Groups keep the order sort_elfes gives them (more nodes first),
// and the columns of a group keep their order.
#pragma once

#include <zeb/dense.hpp>
#include <zeb/plexa/core.hpp>

namespace zeb {
namespace plexa {
namespace detail {

// One block of a single element type, read as a view: column j starts at
// storage->data() + start + j * ld.
struct simple_block {
  vector_num<unsigned, 8>* storage;
  unsigned start, rows, cols, ld;
  element_type type;
  unsigned reference;  // position of the block it comes from

  const unsigned* data() const noexcept { return storage->data() + start; }
  // The block as a matrix view sharing its storage.
  dense2D<unsigned> view() const noexcept {
    Ptr<vector_num<unsigned, 8>> p;
    p = storage;
    return dense2D<unsigned>(p, start, rows, cols, ld);
  }
};

// The checks every block writer makes on the blocks [first, last) and their
// types, in this order: -4 when last precedes first; -5 when the number of
// blocks is not type_count; -3 when a non-empty block is refused by
// check_IDs(block, type, nodes) (a type outside the enumeration included).
// Returns 0 when all pass.
int check_blocks(const dense2D<unsigned>* first, const dense2D<unsigned>* last, const int* types,
                 unsigned type_count, unsigned nodes) noexcept;

// Blocks given as column ranges of one connectivity (the block form of the
// writers: NASTRAN, MEDIT with per-element references, OBJ): block i holds
// the columns ranges[i] to ranges[i+1] - 1 and has the element type
// types[i]; each element has one entry of `ids`.
//
// The rows through which a block of `type` is read in a connectivity of
// `rows` rows: min(rows, 4) for ELT_FACE_MIX, min(rows, 20) for
// ELT_SOLID_MIX, nbr_nodes(type) otherwise; 0 with fits = false when the
// connectivity is too short for the type.
unsigned ranged_block_rows(element_type type, unsigned rows, bool& fits) noexcept;
// The member type of a mixed column read through `rows` rows (rows past
// them count as unused).
element_type ranged_column_type(element_type mixed, const unsigned* col, unsigned rows) noexcept;
// The checks of the block form, in this order: -5 when ranges.size() is not
// types.size() + 1; -6 when ids.size() is not connect.cols(); -4 when the
// ranges decrease or go past connect.cols(); -3 when a block with columns
// is refused by check_IDs(block, type, nodes) (fewer rows than its type
// needs and out-of-range types included).  0 when all pass.
int check_ranged_blocks(const dense2D<unsigned>& connect, const dense1D<unsigned, 8>& ranges,
                        const dense1D<int, 8>& types, const dense1D<unsigned, 8>& ids, unsigned nodes) noexcept;

class block_expansion {
 public:
  block_expansion() noexcept = default;
  block_expansion(const block_expansion&) = delete;
  block_expansion& operator=(const block_expansion&) = delete;
  ~block_expansion() { clear(); }

  // Expands the blocks [first, last), block i of type types[i].  Every
  // non-empty block must have passed check_IDs with its type.  Simple
  // blocks of the caller's blocks refer to the caller's storage, which must
  // outlive their use.  Returns 0, or -199 when memory could not be had
  // (the expansion is then empty).
  int expand(const dense2D<unsigned>* first, const dense2D<unsigned>* last, const int* types) noexcept;

  unsigned size() const noexcept { return blocks_.size(); }
  const simple_block& operator[](unsigned k) const noexcept { return blocks_[k]; }
  const simple_block* begin() const noexcept { return blocks_.begin(); }
  const simple_block* end() const noexcept { return blocks_.end(); }

  void clear() noexcept;

 private:
  dense1D<simple_block, 8> blocks_;
  dense1D<vector_num<unsigned, 8>*, 8> held_;  // grouped copies of mixed blocks, one count each
};

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
