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
