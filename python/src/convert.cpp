// Arrays in and out of the library's containers (see convert.hpp).
#include "convert.hpp"

#include <Python.h>

#include <cstring>
#include <limits>
#include <type_traits>

namespace plexa_py {

namespace {

constexpr int ALIGNED = py::detail::npy_api::NPY_ARRAY_ALIGNED_;
constexpr int WRITEABLE = py::detail::npy_api::NPY_ARRAY_WRITEABLE_;

py::object numpy_function(const char* name) { return py::module_::import("numpy").attr(name); }

template <class T>
const char* element_words() {
  static_assert(std::is_same_v<T, double> || std::is_same_v<T, unsigned>, "coordinates and indices only");
  return std::is_same_v<T, double> ? "real numbers (float64)" : "non-negative integers below 2**32 (uint32)";
}

[[noreturn]] void fail(PyObject* type, const std::string& text) {
  PyErr_SetString(type, text.c_str());
  throw py::error_already_set();
}

// An ndarray of dtype T (native byte order): the object itself when it is
// one, else a converted array (one copy).
template <class T>
py::array coerce(py::handle obj, const char* name) {
  const py::dtype wanted = py::dtype::of<T>();
  if (py::isinstance<py::array>(obj)) {
    py::array a = py::reinterpret_borrow<py::array>(obj);
    if (a.dtype().equal(wanted)) return a;
  }
  py::array a = numpy_function("asarray")(obj);
  const char kind = a.dtype().kind();
  const bool real = kind == 'f' || kind == 'i' || kind == 'u';
  // An empty list makes an empty float64 array: as indices, it holds none.
  const bool integer = kind == 'i' || kind == 'u' || (real && a.size() == 0);
  if (std::is_same_v<T, double> ? !real : !integer)
    fail(PyExc_TypeError, std::string(name) + ": expected an array of " + element_words<T>() + ", got dtype " +
                              py::str(a.dtype()).cast<std::string>());
  if constexpr (!std::is_same_v<T, double>) {
    if (a.size() > 0) {
      const py::int_ low(a.attr("min")()), high(a.attr("max")());
      const py::int_ lowest(static_cast<long long>(std::numeric_limits<T>::min()));
      const py::int_ largest(static_cast<long long>(std::numeric_limits<T>::max()));
      if (low < lowest || high > largest)
        fail(PyExc_ValueError, std::string(name) + ": expected " + element_words<T>() + ", got values from " +
                                   py::repr(low).cast<std::string>() + " to " + py::repr(high).cast<std::string>());
    }
  }
  return a.attr("astype")(wanted);
}

// The release callback of adopted memory: drops the block's reference to
// the array.  Blocks may die in a thread that does not hold the GIL.
void release_array(void* array) noexcept {
  const PyGILState_STATE state = PyGILState_Ensure();
  Py_DECREF(static_cast<PyObject*>(array));
  PyGILState_Release(state);
}

// A block over the memory of `a` (capacity elements from `data`), holding
// one reference to the array.
template <class T>
zeb::Ptr<zeb::vector_num<T, 8>> adopt(const py::array& a, T* data, std::uint64_t capacity) {
  PyObject* owner = a.ptr();
  Py_INCREF(owner);
  zeb::vector_num<T, 8>* block = zeb::vector_num<T, 8>::adopt(data, capacity, release_array, owner);
  if (!block) {
    Py_DECREF(owner);
    throw std::bad_alloc();
  }
  zeb::Ptr<zeb::vector_num<T, 8>> p;
  p = block;
  return p;
}

bool aligned(const py::array& a) { return (a.flags() & ALIGNED) != 0; }

void check_counts(std::uint64_t n, std::uint64_t k, const char* name) {
  if (n > UINT32_MAX || k > UINT32_MAX || n * k > UINT32_MAX)
    fail(PyExc_ValueError, std::string(name) + ": more than 2**32 - 1 entries");
}

// The leading dimension of a 2-D array of T read in place, or 0 when its
// layout cannot be walked as a column-major matrix.
template <class T>
std::uint64_t leading_dimension(const py::array& a) {
  const std::uint64_t n = a.shape(0), k = a.shape(1);
  const py::ssize_t row = a.strides(0), along = a.strides(1);
  if (!aligned(a) || (k > 1 && along != py::ssize_t(sizeof(T)))) return 0;
  if (n == 1) return k;
  if (row <= 0 || row % py::ssize_t(sizeof(T)) != 0 || std::uint64_t(row) / sizeof(T) < k) return 0;
  return std::uint64_t(row) / sizeof(T);
}

template <class T>
zeb::dense2D<T> matrix_view(py::array a, const char* name, bool inplace) {
  if (a.ndim() != 2)
    fail(PyExc_ValueError, std::string(name) + ": expected a 2-D array (one row per node or element), got " +
                               std::to_string(a.ndim()) + " dimension(s)");
  const std::uint64_t n = a.shape(0), k = a.shape(1);
  check_counts(n, k, name);
  if (n == 0 || k == 0) return zeb::dense2D<T>(zeb::Ptr<zeb::vector_num<T, 8>>(), 0, unsigned(k), unsigned(n), unsigned(k));
  std::uint64_t ld = leading_dimension<T>(a);
  if (ld == 0) {
    if (inplace)
      fail(PyExc_TypeError, std::string(name) + ": changed in place, it must be an aligned array whose rows are "
                                                "contiguous");
    a = numpy_function("ascontiguousarray")(a);
    ld = k;
  }
  const std::uint64_t capacity = (n - 1) * ld + k;
  if (capacity > UINT32_MAX) fail(PyExc_ValueError, std::string(name) + ": spans more than 2**32 - 1 entries");
  T* data = static_cast<T*>(inplace ? a.mutable_data() : const_cast<void*>(a.data()));
  return zeb::dense2D<T>(adopt<T>(a, data, capacity), 0, unsigned(k), unsigned(n), unsigned(ld));
}

template <class T>
zeb::dense1D<T, 8> vector_view(py::array a, const char* name, bool inplace) {
  if (a.ndim() != 1)
    fail(PyExc_ValueError, std::string(name) + ": expected a 1-D array, got " + std::to_string(a.ndim()) +
                               " dimension(s)");
  const std::uint64_t n = a.shape(0);
  check_counts(n, 1, name);
  if (n == 0) return zeb::dense1D<T, 8>();
  if (!aligned(a) || (n > 1 && a.strides(0) != py::ssize_t(sizeof(T)))) {
    if (inplace) fail(PyExc_TypeError, std::string(name) + ": changed in place, it must be an aligned contiguous array");
    a = numpy_function("ascontiguousarray")(a);
  }
  T* data = static_cast<T*>(inplace ? a.mutable_data() : const_cast<void*>(a.data()));
  return zeb::dense1D<T, 8>(adopt<T>(a, data, n), 0, unsigned(n));
}

// The array given for an in-place argument, unconverted.
template <class T>
py::array exact_array(py::handle obj, const char* name) {
  if (!py::isinstance<py::array>(obj) || !py::reinterpret_borrow<py::array>(obj).dtype().equal(py::dtype::of<T>()))
    fail(PyExc_TypeError, std::string(name) + ": changed in place, it must be a NumPy array of " + element_words<T>());
  py::array a = py::reinterpret_borrow<py::array>(obj);
  if (!(a.flags() & WRITEABLE)) fail(PyExc_ValueError, std::string(name) + ": changed in place, but read-only");
  return a;
}

// Whether the storage behind a result is memory adopted from a read-only array.
template <class T>
bool adopted_read_only(const zeb::vector_num<T, 8>* block) {
  if (!block->external()) return false;
  const auto* e = static_cast<const zeb::external_vector_num<T, 8>*>(block);
  const py::handle owner(static_cast<PyObject*>(e->context()));
  return py::isinstance<py::array>(owner) && !(py::reinterpret_borrow<py::array>(owner).flags() & WRITEABLE);
}

template <class T>
py::array over_storage(zeb::vector_num<T, 8>* block, const T* data, std::vector<py::ssize_t> shape,
                       std::vector<py::ssize_t> strides) {
  // The capsule holds the block as its ref_counted base (storage_count reads it so).
  py::capsule owner(static_cast<const zeb::math1::ref_counted*>(block),
                    [](void* p) { static_cast<const zeb::math1::ref_counted*>(p)->release(); });
  block->add_ref();  // the capsule's count, dropped by its destructor
  py::array a(py::dtype::of<T>(), std::move(shape), std::move(strides), data, owner);
  if (adopted_read_only(block)) a.attr("setflags")(py::arg("write") = false);
  return a;
}

}  // namespace

template <class T>
zeb::dense2D<T> matrix_in(py::handle obj, const char* name) {
  return matrix_view<T>(coerce<T>(obj, name), name, false);
}

template <class T>
zeb::dense1D<T, 8> vector_in(py::handle obj, const char* name) {
  return vector_view<T>(coerce<T>(obj, name), name, false);
}

template <class T>
zeb::dense2D<T> matrix_inout(py::handle obj, const char* name, bool inplace) {
  if (inplace) return matrix_view<T>(exact_array<T>(obj, name), name, true);
  const zeb::dense2D<T> given = matrix_in<T>(obj, name);
  zeb::dense2D<T> own;
  if (!own.copy(given)) throw std::bad_alloc();
  return own;
}

template <class T>
zeb::dense1D<T, 8> vector_inout(py::handle obj, const char* name, bool inplace) {
  if (inplace) return vector_view<T>(exact_array<T>(obj, name), name, true);
  const zeb::dense1D<T, 8> given = vector_in<T>(obj, name);
  zeb::dense1D<T, 8> own;
  if (!own.copy(given)) throw std::bad_alloc();
  return own;
}

template <class T>
py::array array_out(const zeb::dense2D<T>& m) {
  const py::ssize_t n = m.cols(), k = m.rows();
  if (!m.storage() || m.empty()) return py::array(py::dtype::of<T>(), std::vector<py::ssize_t>{n, k});
  return over_storage<T>(m.storage(), m.data(), {n, k}, {py::ssize_t(m.ld() * sizeof(T)), py::ssize_t(sizeof(T))});
}

template <class T>
py::array array_out(const zeb::dense1D<T, 8>& v) {
  const py::ssize_t n = v.size();
  if (!v.storage() || n == 0) return py::array(py::dtype::of<T>(), std::vector<py::ssize_t>{n});
  return over_storage<T>(v.storage(), v.data(), {n}, {py::ssize_t(sizeof(T))});
}

template zeb::dense2D<double> matrix_in<double>(py::handle, const char*);
template zeb::dense2D<unsigned> matrix_in<unsigned>(py::handle, const char*);
template zeb::dense1D<double, 8> vector_in<double>(py::handle, const char*);
template zeb::dense1D<unsigned, 8> vector_in<unsigned>(py::handle, const char*);
template zeb::dense2D<double> matrix_inout<double>(py::handle, const char*, bool);
template zeb::dense2D<unsigned> matrix_inout<unsigned>(py::handle, const char*, bool);
template zeb::dense1D<double, 8> vector_inout<double>(py::handle, const char*, bool);
template zeb::dense1D<unsigned, 8> vector_inout<unsigned>(py::handle, const char*, bool);
template py::array array_out<double>(const zeb::dense2D<double>&);
template py::array array_out<unsigned>(const zeb::dense2D<unsigned>&);
template py::array array_out<double>(const zeb::dense1D<double, 8>&);
template py::array array_out<unsigned>(const zeb::dense1D<unsigned, 8>&);
template py::array array_out<int>(const zeb::dense1D<int, 8>&);

py::array real_array(py::handle obj, const char* name) {
  return numpy_function("asarray")(coerce<double>(obj, name), py::arg("order") = "C");  // keeps 0-d arrays
}

int ndim_of(py::handle obj) {
  if (py::isinstance<py::array>(obj)) return int(py::reinterpret_borrow<py::array>(obj).ndim());
  return numpy_function("ndim")(obj).cast<int>();
}

bool is_block_sequence(py::handle obj) {
  if (!py::isinstance<py::list>(obj) && !py::isinstance<py::tuple>(obj)) return false;
  const py::sequence s = py::reinterpret_borrow<py::sequence>(obj);
  return s.size() == 0 || ndim_of(s[0]) == 2;
}

std::vector<index_matrix> blocks_in(py::handle obj, const char* name) {
  std::vector<index_matrix> blocks;
  if (!is_block_sequence(obj)) {
    blocks.push_back(matrix_in<unsigned>(obj, name));
    return blocks;
  }
  const py::sequence s = py::reinterpret_borrow<py::sequence>(obj);
  blocks.reserve(s.size());
  for (py::handle item : s) blocks.push_back(matrix_in<unsigned>(item, name));
  return blocks;
}

element_type type_in(py::handle obj, const char* name) {
  if (!py::hasattr(obj, "__index__") || py::isinstance<py::bool_>(obj))
    fail(PyExc_TypeError, std::string(name) + ": expected an element type (ElementType or int)");
  PyObject* index = PyNumber_Index(obj.ptr());
  if (!index) throw py::error_already_set();
  const long long v = PyLong_AsLongLong(index);
  Py_DECREF(index);
  if (v == -1 && PyErr_Occurred()) PyErr_Clear();  // too large: refused below as -1 is
  if (v < 0 || v >= static_cast<long long>(zeb::plexa::ELEMENT_TYPE_COUNT))
    fail(PyExc_ValueError, std::string(name) + ": " + std::to_string(v) + " is not an element type (0 to 22)");
  return element_type(v);
}

int_vector types_in(py::handle obj, std::size_t blocks, const char* name) {
  int_vector types;
  if (py::isinstance<py::int_>(obj) || (py::hasattr(obj, "__index__") && ndim_of(obj) == 0)) {
    if (!types.resize(unsigned(blocks), int(type_in(obj, name)))) throw std::bad_alloc();
    return types;
  }
  if (!py::isinstance<py::sequence>(obj) || py::isinstance<py::str>(obj))
    fail(PyExc_TypeError, std::string(name) + ": an element type or a sequence of them");
  const py::sequence s = py::reinterpret_borrow<py::sequence>(obj);
  if (!types.resize(unsigned(s.size()))) throw std::bad_alloc();
  for (std::size_t k = 0; k < s.size(); ++k) types[unsigned(k)] = int(type_in(s[k], name));
  return types;
}

mesh_args mesh_in(py::handle pos, py::handle connect, py::handle type, const char* connect_name) {
  return {matrix_in<double>(pos, "pos"), matrix_in<unsigned>(connect, connect_name), type_in(type, "type")};
}

fixed_vector fixed_in(py::handle obj, const char* name) {
  const real_vector v = vector_in<double>(obj, name);
  if (v.size() != 2 && v.size() != 3)
    fail(PyExc_ValueError, std::string(name) + ": expected 2 or 3 components, got " + std::to_string(v.size()));
  fixed_vector f;
  f.dim = v.size();
  for (unsigned k = 0; k < f.dim; ++k) f.v[k] = v[k];
  return f;
}

std::string path_in(py::handle obj) {
  const py::bytes encoded = py::module_::import("os").attr("fsencode")(obj);
  std::string path = encoded;
  if (path.find('\0') != std::string::npos) fail(PyExc_ValueError, "path: embedded null character");
  return path;
}

py::tuple input_layout(py::handle obj, bool integer) {
  if (integer) {
    const index_matrix m = matrix_in<unsigned>(obj, "array");
    return py::make_tuple(reinterpret_cast<std::uintptr_t>(m.data()), m.rows(), m.cols(), m.ld());
  }
  const real_matrix m = matrix_in<double>(obj, "array");
  return py::make_tuple(reinterpret_cast<std::uintptr_t>(m.data()), m.rows(), m.cols(), m.ld());
}

unsigned storage_count(py::handle array) {
  py::handle base = array.attr("base");
  if (!py::isinstance<py::capsule>(base)) return 0;
  const auto* block = static_cast<const zeb::math1::ref_counted*>(py::reinterpret_borrow<py::capsule>(base).get_pointer());
  return block->ref_count();
}

}  // namespace plexa_py
