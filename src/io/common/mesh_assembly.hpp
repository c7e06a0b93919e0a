// The shape every mesh reader returns, assembled from what a file holds.
//
// Files name their nodes by id, not by position, and list elements of
// several kinds in any order.  A reader hands each node (id, coordinates)
// and each element (type, node ids, element id, one unsigned per element:
// property, reference or group) to a mesh_assembly as it parses them, then
// finish() resolves the ids and fills the outputs:
//   pos      dim x (node count): the nodes in ascending id order;
//   connect  (largest node count of an element) x (element count), elements
//            in file order, node ids replaced by positions, unused rows
//            UINT_MAX;
//   ranges   (block count + 1) entries: block b is the columns ranges[b] to
//            ranges[b+1] - 1; a new block starts wherever the type changes;
//   types    the element_type of each block;
//   ids      one entry per element: the unsigned it was given;
//   and, when asked for, node_ids (ascending) and element_ids (file order).
// A node id given twice, or an element naming a node id that no node has,
// is reported and the outputs are left empty.  Storage grows with what is
// added, so a reader's memory stays bounded by what the file holds.
#pragma once

#include <zeb/dense.hpp>
#include <zeb/plexa/core.hpp>

namespace zeb {
namespace plexa {
namespace detail {

class mesh_assembly {
 public:
  // What finish() found.
  enum class outcome { complete, out_of_memory, duplicate_node, missing_node };

  // The result code of an outcome: 0, -199, or the reader's own codes for
  // a missing and a repeated node id.
  static constexpr int code(outcome o, int missing, int duplicate) noexcept {
    return o == outcome::complete ? 0 : o == outcome::out_of_memory ? -199 : o == outcome::missing_node ? missing
                                                                                                       : duplicate;
  }

  // Nodes of `dim` coordinates (1 to 3).
  explicit mesh_assembly(unsigned dim) noexcept : dim_(dim) {}

  // Adds a node; false when memory runs out.
  bool add_node(unsigned id, const double* x) noexcept;
  // Adds an element of `count` nodes (named by their ids, at most 255);
  // false when memory runs out.
  bool add_element(element_type type, const unsigned* node_ids, unsigned count, unsigned element_id,
                   unsigned id) noexcept;

  // Room for `nodes` more nodes and `elements` more elements of `per_element`
  // nodes, so that storage does not grow step by step.  A hint: a reader
  // passes counts that the file announces, bounded by what the file can
  // hold; false when the memory cannot be had (the assembly is unchanged).
  bool reserve(unsigned nodes, unsigned elements, unsigned per_element) noexcept;

  unsigned node_count() const noexcept { return node_ids_.size(); }
  unsigned element_count() const noexcept { return ids_.size(); }

  // Fills the outputs (emptied first; node_ids and element_ids may be null
  // when not wanted).  On any outcome but complete every output is empty.
  // The assembly is empty afterwards, whatever the outcome: its storage
  // becomes the outputs where it can (the coordinates when the nodes came
  // in id order, the node ids when the elements all have one node count,
  // the ids and element ids always).
  outcome finish(dense2D<double>& pos, dense2D<unsigned>& connect, dense1D<unsigned, 8>& ranges,
                 dense1D<int, 8>& types, dense1D<unsigned, 8>& ids, dense1D<unsigned, 8>* node_ids,
                 dense1D<unsigned, 8>* element_ids) noexcept;

 private:
  // Consecutive elements of one type and node count.
  struct run {
    unsigned char type;
    unsigned char count;
    unsigned elements;
  };

  unsigned dim_;
  dense1D<unsigned, 8> node_ids_;
  dense1D<double, 8> coords_;  // dim_ per node, in the order added
  dense1D<unsigned, 8> refs_;  // node ids of all elements, one after the other
  dense1D<run, 8> runs_;       // the elements in order
  // Per element, kept apart so that finish() hands them over as they are.
  dense1D<unsigned, 8> element_ids_, ids_;
};

// The entry step of a reader that returns the mesh shape above: every
// output emptied (its storage released), then the code of two outputs that
// are one object, the later one's (ids -6, node_ids -7, element_ids -8, as
// the readers number their arguments), or 0.  node_ids and element_ids may
// be null when not asked for.
int empty_read_outputs(dense2D<double>& pos, dense2D<unsigned>& connect, dense1D<unsigned, 8>& ranges,
                       dense1D<int, 8>& types, dense1D<unsigned, 8>& ids, dense1D<unsigned, 8>* node_ids,
                       dense1D<unsigned, 8>* element_ids) noexcept;

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
