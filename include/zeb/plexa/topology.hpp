// Plexa topology: element boundaries and neighbours, free boundaries and
// colour interfaces of a mesh, node graphs, node-to-element lists,
// sub-domains, grouping of mixed elements by kind.
//
// Each function's comment gives what it does, its inputs, each output with
// its shape and size, and what it returns: the result codes in the order
// they are tested.
//
// Local boundaries (boundary j of an element lists these local nodes, in
// this order; the order is the orientation):
//   ELT_EDGE2   (1), (0)                      boundary j is the node opposite node j
//   ELT_TRIA3   (1,2), (2,0), (0,1)           edge j is opposite node j
//   ELT_QUAD4   (0,1), (1,2), (2,3), (3,0)
//   ELT_TETRA4  (1,2,3), (2,0,3), (0,1,3), (2,1,0)   face j is opposite node j
//   ELT_PYRA5   (0,4,1), (1,4,2), (2,4,3), (3,4,0), (0,1,2,3)
//   ELT_WEDGE6  (0,1,2), (3,5,4), (2,1,4,5), (0,2,5,3), (1,0,3,4)
//   ELT_HEXA8   (0,3,7,4), (1,5,6,2), (0,4,5,1), (3,2,6,7), (0,1,2,3), (4,7,6,5)
// A tetrahedron whose nodes 0, 1, 2 run counter-clockwise seen from node 3
// has every face normal (right-hand rule) pointing out; pyramids, wedges and
// hexahedra have outward faces when their base runs clockwise seen from the
// apex or the top face.  Elements that are positive in the convention of
// other mesh tools (a positive Jacobian, see quality.hpp and core.hpp) have
// their base counter-clockwise: for them the listed faces point out of
// tetrahedra and into pyramids, wedges and hexahedra.  The tables are kept
// so on purpose (boundary output and neighbour rows are indexed by them).
//
// The operations on element boundaries accept ELT_EDGE2, ELT_TRIA3,
// ELT_QUAD4, ELT_FACE_MIX, ELT_TETRA4, ELT_PYRA5, ELT_WEDGE6, ELT_HEXA8 and
// ELT_SOLID_MIX.  A mixed connectivity whose row count is that of a single
// member is read as that member; in a mixed column the element kind is read
// from its markers (row 3 of a face column; rows 4, 5, 6 of a solid column).
//
// A boundary key e*nb + j names boundary j of element e, nb being the
// boundary count of the type (2 ELT_EDGE2, 3 ELT_TRIA3, 4 ELT_QUAD4,
// ELT_FACE_MIX, ELT_TETRA4, 5 ELT_PYRA5, ELT_WEDGE6, 6 ELT_HEXA8,
// ELT_SOLID_MIX; the stride stays nb for the smaller kinds of a mixed
// connectivity): e = key / nb, j = key % nb.
//
// Compressed lists are a pair of vectors: offsets (one more than the number
// of lists, offsets[0] = 0) and items; list i is items[offsets[i]] up to
// items[offsets[i+1]] exclusive.
//
// An output may be the same object as an input, or a view sharing its
// storage: the call reads its inputs as they were on entry.  An output that
// the call empties is then detached from the shared block (the other views
// keep their entries); where an output that grows or an argument changed in
// place shares storage with an input, that input is read from a copy made
// before anything changes (-199 when it cannot be made).  Two outputs of one
// call that are the same object, and two matrices reordered in place that
// share entries, are refused, as each function states, before any other
// check.
//
// Threads: the functions keep no state between calls and start no thread.
// Calls may run at the same time on shared inputs, which they only read, as
// long as no thread writes an input or an output of a call still running.
#pragma once

#include <zeb/plexa/core.hpp>

namespace zeb {
namespace plexa {

// Lists the boundaries of every element.
// Inputs: `connectivity` (one column per element), its `type`.
// Output: `boundaries` gets one new column per element boundary, element by
// element and boundary by boundary in table order, holding the boundary's
// nodes in table order.  Rows: 1 for ELT_EDGE2; 2 for ELT_TRIA3, ELT_QUAD4,
// ELT_FACE_MIX; 3 for ELT_TETRA4; 4 for ELT_PYRA5, ELT_WEDGE6, ELT_HEXA8,
// ELT_SOLID_MIX (a triangular face holds UINT_MAX in row 3).  The output is
// appended to: it must be empty or already have that row count.  A boundary
// shared by two elements is listed once for each of them.
// Returns: 0 (also for an empty connectivity, which leaves the output
// untouched); -1 when the connectivity does not fit the type (row count, or
// an index that check_IDs rejects); -2 when the type is not accepted or the
// output is non-empty with another row count; -199 when memory could not be
// had (the output then keeps its previous contents).
PLEXA_API int get_element_boundaries(const dense2D<unsigned int>& connectivity, element_type type,
                                     dense2D<unsigned int>& boundaries);

// For each boundary of each element, the element on the other side.
// Inputs: `connectivity`, its `type`, and `non_manifold_links`, which decides
// what happens when three or more elements share one boundary: when true the
// first of them (lowest element, then lowest boundary) is linked to every
// other, each other points back to it, and the first ends pointing to the
// last one; when false all of them are left unlinked.  Boundaries are equal
// when their node sequences are equal up to a cyclic rotation, in either
// direction.
// Output: `neighbors`, emptied first, then (nbr_boundaries of the type) x
// (element count): entry (j, e) is the element across boundary j of e, or
// UINT_MAX (free boundary, unlinked, or a row beyond the element's own
// boundaries in a mixed column).
// Returns: 0 (also for an empty connectivity, with an empty output); -1 when
// the connectivity does not fit the type; -2 when the type is not accepted;
// -199 when memory could not be had.
PLEXA_API int get_neighbors(const dense2D<unsigned int>& connectivity, element_type type, bool non_manifold_links,
                            dense2D<unsigned int>& neighbors);

// Free boundaries of a mesh as boundary elements: boundary j of element e is
// free when neighbors(j, e) is UINT_MAX.
// Inputs: `connectivity` and its `type`; `neighbors`, as get_neighbors makes
// it: (nbr_boundaries of the type) x (element count), each entry an element
// index or UINT_MAX.
// Output: `boundaries` gets one new column per free boundary, element by
// element and boundary by boundary in table order, holding the boundary's
// nodes in table order (the orientation its element gives it).  Rows: 1
// for ELT_EDGE2; 2 for ELT_TRIA3, ELT_QUAD4, ELT_FACE_MIX; 3 for ELT_TETRA4;
// 4 for ELT_PYRA5, ELT_WEDGE6, ELT_HEXA8, ELT_SOLID_MIX (a triangular face
// holds UINT_MAX in row 3).  Appended to: it must be empty or already have
// that row count.
// Returns: 0 (also for an empty connectivity, which leaves the output
// untouched); then, in the order tested: -3 when `type` is no element type
// at all; -1 when the connectivity does not fit the type (row count, or a
// mixed column without a member shape); -2 when `neighbors` does not have
// that shape or holds an entry that is neither UINT_MAX nor an element
// index; -4 when the output is non-empty with another row count; -3 when
// the type is not accepted; -199 when memory could not be had.  On failure
// the output is unchanged.
PLEXA_API int get_mesh_boundaries(const dense2D<unsigned int>& connectivity, const dense2D<unsigned int>& neighbors,
                                  element_type type, dense2D<unsigned int>& boundaries);

// Free boundaries of a mesh as boundary keys.
// Inputs: `connectivity`, `neighbors` and `type` as for get_mesh_boundaries.
// Outputs: `keys` gets the key of every free boundary appended, element by
// element and boundary by boundary (only the boundaries of the element's
// own kind in a mixed column); `nb` is set to 0 on entry, then to the
// type's boundary count (the key stride) once the checks pass.
// Returns: 0 (also for an empty connectivity, which leaves `keys` untouched
// and nb at 0); then, in the order tested: -2 when `type` is no element
// type at all; -1 when the connectivity does not fit the type; -2 when the
// type is not accepted, or `neighbors` is not (nbr_boundaries) x (element
// count); -199 when memory could not be had.  On failure `keys` is
// unchanged.
PLEXA_API int get_mesh_bounding_elements(const dense2D<unsigned int>& connectivity,
                                         const dense2D<unsigned int>& neighbors, element_type type,
                                         dense1D<unsigned int, 8>& keys, unsigned int& nb);

// Free boundaries and the interfaces between colour regions.
// Inputs: `connectivity`, `neighbors` and `type` as for get_mesh_boundaries;
// `colors`, one value per element (elements of equal value form a region);
// `both_sides`.
// Output: `boundaries` (rows and appending as for get_mesh_boundaries) gets
// boundary j of element e, nodes in table order, when its neighbour f is
// UINT_MAX or has another colour, and moreover `both_sides` is true or
// f > e.  A free boundary is thus written once; an interface once, from its
// lower-numbered element, when `both_sides` is false, and once from each
// side (opposite orientations) when it is true.  Elements are visited in
// order, boundaries in table order.
// Returns: 0 (also for an empty connectivity, output untouched); then, in
// the order tested: -4 when `type` is no element type at all; -1 when the
// connectivity does not fit the type; -2 when `neighbors` does not have the
// shape above or holds an entry that is neither UINT_MAX nor an element
// index; -3 when `colors` does not have one value per element; -5 when the
// output is non-empty with another row count; -4 when the type is not
// accepted; -199 when memory could not be had.  On failure the output is
// unchanged.
PLEXA_API int get_colors_boundaries(const dense2D<unsigned int>& connectivity, const dense2D<unsigned int>& neighbors,
                                    const dense1D<unsigned int, 8>& colors, element_type type, bool both_sides,
                                    dense2D<unsigned int>& boundaries);

// For each boundary element of a boundary mesh, the element boundary of the
// mesh that carries it.
// Inputs: `boundaries`, one boundary per column with the rows that
// get_mesh_boundaries writes for `type` (trailing UINT_MAX rows end a
// shorter boundary); `connectivity`, `neighbors` and `type` as for
// get_mesh_boundaries; `ancestors`, one element containing each node or
// UINT_MAX (as get_ancestors makes it); `orientation`, the directions that
// count: > 0 only a boundary listing the nodes in the same cyclic order,
// < -1 only one listing them in the reversed order, 0 both (the same
// direction first within an element), -1 both (the reversed direction first
// within an element).  A single-node boundary matches in both directions.
// For column i with first node a, the elements around a are walked from
// ancestors[a] across the element boundaries that hold a (depth first,
// without recursion, each element once); the first of them, in the order
// they are reached, with a local boundary that matches gives the key.
// Outputs: `keys`, emptied first, then one entry per boundary column: the
// key of the matching element boundary, or UINT_MAX (none found, a has no
// ancestor, or a is not below the size of `ancestors`); `nb`, 0 on entry,
// then the type's boundary count once the checks pass.
// Returns: 0 (also when `boundaries` is empty: keys empty, nb 0); then, in
// the order tested: -199 when `keys` cannot be sized; -5 when `type` is no
// element type at all; -1 when `boundaries` does not have the row count of
// the type; -2 when the connectivity does not fit the type; -3 when
// `neighbors` does not have the shape of get_mesh_boundaries or holds an
// entry that is neither UINT_MAX nor an element index; -4 when `ancestors`
// holds an entry that is neither UINT_MAX nor an element index; -5 when the
// type is not accepted; during the walks, -4 when the ancestor of a node
// does not contain it, -3 when the walk reaches an element that does not
// contain the node (a broken neighbour relation); -199 when memory could
// not be had.  On failure `keys` is left empty.
PLEXA_API int get_elements_on_boundaries(const dense2D<unsigned int>& boundaries,
                                         const dense2D<unsigned int>& connectivity,
                                         const dense2D<unsigned int>& neighbors,
                                         const dense1D<unsigned int, 8>& ancestors, element_type type,
                                         int orientation, dense1D<unsigned int, 8>& keys, unsigned int& nb);

// Node graph: for each node 0 ... (largest index), the nodes joined to it by
// an element edge, each once, itself excluded, in order of first discovery
// (elements in ascending order, then the element's edge order).
// Inputs: `connectivity` and `type`.  ELT_NONE joins every two nodes of a
// column; ELT_EDGE2, ELT_TRIA3, ELT_TETRA4 join every node pair of an
// element; ELT_QUAD4, ELT_PYRA5, ELT_WEDGE6, ELT_HEXA8, ELT_FACE_MIX and
// ELT_SOLID_MIX join the ends of the element's edges only (no diagonals).
// UINT_MAX entries are skipped.
// Outputs: `offsets` (node count + 1 entries) and `nodes`, a compressed
// list; both emptied first, and left empty for an empty connectivity; a
// connectivity holding markers only gives offsets = (0).
// Returns: 0; -3 when offsets and nodes are the same object (left empty);
// -5 for a value outside the enumeration; -2 when `type` is not ELT_NONE
// and the row count does not fit it; -5 when `type` has no edge rule
// (ELT_NODE, ELT_EDGE_MIX, quadratic types); -199 when memory could not be
// had (outputs empty).
PLEXA_API int get_node_graph(const dense2D<unsigned int>& connectivity, dense1D<unsigned int, 8>& offsets,
                             dense1D<unsigned int, 8>& nodes, element_type type);

// Node-to-element lists: list v holds, in ascending order, every element
// one of whose entries is v (twice if the element names v twice), for every
// v from 0 to the largest index; UINT_MAX entries are skipped.
// Outputs: `offsets` (node count + 1 entries) and `elements`; both emptied
// first and left empty for an empty connectivity.
// Returns: 0; -3 when offsets and elements are the same object (left empty);
// -199 when memory could not be had (outputs empty).
PLEXA_API int get_connected_elements(const dense2D<unsigned int>& connectivity, dense1D<unsigned int, 8>& offsets,
                                     dense1D<unsigned int, 8>& elements);

// One element containing each node: ancestors[v] is the highest-numbered
// element that names v.
// Inputs: `connectivity` (UINT_MAX entries skipped).
// In place: `ancestors`; an empty one is first sized to (largest index + 1)
// entries of UINT_MAX; a non-empty one keeps its size and the entries no
// element names; indices not below its size are ignored.
// Returns: 0; -199 when `ancestors` could not be sized (left empty) or, when it
// shares storage with the connectivity, the connectivity could not be copied
// (ancestors unchanged).
PLEXA_API int get_ancestors(const dense2D<unsigned int>& connectivity, dense1D<unsigned int, 8>& ancestors);

// Sub-domains: the components of the element adjacency.
// Inputs: `neighbors` (one column per element; entries not below the column
// count, UINT_MAX included, mean none).
// Outputs, both emptied first: `elements`, every element once, sub-domain by
// sub-domain in order of their lowest element, each in breadth-first order
// from that element; `offsets`, the start of each sub-domain plus the element
// count as last entry (offsets = (0) for no column).
// Returns: 0; -3 when elements and offsets are the same object (left empty);
// -199 when memory could not be had (outputs empty).
PLEXA_API int get_subdomains(const dense2D<unsigned int>& neighbors, dense1D<unsigned int, 8>& elements,
                             dense1D<unsigned int, 8>& offsets);

// The same sub-domains, with the elements renumbered sub-domain by
// sub-domain.
// In place: `connectivity` and `neighbors`, their columns reordered so that
// sub-domain k is made of the new elements offsets[k] to offsets[k+1] - 1;
// the entries of `neighbors` are renumbered accordingly (entries that name
// no element are left as they are).
// Output: `offsets` as above, emptied first.
// Returns: 0; -2 when the two matrices share entries (one object, or
// overlapping views of one block: no entry can hold both results), then -2
// when they do not have the same column count; -199 when memory could not be
// had (both matrices unchanged).
PLEXA_API int get_subdomains(dense2D<unsigned int>& connectivity, dense2D<unsigned int>& neighbors,
                             dense1D<unsigned int, 8>& offsets);

// Groups the columns of a (typically mixed) connectivity by node count, the
// node count of a column being the number of its entries before the first
// UINT_MAX.
// In place: `connectivity`; columns are moved so that more nodes come first,
// equal counts keeping their order; columns with no node are dropped and the
// matrix shrinks to the kept columns.
// Outputs, all emptied first: `node_counts` and `group_ends`, one entry per
// group: group g holds the columns group_ends[g-1] (0 for g = 0) to
// group_ends[g] - 1, each of node_counts[g] nodes; `new_index` (one entry per
// original column): its new position, UINT_MAX for a dropped column.
// Returns: 0; -3 when group_ends is the same object as node_counts, -4 when
// new_index is the same object as either (outputs left empty); -199 when
// memory could not be had (connectivity unchanged, outputs empty).
PLEXA_API int sort_elfes(dense2D<unsigned int>& connectivity, dense1D<unsigned int, 8>& node_counts,
                         dense1D<unsigned int, 8>& group_ends, dense1D<unsigned int, 8>& new_index);

// As above, with the neighbours of the elements.
// In place: a non-empty `neighbors` (one column per element): its columns
// move with the elements, the matrix shrinks alike, and its entries naming
// an element are replaced by that element's new index (UINT_MAX for a
// dropped one).
// Returns: 0; -4 when group_ends is the same object as node_counts, -5 when
// new_index is the same object as either (outputs left empty); -2 when
// `neighbors` shares entries with the connectivity (one object, or
// overlapping views of one block); -1 when `neighbors` is non-empty and its
// column count differs from the connectivity's; -199 when memory could not
// be had (matrices unchanged, outputs empty).
PLEXA_API int sort_elfes(dense2D<unsigned int>& connectivity, dense2D<unsigned int>& neighbors,
                         dense1D<unsigned int, 8>& node_counts, dense1D<unsigned int, 8>& group_ends,
                         dense1D<unsigned int, 8>& new_index);

}  // namespace plexa
}  // namespace zeb
