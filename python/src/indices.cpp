// Index utilities: checks, the largest index, renumbering, permutation,
// matching, distinct indices and grouping by key.
#include "convert.hpp"
#include "errors.hpp"
#include "families.hpp"

namespace plexa_py {

namespace zp = zeb::plexa;

namespace {

bool check_ids(py::handle ids, unsigned nods, py::handle type) {
  if (ndim_of(ids) == 1) {
    if (!type.is_none()) throw py::value_error("type: given for a node list; it reads connectivities only");
    const index_vector v = vector_in<unsigned>(ids, "ids");
    return without_gil([&] { return zp::check_IDs(v, nods); });
  }
  const index_matrix c = matrix_in<unsigned>(ids, "connect");
  if (type.is_none()) return without_gil([&] { return zp::check_IDs(c, nods); });
  const element_type t = type_in(type, "type");
  return without_gil([&] { return zp::check_IDs(c, t, nods); });
}

unsigned max_id(py::handle ids) {
  if (ndim_of(ids) == 1) {
    const index_vector v = vector_in<unsigned>(ids, "ids");
    return without_gil([&] { return zp::max_ID(v); });
  }
  const index_matrix c = matrix_in<unsigned>(ids, "connect");
  return without_gil([&] { return zp::max_ID(c); });
}

py::array shift(py::handle ids, int shift, py::handle type, bool inplace) {
  if (ndim_of(ids) == 1) {
    if (!type.is_none()) throw py::value_error("type: given for a node list; it reads connectivities only");
    index_vector v = vector_inout<unsigned>(ids, "ids", inplace);
    without_gil([&] { return zp::shift_indices(v, shift); });
    return inplace ? py::reinterpret_borrow<py::array>(ids) : array_out(v);
  }
  index_matrix c = matrix_inout<unsigned>(ids, "connect", inplace);
  const element_type t = type.is_none() ? zp::ELT_NONE : type_in(type, "type");
  without_gil([&] { return zp::shift_indices(c, shift, t); });
  return inplace ? py::reinterpret_borrow<py::array>(ids) : array_out(c);
}

py::array change(py::handle ids, py::handle new_ids, bool inplace) {
  const index_vector map = vector_in<unsigned>(new_ids, "new_IDs");
  if (ndim_of(ids) == 1) {
    index_vector v = vector_inout<unsigned>(ids, "ids", inplace);
    without_gil([&] { zp::change_indices(v, map); });
    return inplace ? py::reinterpret_borrow<py::array>(ids) : array_out(v);
  }
  index_matrix c = matrix_inout<unsigned>(ids, "connect", inplace);
  without_gil([&] { zp::change_indices(c, map); });
  return inplace ? py::reinterpret_borrow<py::array>(ids) : array_out(c);
}

template <class T>
py::array permute(py::handle v, const index_vector& perm) {
  zeb::dense1D<T, 8> values = vector_in<T>(v, "v");
  check(without_gil([&] { return zp::permutation(values, perm); }), "permutation(v, perm)");
  return array_out(values);
}

py::array permutation(py::handle v, py::handle perm) {
  const index_vector p = vector_in<unsigned>(perm, "perm");
  const char kind = py::array::ensure(v) ? py::array::ensure(v).dtype().kind() : 'f';
  if (kind == 'f') return permute<double>(v, p);
  return permute<unsigned>(v, p);
}

py::tuple get_ids(py::handle ids1, py::handle ids2, bool strict) {
  index_vector pos1, pos2;
  if (ndim_of(ids1) == 1) {
    const index_vector a = vector_in<unsigned>(ids1, "IDs1"), b = vector_in<unsigned>(ids2, "IDs2");
    check(without_gil([&] { return zp::get_IDs(a, b, pos1, pos2); }), "get_IDs(IDs1, IDs2, pos1, pos2)");
  } else {
    const index_matrix a = matrix_in<unsigned>(ids1, "connect1"), b = matrix_in<unsigned>(ids2, "connect2");
    check(without_gil([&] { return zp::get_IDs(a, b, pos1, pos2, strict); }),
          "get_IDs(connect1, connect2, pos1, pos2, strict)");
  }
  return py::make_tuple(array_out(pos1), array_out(pos2));
}

py::array unique(py::handle ids, py::handle excluded) {
  const index_vector skip = optional_vector_in<unsigned>(excluded, "excluded");
  index_vector found;
  if (!is_block_sequence(ids) && ndim_of(ids) == 1) {
    const index_vector v = vector_in<unsigned>(ids, "IDs");
    check(without_gil([&] { return zp::unique_indices(found, v, skip); }), "unique_indices(uIDs, IDs, excluded)");
  } else {
    const std::vector<index_matrix> blocks = blocks_in(ids, "connect");
    check(without_gil([&] {
            return zp::unique_indices(found, blocks.data(), blocks.data() + blocks.size(), skip);
          }),
          "unique_indices(uIDs, IDs, last, excluded)");
  }
  return array_out(found);
}

int count_unique(py::handle connect) {
  const std::vector<index_matrix> blocks = blocks_in(connect, "connect");
  return check(without_gil([&] { return zp::count_unique_indices(blocks.data(), blocks.data() + blocks.size()); }),
               "count_unique_indices(connect, last)");
}

py::tuple sorted_order(py::handle keys) {
  const index_vector k = vector_in<unsigned>(keys, "keys");
  index_vector order, offsets;
  check(without_gil([&] { return zp::get_sorted_order(k, order, offsets); }), "get_sorted_order(keys, order, offsets)");
  return py::make_tuple(array_out(order), array_out(offsets));
}

void bind_indices(py::module_& m) {
  m.def("check_IDs", &check_ids, py::arg("ids"), py::arg("nods"), py::arg("type") = py::none(),
        R"(check_IDs(ids, nods, type=None) -> bool

Whether the indices name only nodes of a mesh of `nods` nodes.

ids: a node list (1-D) or a connectivity (m, k).  Without `type`, every
  entry must be NO_INDEX or below nods (True at once for no entry or
  nods == NO_INDEX).
type: the element type of a connectivity, for the strict test: the row count
  fits the type (k == nbr_nodes(type)) and every entry is below nods; in
  FACE_MIX and SOLID_MIX columns the trailing entries may be NO_INDEX (a
  SOLID_MIX column ends at its first NO_INDEX in column 4, 5 or 6).  A
  mixed type with the row count of one member is read as that member.)");

  m.def("max_ID", &max_id, py::arg("ids"), R"(max_ID(ids) -> int

The largest entry other than NO_INDEX of a node list (1-D) or connectivity
(2-D), starting from 0 (0 for markers only); NO_INDEX for an empty array.)");

  m.def("shift_indices", &shift, py::arg("ids"), py::arg("shift"), py::arg("type") = py::none(), py::kw_only(),
        py::arg("inplace") = false, R"(shift_indices(ids, shift, type=None, *, inplace=False) -> ndarray

`shift` added to the indices.

ids: a node list (1-D), whose NO_INDEX entries are left alone, or a
  connectivity (m, k) of the element `type` (default NONE): for FACE_MIX and
  SOLID_MIX the NO_INDEX markers are left alone, for any other type every
  entry is shifted.
inplace: change `ids` itself (a writable uint32 array) and return it;
  otherwise a shifted copy is returned.)");

  m.def("change_indices", &change, py::arg("ids"), py::arg("new_IDs"), py::kw_only(), py::arg("inplace") = false,
        R"(change_indices(ids, new_IDs, *, inplace=False) -> ndarray

Renumbers a node list (1-D) or connectivity (2-D) through the map new_IDs:
every entry x below len(new_IDs) becomes new_IDs[x], the others (NO_INDEX
included) are left as they are.

inplace: change `ids` itself (a writable uint32 array) and return it.)");

  m.def("permutation", &permutation, py::arg("v"), py::arg("perm"), R"(permutation(v, perm) -> ndarray

Scatters the vector v (float64, or uint32 for integer input) by the
permutation perm: with m = min(len(v), len(perm)), the entry at position
i < m moves to position perm[i] when perm[i] < len(v); positions nothing
moves to keep their value.  Returns a new vector; v is not changed.

Raises MemoryError when the working copy cannot be made.)");

  m.def("get_IDs", &get_ids, py::arg("IDs1"), py::arg("IDs2"), py::arg("strict") = true,
        R"(get_IDs(IDs1, IDs2, strict=True) -> tuple[ndarray, ndarray]

Matches the values of two node lists (1-D), or the elements of two
connectivities (2-D).

Lists: pos1[j] is the first position in IDs1 of IDs2[j]; pos2[i] is, for
  the first occurrence i of a value of IDs1, its first position in IDs2.
Connectivities (m1, k) and (m2, k): pos1[j] is the smallest element of IDs1
  matching element j of IDs2, pos2[i] the smallest element of IDs2
  matching element i of IDs1.  With `strict` elements match when equal
  entry by entry; otherwise also up to a rotation or a reversal (the
  symmetries of a polygon).
Unmatched entries are NO_INDEX.  Returns (pos1, pos2), of len(IDs2) and
len(IDs1) entries.

Raises Error -2 when the connectivities have different row counts.)");

  m.def("unique_indices", &unique, py::arg("IDs"), py::arg("excluded") = py::none(),
        R"(unique_indices(IDs, excluded=None) -> ndarray

The distinct values of a node list (1-D), a connectivity (2-D, element by
element) or a list of connectivities, in order of first appearance, leaving
out NO_INDEX and the values listed in `excluded`.)");

  m.def("count_unique_indices", &count_unique, py::arg("connect"), R"(count_unique_indices(connect) -> int

The number of distinct values other than NO_INDEX of a connectivity or a
list of connectivities.)");

  m.def("get_sorted_order", &sorted_order, py::arg("keys"),
        R"(get_sorted_order(keys) -> tuple[ndarray, ndarray]

Stable counting sort of positions by key (NO_INDEX: no key).  Returns
(order, offsets): with M the largest key (0 if none), offsets has M + 2
entries and the positions of key k are order[offsets[k]:offsets[k+1]], in
increasing order.

Raises MemoryError when the offsets cannot be had (a key near 2**32).)");
}

}  // namespace

const family indices_family(20, bind_indices);

}  // namespace plexa_py
