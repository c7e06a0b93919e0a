// Spatial search and node merging: NodeDetector, merge, remove_degenerated,
// simplify.
#include <memory>
#include <mutex>
#include <shared_mutex>

#include "convert.hpp"
#include "errors.hpp"
#include "families.hpp"

namespace plexa_py {

namespace zp = zeb::plexa;

namespace {

// A node_detector with the coordinate matrix it points to.  Queries run
// without the GIL; the lock keeps insert, reinit and clear from running
// beside them (taken with the GIL released, so that no thread waits for the
// lock while holding the GIL).
struct detector {
  std::unique_ptr<real_matrix> pos = std::make_unique<real_matrix>();
  zp::node_detector tree;
  mutable std::shared_mutex lock;
};

// Indexes the nodes of `pos` selected by `nodes` (None, a node list, a
// connectivity or a list of connectivities).  On failure the detector
// keeps its tree and coordinates.
int reinit(detector& d, py::handle pos, py::handle nodes) {
  auto p = std::make_unique<real_matrix>(matrix_in<double>(pos, "pos"));
  int code;
  if (nodes.is_none()) {
    code = without_gil([&] {
      std::unique_lock<std::shared_mutex> hold(d.lock);
      return d.tree.reinit(*p);
    });
    check(code, "reinit(pos)");
  } else if (!is_block_sequence(nodes) && ndim_of(nodes) == 1) {
    const index_vector list = vector_in<unsigned>(nodes, "nodes");
    code = without_gil([&] {
      std::unique_lock<std::shared_mutex> hold(d.lock);
      return d.tree.reinit(*p, list);
    });
    check(code, "reinit(pos, nodes)");
  } else {
    const std::vector<index_matrix> blocks = blocks_in(nodes, "connect");
    code = without_gil([&] {
      std::unique_lock<std::shared_mutex> hold(d.lock);
      return d.tree.reinit(*p, blocks.data(), blocks.data() + blocks.size());
    });
    check(code, "reinit(pos, nodes, last)");
  }
  d.pos = std::move(p);  // the old matrix goes once the tree no longer points to it
  return code;
}

unsigned insert(detector& d, py::handle nodes) {
  if (ndim_of(nodes) == 1) {
    const index_vector list = vector_in<unsigned>(nodes, "nodes");
    return without_gil([&] {
      std::unique_lock<std::shared_mutex> hold(d.lock);
      return d.tree.insert(list);
    });
  }
  const index_matrix c = matrix_in<unsigned>(nodes, "connect");
  return without_gil([&] {
    std::unique_lock<std::shared_mutex> hold(d.lock);
    return d.tree.insert(c);
  });
}

py::object index_or_none(unsigned i) { return i == NO_INDEX ? py::object(py::none()) : py::object(py::int_(i)); }

py::object find_closest(const detector& d, py::handle p) {
  if (!py::isinstance<py::float_>(p) && py::hasattr(p, "__index__") && ndim_of(p) == 0) {
    const unsigned node = p.cast<unsigned>();
    return index_or_none(without_gil([&] {
      std::shared_lock<std::shared_mutex> hold(d.lock);
      return d.tree.find_closest(node);
    }));
  }
  if (ndim_of(p) == 1) {
    const fixed_vector q = fixed_in(p, "p");
    return index_or_none(without_gil([&] {
      std::shared_lock<std::shared_mutex> hold(d.lock);
      return q.dim == 2 ? d.tree.find_closest(q.d2()) : d.tree.find_closest(q.d3());
    }));
  }
  const real_matrix points = matrix_in<double>(p, "p");
  if (points.rows() != 2 && points.rows() != 3 && points.cols() > 0)
    throw py::value_error("p: points of 2 or 3 coordinates, got " + std::to_string(points.rows()));
  index_vector found(points.cols());
  if (found.size() != points.cols()) throw std::bad_alloc();
  without_gil([&] {
    std::shared_lock<std::shared_mutex> hold(d.lock);
    for (unsigned j = 0; j < points.cols(); ++j) {
      const double* x = &points(0, j);
      found[j] = points.rows() == 2 ? d.tree.find_closest(zeb::vector_fixed<double, 2>(x[0], x[1]))
                                    : d.tree.find_closest(zeb::vector_fixed<double, 3>(x[0], x[1], x[2]));
    }
  });
  return array_out(found);
}

py::array find_in_box(const detector& d, py::handle min, py::handle max) {
  const fixed_vector low = fixed_in(min, "min"), high = fixed_in(max, "max");
  if (low.dim != high.dim) throw py::value_error("min, max: corners of different dimensions");
  index_vector found;
  const int code = without_gil([&] {
    std::shared_lock<std::shared_mutex> hold(d.lock);
    return low.dim == 2 ? d.tree.find_in_box(low.d2(), high.d2(), found) : d.tree.find_in_box(low.d3(), high.d3(), found);
  });
  check(code, "find_in_box(min, max, IDs)");
  return array_out(found);
}

// merge in its forms, chosen by the keywords given.
py::object merge(py::handle pos, double tolerance, py::handle nodes, py::handle nodes1, py::handle nodes2,
                 py::handle connect, unsigned mode, bool inplace) {
  index_vector map;
  const bool lists = !nodes.is_none() || !nodes1.is_none() || !nodes2.is_none();
  if (lists && !connect.is_none()) throw py::value_error("connect: merge takes node lists or connectivities, not both");
  if (!connect.is_none()) {
    // Every connectivity form returns the codes of the range form (-5 the
    // tolerance, -6 the mode), whose first block is named as Python names it.
    const char* range_signature = "merge(pos, connect, last, new_IDs, tolerance, mode)";
    const real_matrix p = matrix_in<double>(pos, "pos");
    if (!is_block_sequence(connect)) {
      index_matrix c = matrix_inout<unsigned>(connect, "connect", inplace);
      check(without_gil([&] { return zp::merge(p, c, map, tolerance, mode); }), range_signature);
      return py::make_tuple(inplace ? py::reinterpret_borrow<py::object>(connect) : py::object(array_out(c)),
                            array_out(map));
    }
    const py::sequence given = py::reinterpret_borrow<py::sequence>(connect);
    std::vector<index_matrix> blocks;
    for (py::handle item : given) blocks.push_back(matrix_inout<unsigned>(item, "connect", inplace));
    check(without_gil([&] { return zp::merge(p, blocks.data(), blocks.data() + blocks.size(), map, tolerance, mode); }),
          range_signature);
    py::list renumbered;
    for (std::size_t k = 0; k < blocks.size(); ++k)
      renumbered.append(inplace ? py::reinterpret_borrow<py::object>(given[k]) : py::object(array_out(blocks[k])));
    return py::make_tuple(renumbered, array_out(map));
  }
  if (mode != 0) throw py::value_error("mode: only the connectivity forms take a mode");
  if (!nodes.is_none()) {
    if (!nodes1.is_none() || !nodes2.is_none()) throw py::value_error("nodes: give nodes, or nodes1 and nodes2");
    const real_matrix p = matrix_in<double>(pos, "pos");
    const index_vector list = vector_in<unsigned>(nodes, "nodes");
    check(without_gil([&] { return zp::merge(p, list, map, tolerance); }), "merge(pos, nodes, new_IDs, tolerance)");
    return array_out(map);
  }
  if (lists) {
    if (nodes1.is_none() || nodes2.is_none()) throw py::value_error("nodes1, nodes2: give both");
    const real_matrix p = matrix_in<double>(pos, "pos");
    const index_vector sources = vector_in<unsigned>(nodes1, "nodes1"), targets = vector_in<unsigned>(nodes2, "nodes2");
    check(without_gil([&] { return zp::merge(p, sources, targets, map, tolerance); }),
          "merge(pos, nodes1, nodes2, new_IDs, tolerance)");
    return array_out(map);
  }
  // The library gives pos a copy of its own when it merges anything: the
  // caller's memory is only read.
  real_matrix p = inplace ? matrix_inout<double>(pos, "pos", true) : matrix_in<double>(pos, "pos");
  const auto* before = p.storage();
  check(without_gil([&] { return zp::merge(p, map, tolerance); }), "merge(pos, new_IDs, tolerance)");
  if (inplace && p.storage() != before) {
    // Write the merged coordinates back into the caller's array.
    real_matrix given = matrix_inout<double>(pos, "pos", true);
    for (unsigned j = 0; j < p.cols(); ++j)
      for (unsigned i = 0; i < p.rows(); ++i) given(i, j) = p(i, j);
    return py::make_tuple(py::reinterpret_borrow<py::object>(pos), array_out(map));
  }
  return py::make_tuple(inplace ? py::reinterpret_borrow<py::object>(pos) : py::object(array_out(p)), array_out(map));
}

py::tuple remove_degenerated(py::handle connect, bool markers_degenerate) {
  index_matrix c = matrix_inout<unsigned>(connect, "connect", false);
  index_vector map;
  check(without_gil([&] { return zp::remove_degenerated(c, map, markers_degenerate); }),
        "remove_degenerated(connect, new_IDs, markers_degenerate)");
  return py::make_tuple(array_out(c), array_out(map));
}

py::tuple simplify(py::handle pos, py::handle connect, unsigned start) {
  real_matrix p = matrix_inout<double>(pos, "pos", false);
  index_vector map;
  if (!is_block_sequence(connect)) {
    index_matrix c = matrix_inout<unsigned>(connect, "connect", false);
    check(without_gil([&] { return zp::simplify(p, c, map, start); }), "simplify(pos, connect, new_IDs, start)");
    return py::make_tuple(array_out(p), array_out(c), array_out(map));
  }
  std::vector<index_matrix> blocks;
  for (py::handle item : py::reinterpret_borrow<py::sequence>(connect))
    blocks.push_back(matrix_inout<unsigned>(item, "connect", false));
  check(without_gil([&] { return zp::simplify(p, blocks.data(), blocks.data() + blocks.size(), map, start); }),
        "simplify(pos, connect, last, new_IDs, start)");
  py::list renumbered;
  for (const index_matrix& b : blocks) renumbered.append(array_out(b));
  return py::make_tuple(array_out(p), renumbered, array_out(map));
}

void bind_search(py::module_& m) {
  py::class_<detector>(m, "NodeDetector", R"(NodeDetector(pos, nodes=None)

A k-d tree over nodes of a coordinate array (n, 2) or (n, 3), answering
closest-node and box queries.

The detector reads `pos` in place (a float64 array with contiguous rows is
not copied): changing its values while the detector is in use makes the
answers wrong.  The tree is balanced at construction and grows by insertion
in a shuffled, reproducible order.  Queries may run from several threads at
once; insert, reinit and clear wait for them.

nodes: which nodes to index: None (every node), a node list (1-D; NO_INDEX
  entries skipped, no node listed twice), a connectivity or a list of
  connectivities (their distinct nodes).

Raises Error -1 when pos has neither 2 nor 3 columns; -2 when a node index
is neither NO_INDEX nor below n.)")
      .def(py::init([](py::handle pos, py::handle nodes) {
             auto d = std::make_unique<detector>();
             reinit(*d, pos, nodes);
             return d;
           }),
           py::arg("pos"), py::arg("nodes") = py::none())
      .def("reinit", &reinit, py::arg("pos"), py::arg("nodes") = py::none(),
           R"(reinit(pos, nodes=None) -> int

Discards the tree and indexes the nodes of `pos` selected by `nodes`, as the
constructor does.  Returns the number of nodes indexed.  On failure the
detector keeps its tree.)")
      .def("insert", &insert, py::arg("nodes"), R"(insert(nodes) -> int

Adds nodes of the indexed coordinates to the tree: a node list (1-D) or the
distinct nodes of a connectivity (2-D), in a shuffled order.  Entries that
are not node indices are skipped; a node already indexed takes a slot that
queries never reach.  Returns the number of nodes added (0 when memory runs
out: the tree is then unchanged).

Nodes inserted one call at a time in sorted order make a deep tree; insert
them in batches, or reinit once they are all known.)")
      .def("find_closest", &find_closest, py::arg("p"), R"(find_closest(p) -> int | None | ndarray

The indexed node closest to a point, or to a node:
p an int: the node closest to node p, p itself excluded;
p a point (2 or 3 components; a 2-D point in a 3-D tree has z = 0, a 3-D
  point in a 2-D tree is read by x and y);
p an (k, 2) or (k, 3) array: the closest node of each point, as an array.
None (NO_INDEX in arrays) when the detector is empty or no node is at a
finite distance.)")
      .def("find_in_box", &find_in_box, py::arg("min"), py::arg("max"),
           R"(find_in_box(min, max) -> ndarray

The indexed nodes inside the closed box min <= x <= max (corners of 2 or 3
components), in visiting order.)")
      .def("clear", [](detector& d) {
             without_gil([&] {
               std::unique_lock<std::shared_mutex> hold(d.lock);
               d.tree.clear();
             });
           }, R"(clear() -> None

Releases the tree; the detector becomes empty.)")
      .def("__len__", [](const detector& d) { return d.tree.size(); })
      .def_property_readonly("size", [](const detector& d) { return d.tree.size(); },
                             "The number of tree slots (nodes indexed, unreachable slots included).")
      .def_property_readonly("pos", [](const detector& d) { return array_out(*d.pos); },
                             "The coordinates the detector reads.");

  m.def("merge", &merge, py::arg("pos"), py::arg("tolerance"), py::kw_only(), py::arg("nodes") = py::none(),
        py::arg("nodes1") = py::none(), py::arg("nodes2") = py::none(), py::arg("connect") = py::none(),
        py::arg("mode") = 0, py::arg("inplace") = false,
        R"(merge(pos, tolerance, *, nodes=None, nodes1=None, nodes2=None, connect=None, mode=0, inplace=False)

Merges every node lying within `tolerance` of an eligible node onto one
representative, the closest eligible node.  new_IDs (one entry per node of
pos) maps every node to its representative (new_IDs[i] == i for a node not
merged); chains are flattened.  Tolerance 0 merges coincident nodes only.

The form is chosen by the keywords:
merge(pos, tolerance) -> (pos, new_IDs)
    All nodes among themselves, each onto the closest node of smaller
    index; merged nodes take the coordinates of their representative.  The
    returned pos is pos itself (a view of it) when nothing was merged, and
    new coordinates otherwise; pos is never written, unless `inplace`.
merge(pos, tolerance, nodes=...) -> new_IDs
    The listed nodes, each onto the closest node listed before it.
merge(pos, tolerance, nodes1=..., nodes2=...) -> new_IDs
    The nodes of nodes1 onto those of nodes2 (a node of both onto one
    listed earlier in nodes2).
merge(pos, tolerance, connect=..., mode=0) -> (connect, new_IDs)
    The nodes of a connectivity, or of a list of connectivities ("pieces"),
    which are returned renumbered onto the representatives; mode 0 merges
    all their nodes among themselves, 1 only nodes of different pieces, 2
    the nodes of the later pieces onto those of the first.  new_IDs is
    empty when the connectivities use no node.
inplace: change the given pos (merged coordinates) or connectivities
  (renumbered) themselves, writable arrays of exactly the dtype, and return
  them.

Raises Error -1 when pos has neither 2 nor 3 columns; for a bad node index
(-2, or -3 for nodes2); for a negative or NaN tolerance (-3 to -5 by form:
the message names it); -6 when mode is above 2.)");

  m.def("remove_degenerated", &remove_degenerated, py::arg("connect"), py::arg("markers_degenerate") = false,
        R"(remove_degenerated(connect, markers_degenerate=False) -> tuple[ndarray, ndarray]

The connectivity without its degenerate elements, those naming a node twice
(a repeated NO_INDEX, the trailing entries of a mixed element, counts only
with markers_degenerate).  Returns (connect, new_IDs): the kept elements in
their order, and the new index of every former element (NO_INDEX when
removed).)");

  m.def("simplify", &simplify, py::arg("pos"), py::arg("connect"), py::arg("start") = 0,
        R"(simplify(pos, connect, start=0) -> tuple[ndarray, ndarray | list[ndarray], ndarray]

Removes the nodes of index `start` or more that no element of `connect` (a
connectivity or a list of them) uses; nodes below start keep their place.
Returns (pos, connect, new_IDs): the kept nodes in their order, the
connectivities renumbered, and the new index of every former node
(NO_INDEX when removed; empty when nothing was examined).

Raises Error -2 when a connectivity names a node neither NO_INDEX nor below
len(pos).)");
}

}  // namespace

const family search_family(40, bind_search);

}  // namespace plexa_py
