// Topology: element boundaries and neighbours, free boundaries and colour
// interfaces, node graphs, node-to-element lists, sub-domains, grouping of
// mixed elements.
#include "convert.hpp"
#include "errors.hpp"
#include "families.hpp"

namespace plexa_py {

namespace zp = zeb::plexa;

namespace {

// The row count of the boundary elements of a type (the columns of an empty
// result).
unsigned boundary_rows(element_type type) {
  switch (type) {
    case zp::ELT_EDGE2: return 1;
    case zp::ELT_TRIA3: case zp::ELT_QUAD4: case zp::ELT_FACE_MIX: return 2;
    case zp::ELT_TETRA4: return 3;
    default: return 4;
  }
}

py::array boundaries_out(const index_matrix& b, element_type type) { return array_out(b, boundary_rows(type)); }

py::array element_boundaries(py::handle connectivity, py::handle type) {
  const index_matrix c = matrix_in<unsigned>(connectivity, "connectivity");
  const element_type t = type_in(type, "type");
  index_matrix b;
  check(without_gil([&] { return zp::get_element_boundaries(c, t, b); }),
        "get_element_boundaries(connectivity, type, boundaries)");
  return boundaries_out(b, t);
}

py::array neighbors(py::handle connectivity, py::handle type, bool non_manifold_links) {
  const index_matrix c = matrix_in<unsigned>(connectivity, "connectivity");
  const element_type t = type_in(type, "type");
  index_matrix n;
  check(without_gil([&] { return zp::get_neighbors(c, t, non_manifold_links, n); }),
        "get_neighbors(connectivity, type, non_manifold_links, neighbors)");
  return array_out(n);
}

py::array mesh_boundaries(py::handle connectivity, py::handle neighbors, py::handle type) {
  const index_matrix c = matrix_in<unsigned>(connectivity, "connectivity");
  const index_matrix n = matrix_in<unsigned>(neighbors, "neighbors");
  const element_type t = type_in(type, "type");
  index_matrix b;
  check(without_gil([&] { return zp::get_mesh_boundaries(c, n, t, b); }),
        "get_mesh_boundaries(connectivity, neighbors, type, boundaries)");
  return boundaries_out(b, t);
}

py::tuple bounding_elements(py::handle connectivity, py::handle neighbors, py::handle type) {
  const index_matrix c = matrix_in<unsigned>(connectivity, "connectivity");
  const index_matrix n = matrix_in<unsigned>(neighbors, "neighbors");
  const element_type t = type_in(type, "type");
  index_vector keys;
  unsigned nb = 0;
  check(without_gil([&] { return zp::get_mesh_bounding_elements(c, n, t, keys, nb); }),
        "get_mesh_bounding_elements(connectivity, neighbors, type, keys, nb)");
  return py::make_tuple(array_out(keys), zp::nbr_boundaries(t));
}

py::array colors_boundaries(py::handle connectivity, py::handle neighbors, py::handle colors, py::handle type,
                            bool both_sides) {
  const index_matrix c = matrix_in<unsigned>(connectivity, "connectivity");
  const index_matrix n = matrix_in<unsigned>(neighbors, "neighbors");
  const index_vector k = vector_in<unsigned>(colors, "colors");
  const element_type t = type_in(type, "type");
  index_matrix b;
  check(without_gil([&] { return zp::get_colors_boundaries(c, n, k, t, both_sides, b); }),
        "get_colors_boundaries(connectivity, neighbors, colors, type, both_sides, boundaries)");
  return boundaries_out(b, t);
}

py::tuple elements_on_boundaries(py::handle boundaries, py::handle connectivity, py::handle neighbors,
                                 py::handle ancestors, py::handle type, int orientation) {
  const index_matrix b = matrix_in<unsigned>(boundaries, "boundaries");
  const index_matrix c = matrix_in<unsigned>(connectivity, "connectivity");
  const index_matrix n = matrix_in<unsigned>(neighbors, "neighbors");
  const index_vector a = vector_in<unsigned>(ancestors, "ancestors");
  const element_type t = type_in(type, "type");
  index_vector keys;
  unsigned nb = 0;
  check(without_gil([&] { return zp::get_elements_on_boundaries(b, c, n, a, t, orientation, keys, nb); }),
        "get_elements_on_boundaries(boundaries, connectivity, neighbors, ancestors, type, orientation, keys, nb)");
  return py::make_tuple(array_out(keys), zp::nbr_boundaries(t));
}

py::tuple node_graph(py::handle connectivity, py::handle type) {
  const index_matrix c = matrix_in<unsigned>(connectivity, "connectivity");
  const element_type t = type_in(type, "type");
  index_vector offsets, nodes;
  check(without_gil([&] { return zp::get_node_graph(c, offsets, nodes, t); }),
        "get_node_graph(connectivity, offsets, nodes, type)");
  return py::make_tuple(array_out(offsets), array_out(nodes));
}

py::tuple connected_elements(py::handle connectivity) {
  const index_matrix c = matrix_in<unsigned>(connectivity, "connectivity");
  index_vector offsets, elements;
  check(without_gil([&] { return zp::get_connected_elements(c, offsets, elements); }),
        "get_connected_elements(connectivity, offsets, elements)");
  return py::make_tuple(array_out(offsets), array_out(elements));
}

py::array ancestors(py::handle connectivity, py::handle given) {
  const index_matrix c = matrix_in<unsigned>(connectivity, "connectivity");
  index_vector a = given.is_none() ? index_vector() : vector_inout<unsigned>(given, "ancestors", false);
  check(without_gil([&] { return zp::get_ancestors(c, a); }), "get_ancestors(connectivity, ancestors)");
  return array_out(a);
}

py::tuple subdomains(py::handle neighbors, py::handle connectivity) {
  index_vector offsets;
  if (connectivity.is_none()) {
    const index_matrix n = matrix_in<unsigned>(neighbors, "neighbors");
    index_vector elements;
    check(without_gil([&] { return zp::get_subdomains(n, elements, offsets); }),
          "get_subdomains(neighbors, elements, offsets)");
    return py::make_tuple(array_out(elements), array_out(offsets));
  }
  index_matrix c = matrix_inout<unsigned>(connectivity, "connectivity", false);
  index_matrix n = matrix_inout<unsigned>(neighbors, "neighbors", false);
  check(without_gil([&] { return zp::get_subdomains(c, n, offsets); }),
        "get_subdomains(connectivity, neighbors, offsets)");
  return py::make_tuple(array_out(c), array_out(n), array_out(offsets));
}

py::tuple sort_elfes(py::handle connectivity, py::handle neighbors) {
  index_matrix c = matrix_inout<unsigned>(connectivity, "connectivity", false);
  index_vector counts, ends, index;
  if (neighbors.is_none()) {
    check(without_gil([&] { return zp::sort_elfes(c, counts, ends, index); }),
          "sort_elfes(connectivity, node_counts, group_ends, new_index)");
    return py::make_tuple(array_out(c), array_out(counts), array_out(ends), array_out(index));
  }
  index_matrix n = matrix_inout<unsigned>(neighbors, "neighbors", false);
  check(without_gil([&] { return zp::sort_elfes(c, n, counts, ends, index); }),
        "sort_elfes(connectivity, neighbors, node_counts, group_ends, new_index)");
  return py::make_tuple(array_out(c), array_out(n), array_out(counts), array_out(ends), array_out(index));
}

void bind_topology(py::module_& m) {
  m.def("get_element_boundaries", &element_boundaries, py::arg("connectivity"), py::arg("type"),
        R"(get_element_boundaries(connectivity, type) -> ndarray

The boundaries of every element, element by element and boundary by
boundary in the order of the local boundary tables (boundaries shared by two
elements are listed for each), each holding its nodes in table order.
Columns: 1 for EDGE2; 2 for TRIA3, QUAD4, FACE_MIX; 3 for TETRA4; 4 for
PYRA5, WEDGE6, HEXA8, SOLID_MIX (a triangular face ends with NO_INDEX).

Accepted types: EDGE2, TRIA3, QUAD4, FACE_MIX, TETRA4, PYRA5, WEDGE6, HEXA8,
SOLID_MIX.  Raises Error -1 when the connectivity does not fit the type; -2
for another type.)");

  m.def("get_neighbors", &neighbors, py::arg("connectivity"), py::arg("type"), py::arg("non_manifold_links") = false,
        R"(get_neighbors(connectivity, type, non_manifold_links=False) -> ndarray

For each boundary of each element, the element on the other side: an (m, nb)
array, nb = nbr_boundaries(type); entry (e, j) is the element across
boundary j of element e, or NO_INDEX (a free boundary, an unlinked one, or
a boundary beyond the element's own in a mixed row).  Boundaries match
when their nodes are equal up to a rotation, in either direction.

non_manifold_links: when three or more elements share a boundary, link the
  first of them (lowest element, then boundary) with every other, each
  other pointing back to it; otherwise all of them stay unlinked.

Accepted types as get_element_boundaries.  Raises Error -1 when the
connectivity does not fit the type; -2 for another type.)");

  m.def("get_mesh_boundaries", &mesh_boundaries, py::arg("connectivity"), py::arg("neighbors"), py::arg("type"),
        R"(get_mesh_boundaries(connectivity, neighbors, type) -> ndarray

The free boundaries of a mesh (boundary j of element e where neighbors[e, j]
is NO_INDEX) as boundary elements, element by element, their nodes in the
order of the boundary tables (the orientation their element gives them).
Columns as get_element_boundaries.

neighbors: as get_neighbors makes it.
Raises Error -3 for a type that is not accepted; -1 when the connectivity
does not fit the type; -2 when neighbors does not have its shape or names
no element.)");

  m.def("get_mesh_bounding_elements", &bounding_elements, py::arg("connectivity"), py::arg("neighbors"),
        py::arg("type"), R"(get_mesh_bounding_elements(connectivity, neighbors, type) -> tuple[ndarray, int]

The free boundaries of a mesh as boundary keys e * nb + j (boundary j of
element e), element by element.  Returns (keys, nb), nb = nbr_boundaries(type).

Raises Error -1 when the connectivity does not fit the type; -2 for a type
that is not accepted or neighbors not of the shape (m, nb).)");

  m.def("get_colors_boundaries", &colors_boundaries, py::arg("connectivity"), py::arg("neighbors"),
        py::arg("colors"), py::arg("type"), py::arg("both_sides") = false,
        R"(get_colors_boundaries(connectivity, neighbors, colors, type, both_sides=False) -> ndarray

The free boundaries and the interfaces between colour regions: boundary j of
element e when its neighbour f is NO_INDEX or of another colour, and f > e
unless both_sides (then an interface is listed from each side, with
opposite orientations).  Columns as get_mesh_boundaries.

colors: one value per element.
Raises Error -1 when the connectivity does not fit the type; -2 for the
neighbours; -3 when colors does not have one value per element; -4 for a
type that is not accepted.)");

  m.def("get_elements_on_boundaries", &elements_on_boundaries, py::arg("boundaries"), py::arg("connectivity"),
        py::arg("neighbors"), py::arg("ancestors"), py::arg("type"), py::arg("orientation") = 0,
        R"(get_elements_on_boundaries(boundaries, connectivity, neighbors, ancestors, type, orientation=0) -> tuple[ndarray, int]

For each boundary element (a row of `boundaries`, laid out as
get_mesh_boundaries writes them), the key e * nb + j of the element boundary
of the mesh that carries it, or NO_INDEX.  The elements around its first
node are walked from that node's ancestor across the neighbour links.
Returns (keys, nb).

ancestors: one element holding each node, as get_ancestors makes it.
orientation: > 0 only a boundary with the nodes in the same cyclic order;
  < -1 only the reversed order; 0 both, the same first; -1 both, the
  reversed first.
Raises Error -1 when boundaries has the wrong column count; -2 when the
connectivity does not fit the type; -3 for the neighbours (also a broken
neighbour relation met during a walk); -4 for the ancestors; -5 for a type
that is not accepted.)");

  m.def("get_node_graph", &node_graph, py::arg("connectivity"), py::arg("type") = 0,
        R"(get_node_graph(connectivity, type=ElementType.NONE) -> tuple[ndarray, ndarray]

The node graph as a compressed list (offsets, nodes): for each node v from 0
to the largest index, nodes[offsets[v]:offsets[v+1]] are the nodes joined to
v by an element edge, each once, in order of discovery.  NONE joins every
two nodes of an element; EDGE2, TRIA3, TETRA4 every pair; QUAD4, PYRA5,
WEDGE6, HEXA8 and the mixed types the ends of their edges only.

Raises Error -2 when the row count does not fit the type; -5 for a type
without an edge rule (NODE, EDGE_MIX, the quadratic types).)");

  m.def("get_connected_elements", &connected_elements, py::arg("connectivity"),
        R"(get_connected_elements(connectivity) -> tuple[ndarray, ndarray]

The node-to-element lists as a compressed list (offsets, elements): for each
node v from 0 to the largest index, the elements naming v, in increasing
order (twice for an element that names it twice).)");

  m.def("get_ancestors", &ancestors, py::arg("connectivity"), py::arg("ancestors") = py::none(),
        R"(get_ancestors(connectivity, ancestors=None) -> ndarray

One element holding each node: entry v is the highest-numbered element that
names v, NO_INDEX for a node no element names.  With `ancestors` (not
changed itself), its size and the entries of the nodes no element names are
kept, and indices beyond its size are ignored.)");

  m.def("get_subdomains", &subdomains, py::arg("neighbors"), py::arg("connectivity") = py::none(),
        R"(get_subdomains(neighbors, connectivity=None) -> tuple

The sub-domains, the connected components of the element adjacency given by
`neighbors` (one row per element; entries that name no element mean none).

Without connectivity: (elements, offsets), every element once, sub-domain by
  sub-domain in order of their lowest element, each in breadth-first order;
  sub-domain k is elements[offsets[k]:offsets[k+1]].
With connectivity: (connectivity, neighbors, offsets), both reordered so that
  sub-domain k is made of the elements offsets[k] to offsets[k+1] - 1, the
  neighbour entries renumbered accordingly.

Raises Error -2 when connectivity and neighbors have different row counts.)");

  m.def("sort_elfes", &sort_elfes, py::arg("connectivity"), py::arg("neighbors") = py::none(),
        R"(sort_elfes(connectivity, neighbors=None) -> tuple

Groups the elements of a (mixed) connectivity by node count (the entries
before the first NO_INDEX), more nodes first, keeping the order within a
group; elements without node are dropped.

Returns (connectivity, node_counts, group_ends, new_index), or with
neighbors (connectivity, neighbors, node_counts, group_ends, new_index), the
neighbours reordered alike and renumbered: group g is made of the elements
group_ends[g-1] (0 for g = 0) to group_ends[g] - 1, each of node_counts[g]
nodes; new_index gives the new position of every former element (NO_INDEX
when dropped).

Raises Error -1 when neighbors does not have one row per element.)");
}

}  // namespace

const family topology_family(50, bind_topology);

}  // namespace plexa_py
