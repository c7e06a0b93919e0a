// The layer between Python objects and the library's containers, shared by
// every binding source.
//
// Arrays.  An (n, k) NumPy array is the k x n column-major dense2D of the
// library, one row of the array per node or element: a C-contiguous array
// has leading dimension k, and a view of the rows of a wider array (unit
// stride along a row, a row stride that is a multiple of the item size) is
// read through its row stride as leading dimension.  Such arrays of the
// right dtype are handed to the library in place: the container's storage
// block adopts the array's memory and holds one reference to the array
// until the block dies.  Other arrays (another dtype, negative or
// irregular strides, unaligned) and array-likes are converted once:
// real kinds to float64, integer kinds to uint32 or int32 with a range
// check; anything else raises TypeError.
//
// Results go the other way without a copy: the array views the container's
// storage, and its base is a capsule holding one count on the block.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <zeb/plexa.hpp>

namespace plexa_py {

namespace py = pybind11;

using index_vector = zeb::dense1D<unsigned, 8>;
using index_matrix = zeb::dense2D<unsigned>;
using real_vector = zeb::dense1D<double, 8>;
using real_matrix = zeb::dense2D<double>;
using int_vector = zeb::dense1D<int, 8>;
using zeb::plexa::element_type;

// The "no index" value of every unsigned index.
constexpr unsigned NO_INDEX = 4294967295u;

// ---------------------------------------------------------------------------
// Arrays in
// ---------------------------------------------------------------------------

// An (n, k) array as a k x n matrix, in place when the layout allows (see
// above).  `name` is the argument's name in messages.  ValueError when the
// array is not 2-D or does not fit the containers' 32-bit counts.
template <class T>
zeb::dense2D<T> matrix_in(py::handle obj, const char* name);

// A 1-D array as a vector, in place when contiguous.
template <class T>
zeb::dense1D<T, 8> vector_in(py::handle obj, const char* name);

// An argument that the library changes in place.  By default a copy of its
// own (the caller's array is left alone); with `inplace`, the array's own
// memory, which must then be a writable array of exactly the dtype and a
// layout the library can walk (TypeError otherwise).
template <class T>
zeb::dense2D<T> matrix_inout(py::handle obj, const char* name, bool inplace);
template <class T>
zeb::dense1D<T, 8> vector_inout(py::handle obj, const char* name, bool inplace);

// None as an empty container, anything else as above.
template <class T>
zeb::dense2D<T> optional_matrix_in(py::handle obj, const char* name) {
  return obj.is_none() ? zeb::dense2D<T>() : matrix_in<T>(obj, name);
}
template <class T>
zeb::dense1D<T, 8> optional_vector_in(py::handle obj, const char* name) {
  return obj.is_none() ? zeb::dense1D<T, 8>() : vector_in<T>(obj, name);
}

// Any array-like of real numbers as a C-contiguous float64 array of its own
// shape (the vectorised primitives walk it by pointer).
py::array real_array(py::handle obj, const char* name);

// The number of dimensions of an array-like (np.ndim).
int ndim_of(py::handle obj);

// Connectivity blocks: one 2-D array, or a list or tuple of them (a
// sequence whose items are 2-D).
bool is_block_sequence(py::handle obj);
std::vector<index_matrix> blocks_in(py::handle obj, const char* name);

// An element type: an int (ElementType members are ints) from 0 to 22.
element_type type_in(py::handle obj, const char* name);
// One element type per block: a single int, or a sequence of ints.
int_vector types_in(py::handle obj, std::size_t blocks, const char* name);

// The coordinates, connectivity and element type that most calls take.
struct mesh_args {
  real_matrix pos;
  index_matrix connect;
  element_type type;
};
mesh_args mesh_in(py::handle pos, py::handle connect, py::handle type, const char* connect_name = "connect");

// A point or vector of 2 or 3 components; `dim` receives the count.
struct fixed_vector {
  double v[3] = {0, 0, 0};
  unsigned dim = 0;
  zeb::vector_fixed<double, 2> d2() const { return {v[0], v[1]}; }
  zeb::vector_fixed<double, 3> d3() const { return {v[0], v[1], v[2]}; }
};
fixed_vector fixed_in(py::handle obj, const char* name);

// A file path: str, bytes or os.PathLike, in the file system's encoding.
std::string path_in(py::handle obj);

// ---------------------------------------------------------------------------
// Arrays out
// ---------------------------------------------------------------------------

// The (cols, rows) array over a matrix's storage, or the (size,) array over
// a vector's, without a copy.  A result that views memory adopted from a
// read-only array is read-only too.
template <class T>
py::array array_out(const zeb::dense2D<T>& m);
template <class T>
py::array array_out(const zeb::dense1D<T, 8>& v);
// As array_out, with an empty result shaped (0, rows) (the row length the
// caller expects whatever the library left in an empty matrix).
template <class T>
py::array array_out(const zeb::dense2D<T>& m, unsigned rows) {
  if (!m.empty()) return array_out(m);
  return array_out(zeb::dense2D<T>(zeb::Ptr<zeb::vector_num<T, 8>>(), 0, rows, 0, rows));
}

// ---------------------------------------------------------------------------
// Calls
// ---------------------------------------------------------------------------

// Runs f with the GIL released (long calls: the arguments are containers,
// no Python object is touched inside).
template <class F>
auto without_gil(F&& f) {
  py::gil_scoped_release released;
  return f();
}

// Inspection for the tests: where the library would read an array given as
// input, and the count of the block behind a result.
py::tuple input_layout(py::handle obj, bool integer);
unsigned storage_count(py::handle array);

}  // namespace plexa_py
