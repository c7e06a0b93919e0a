// Containers of the zebmath1 companion library.
//
// dense1D and dense2D are views over reference-counted storage blocks:
// copying or assigning a view shares the block (one more count), `copy`
// makes a deep copy.  Counts change atomically, so views sharing a block may
// be copied and dropped from several threads; writes to shared entries are
// not synchronised.  Every member that can allocate returns false when memory
// cannot be had and leaves the container in a valid (unchanged) state.
//
// vector_fixed, matrix_fixed and symmetric_fixed are small value types on
// the stack.  Matrices are stored column by column; symmetric_fixed packs the
// upper triangle column by column: (m11, m12, m22) in 2-D and
// (m11, m12, m22, m13, m23, m33) in 3-D.
//
// Compiles as C++17.
#pragma once

#include <atomic>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <type_traits>
#include <utility>

#include <zeb/export.hpp>

namespace zeb {
namespace math1 {

// Raw memory for the containers.  Both are exported from zebmath1 so that
// every module of a program allocates and frees through the same functions
// (and the test-only allocation-failure switch sees every request).
// __vector_num_alloc returns nullptr when the memory cannot be had; it never
// throws.  __vector_num_free accepts nullptr.
ZEBMATH1_API void* __vector_num_alloc(std::size_t bytes) noexcept;
ZEBMATH1_API void __vector_num_free(void* p) noexcept;

// Base of the reference-counted storage objects: a virtual destructor and an
// atomic 32-bit count.  Objects are created with the nothrow new below and
// deleted by whoever drops the count to zero.
class ref_counted {
 public:
  ref_counted() noexcept : count_(0) {}
  ref_counted(const ref_counted&) = delete;
  ref_counted& operator=(const ref_counted&) = delete;
  virtual ~ref_counted() = default;

  void add_ref() const noexcept { count_.fetch_add(1, std::memory_order_relaxed); }
  void release() const noexcept {
    if (count_.fetch_sub(1, std::memory_order_acq_rel) == 1)
      const_cast<ref_counted*>(this)->__destroy();
  }
  std::uint32_t ref_count() const noexcept { return count_.load(std::memory_order_acquire); }

  static void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept {
    return __vector_num_alloc(bytes);
  }
  static void operator delete(void* p) noexcept { __vector_num_free(p); }
  static void operator delete(void* p, const std::nothrow_t&) noexcept { __vector_num_free(p); }
  static void* operator new(std::size_t) = delete;  // storage is only made without exceptions

 private:
  void __destroy() noexcept { delete this; }
  mutable std::atomic<std::uint32_t> count_;
};

}  // namespace math1

// Smart pointer holding one count on a ref_counted object.
template <class T>
class Ptr {
 public:
  Ptr() noexcept = default;
  Ptr(const Ptr& other) noexcept : p_(other.p_) {
    if (p_) p_->add_ref();
  }
  Ptr(Ptr&& other) noexcept : p_(other.p_) { other.p_ = nullptr; }
  ~Ptr() {
    if (p_) p_->release();
  }
  // Takes a count on `raw` and drops the one held on the previous object.
  Ptr& operator=(T* raw) noexcept {
    if (raw) raw->add_ref();
    T* old = p_;
    p_ = raw;
    if (old) old->release();
    return *this;
  }
  Ptr& operator=(const Ptr& other) noexcept { return *this = other.p_; }
  Ptr& operator=(Ptr&& other) noexcept {
    if (this != &other) {
      T* old = p_;
      p_ = other.p_;
      other.p_ = nullptr;
      if (old) old->release();
    }
    return *this;
  }
  T* get() const noexcept { return p_; }
  T* operator->() const noexcept { return p_; }
  T& operator*() const noexcept { return *p_; }
  explicit operator bool() const noexcept { return p_ != nullptr; }

 private:
  T* p_ = nullptr;
};

namespace detail {
// A 32-bit unsigned count stored under a type of its own (one per Tag).
// The entries of a dense1D<unsigned> are unsigned ints, like the size and
// start of the view and the capacity of its block.  Giving each count a
// distinct type tells the compiler that storing an entry or the size cannot
// change the others, so a loop of appends keeps them in registers instead
// of reloading them after every store.  The layout is a plain uint32.
template <int Tag>
class count32 {
  enum class rep : std::uint32_t {};
  rep v_;

 public:
  count32() noexcept = default;
  constexpr count32(unsigned v) noexcept : v_(rep(v)) {}
  constexpr operator unsigned() const noexcept { return unsigned(v_); }
};
using size32 = count32<0>;
using start32 = count32<1>;
using capacity32 = count32<2>;
static_assert(sizeof(size32) == 4 && std::is_trivially_copyable<size32>::value, "count32 is a plain uint32");
}  // namespace detail

template <class T, unsigned K>
class external_vector_num;

// A heap block of T owned by a reference-counted object: (vtable, count,
// pointer to the first T, capacity in elements).  A block made by adopt()
// holds memory it did not allocate (see there).
template <class T, unsigned K = 8>
class vector_num : public math1::ref_counted {
  static_assert(std::is_trivially_copyable<T>::value,
                "the containers hold trivially copyable values only");

 public:
  // A block of `capacity` elements (contents unspecified), or nullptr when
  // memory cannot be had or the request does not fit 32 bits of elements or
  // a size_t of bytes (nothing is allocated then).
  static vector_num* create(std::uint64_t capacity) noexcept {
    if (capacity > UINT32_MAX || capacity > SIZE_MAX / sizeof(T)) return nullptr;
    vector_num* v = new (std::nothrow) vector_num();
    if (!v) return nullptr;
    if (capacity > 0) {
      v->data_ = static_cast<T*>(math1::__vector_num_alloc(static_cast<std::size_t>(capacity) * sizeof(T)));
      if (!v->data_) {
        delete v;
        return nullptr;
      }
      v->capacity_ = static_cast<std::uint32_t>(capacity);
    }
    return v;
  }

  // A block over `capacity` elements at `data`, memory that the containers
  // did not allocate (an array of another library, a mapped file): views
  // made over it read and write that memory in place.  When the block dies,
  // release(context) is called instead of freeing the memory.  A block that
  // has to grow (__grow) moves its entries to memory of its own, as any
  // block does, and leaves the adopted memory untouched; release is still
  // called when the block dies, not before.  nullptr when release is null,
  // capacity does not fit 32 bits or the block object cannot be had:
  // release is then not called and the caller keeps the memory.
  using release_function = void (*)(void* context) noexcept;
  static vector_num* adopt(T* data, std::uint64_t capacity, release_function release, void* context) noexcept;

  T* data() const noexcept { return data_; }
  unsigned capacity() const noexcept { return capacity_; }
  // Whether data() is adopted memory (not allocated by the block).
  bool external() const noexcept { return external_; }

  // Makes room for `required` elements, keeping the first `kept` ones (the
  // rest of the block is unspecified afterwards): the new capacity is at
  // least `required` and at least `factor` times the old one, capped at
  // 2^32 - 1 elements.  A block that already satisfies both is left alone.
  // False only when memory runs out or `required` does not fit 32 bits; the
  // block is then unchanged.
  bool __grow(std::uint64_t required, std::uint32_t kept, std::uint32_t factor) noexcept {
    if (required > UINT32_MAX) return false;
    std::uint64_t wanted = static_cast<std::uint64_t>(capacity_) * factor;
    if (wanted < required) wanted = required;
    if (wanted > UINT32_MAX) wanted = UINT32_MAX;
    if (wanted <= capacity_) return true;
    if (wanted > SIZE_MAX / sizeof(T)) return false;
    T* fresh = static_cast<T*>(math1::__vector_num_alloc(static_cast<std::size_t>(wanted) * sizeof(T)));
    if (!fresh) return false;
    if (kept > capacity_) kept = unsigned(capacity_);
    if (kept > 0)
      std::memcpy(static_cast<void*>(fresh), static_cast<const void*>(data_), std::size_t(kept) * sizeof(T));
    if (!external_) math1::__vector_num_free(data_);
    data_ = fresh;
    capacity_ = static_cast<std::uint32_t>(wanted);
    external_ = false;
    return true;
  }

  ~vector_num() override {
    if (!external_) math1::__vector_num_free(data_);
  }

 private:
  friend class external_vector_num<T, K>;
  vector_num() noexcept = default;

  T* data_ = nullptr;
  detail::capacity32 capacity_ = 0u;
  // Set while data_ is adopted memory; it takes the tail padding after the
  // capacity, so the block keeps its size and the offsets of its fields.
  bool external_ = false;
};

// The block object of vector_num::adopt: the release callback of the
// adopted memory and its context.
template <class T, unsigned K>
class external_vector_num final : public vector_num<T, K> {
 public:
  using release_function = typename vector_num<T, K>::release_function;

  void* context() const noexcept { return context_; }
  ~external_vector_num() override { release_(context_); }

 private:
  friend class vector_num<T, K>;
  external_vector_num(T* data, std::uint32_t capacity, release_function release, void* context) noexcept
      : release_(release), context_(context) {
    this->data_ = data;
    this->capacity_ = capacity;
    this->external_ = true;
  }

  release_function release_;
  void* context_;
};

template <class T, unsigned K>
vector_num<T, K>* vector_num<T, K>::adopt(T* data, std::uint64_t capacity, release_function release,
                                          void* context) noexcept {
  if (capacity > UINT32_MAX || !release) return nullptr;
  return new (std::nothrow) external_vector_num<T, K>(data, static_cast<std::uint32_t>(capacity), release, context);
}

namespace detail {
// Makes `storage` hold at least `required` elements, keeping the first
// `kept`; creates the block when there is none.  A block that is already
// large enough is not touched; otherwise it grows by `factor`.
template <class T, unsigned K>
bool ensure_storage(Ptr<vector_num<T, K>>& storage, std::uint64_t required, std::uint32_t kept,
                    std::uint32_t factor) noexcept {
  if (!storage) {
    if (required == 0) return true;
    vector_num<T, K>* block = vector_num<T, K>::create(required);
    if (!block) return false;
    storage = block;
    return true;
  }
  if (required <= storage->capacity()) return true;
  return storage->__grow(required, kept, factor);
}

// Entry equality: the type's own operator== when it has one, the object
// representation otherwise (plain records without a comparison).
template <class T, class = void>
struct has_equal : std::false_type {};
template <class T>
struct has_equal<T, decltype(void(bool(std::declval<const T&>() == std::declval<const T&>())))>
    : std::true_type {};

template <class T>
bool equal_entries(const T* a, const T* b, unsigned n) noexcept {
  if constexpr (has_equal<T>::value) {
    for (unsigned i = 0; i < n; ++i)
      if (!(a[i] == b[i])) return false;
    return true;
  } else {
    return n == 0 || std::memcmp(static_cast<const void*>(a), static_cast<const void*>(b), std::size_t(n) * sizeof(T)) == 0;
  }
}
}  // namespace detail

// A vector view: (storage, size, start).  Entry i is storage element start + i.
template <class T, unsigned K = 8>
class dense1D {
 public:
  using value_type = T;
  using storage_type = vector_num<T, K>;

  dense1D() noexcept = default;
  // n entries, contents unspecified (empty when memory cannot be had).
  explicit dense1D(unsigned n) noexcept { resize(n); }
  // n entries equal to value (empty when memory cannot be had).
  dense1D(unsigned n, const T& value) noexcept { resize(n, value); }
  // Shallow: the new view shares the storage.
  dense1D(const dense1D&) noexcept = default;
  dense1D(dense1D&& other) noexcept
      : storage_(static_cast<Ptr<storage_type>&&>(other.storage_)), size_(other.size_), start_(other.start_) {
    other.size_ = 0;
    other.start_ = 0;
  }
  // Shallow: shares other's storage; the old storage loses one count.
  dense1D& operator=(const dense1D&) noexcept = default;
  dense1D& operator=(dense1D&& other) noexcept {
    if (this != &other) {
      storage_ = static_cast<Ptr<storage_type>&&>(other.storage_);
      size_ = other.size_;
      start_ = other.start_;
      other.size_ = 0;
      other.start_ = 0;
    }
    return *this;
  }
  ~dense1D() = default;

  // Sets every entry to value and returns it.
  T operator=(const T& value) noexcept {
    const T v = value;
    T* p = data();
    for (unsigned i = 0; i < size_; ++i) p[i] = v;
    return v;
  }

  unsigned size() const noexcept { return size_; }
  bool empty() const noexcept { return size_ == 0; }
  unsigned start() const noexcept { return start_; }
  storage_type* storage() const noexcept { return storage_.get(); }
  unsigned capacity() const noexcept { return storage_ ? storage_->capacity() - start_ : 0; }

  T* data() noexcept { return storage_ ? storage_->data() + start_ : nullptr; }
  const T* data() const noexcept { return storage_ ? storage_->data() + start_ : nullptr; }
  T* begin() noexcept { return data(); }
  T* end() noexcept { return data() + size_; }
  const T* begin() const noexcept { return data(); }
  const T* end() const noexcept { return data() + size_; }
  T& operator[](unsigned i) noexcept { return storage_->data()[start_ + i]; }
  const T& operator[](unsigned i) const noexcept { return storage_->data()[start_ + i]; }

  // Deep copy: storage of its own holding other's entries.
  bool copy(const dense1D& other) noexcept {
    if (other.size_ == 0) {
      storage_ = nullptr;
      size_ = 0u;
      start_ = 0u;
      return true;
    }
    storage_type* block = storage_type::create(other.size_);
    if (!block) return false;
    std::memcpy(static_cast<void*>(block->data()), static_cast<const void*>(other.data()),
                std::size_t(other.size_) * sizeof(T));
    storage_ = block;
    size_ = other.size_;
    start_ = 0;
    return true;
  }

  // Shares other's storage, size and start (as assignment).
  void shallow_copy(const dense1D& other) noexcept { *this = other; }

  // Size becomes n; the first min(old, n) entries are kept, new ones unspecified.
  bool resize(unsigned n) noexcept {
    if (n > size_ && !detail::ensure_storage(storage_, std::uint64_t(start_) + n, start_ + size_, 2)) return false;
    size_ = n;
    return true;
  }
  // As resize(n); entries beyond the old size are set to value.
  bool resize(unsigned n, const T& value) noexcept {
    const T v = value;
    const unsigned old = size_;
    if (!resize(n)) return false;
    T* p = data();
    for (unsigned i = old; i < n; ++i) p[i] = v;
    return true;
  }
  // Capacity for at least n entries without changing the size (k is unused).
  bool reserve(unsigned n, unsigned k = 1) noexcept {
    (void)k;
    return detail::ensure_storage(storage_, std::uint64_t(start_) + n, start_ + size_, 1);
  }
  // Appends one entry, doubling the capacity when full; false (size
  // unchanged) when the storage cannot grow.  Inline as a whole, like the
  // standard vector's, so that a loop of appends keeps its bookkeeping in
  // registers.
  bool push_back(const T& value) noexcept {
    vector_num<T, K>* s = storage_.get();
    const unsigned n = size_, first = start_;
    const std::uint64_t end = std::uint64_t(first) + n;
    bool stored = true;
    if (__builtin_expect(s == nullptr || end >= s->capacity(), 0)) {
      const T v = value;  // `value` may live in the block that moves
      stored = detail::ensure_storage(storage_, end + 1, static_cast<std::uint32_t>(end), 2);
      // start_ is rewritten (unchanged) so that the compiler keeps it in a
      // register across a loop of appends instead of reloading it.
      s = storage_.get();
      if (stored) s->data()[end] = v;
      start_ = first;
    } else {
      s->data()[end] = value;
    }
    // Written on every path (also unchanged on failure) so that the size
    // stays known to the compiler across a loop of appends.
    size_ = n + unsigned(stored);
    return stored;
  }
  // Appends n copies of value.
  bool push_back_n(unsigned n, const T& value) noexcept {
    if (std::uint64_t(size_) + n > UINT32_MAX) return false;
    return resize(size_ + n, value);
  }
  // Size 0, capacity kept.
  void clear() noexcept { size_ = 0; }
  // Size 0 and the storage released.
  void clear_hard() noexcept {
    storage_ = nullptr;
    size_ = 0u;
    start_ = 0u;
  }

  // Same size and equal entries (records without operator== compare bytewise).
  bool operator==(const dense1D& other) const noexcept {
    return size_ == other.size_ && detail::equal_entries(data(), other.data(), size_);
  }
  bool operator!=(const dense1D& other) const noexcept { return !(*this == other); }

  // A view of entries first ... first + n - 1 sharing the storage.
  dense1D sub_vector(unsigned first, unsigned n) noexcept { return dense1D(storage_, start_ + first, n); }
  const dense1D sub_vector(unsigned first, unsigned n) const noexcept { return dense1D(storage_, start_ + first, n); }

  // Exchanges the two views (no count changes).
  void swap(dense1D& other) noexcept {
    Ptr<storage_type> s = static_cast<Ptr<storage_type>&&>(storage_);
    storage_ = static_cast<Ptr<storage_type>&&>(other.storage_);
    other.storage_ = static_cast<Ptr<storage_type>&&>(s);
    const unsigned n = size_, f = start_;
    size_ = other.size_;
    start_ = other.start_;
    other.size_ = n;
    other.start_ = f;
  }

  // A view over a given block (used by dense2D::as_vector).
  dense1D(const Ptr<storage_type>& storage, unsigned start, unsigned n) noexcept
      : storage_(storage), size_(n), start_(start) {}

 private:
  Ptr<storage_type> storage_;
  detail::size32 size_ = 0u;
  detail::start32 start_ = 0u;
};

// A column-major matrix view: entry (i, j) is storage element
// start + j * ld + i, with ld (the leading dimension) >= rows.
template <class T>
class dense2D {
 public:
  using value_type = T;
  using storage_type = vector_num<T, 8>;

  dense2D() noexcept = default;
  // rows x cols entries, contents unspecified (empty when memory cannot be had).
  dense2D(unsigned rows, unsigned cols) noexcept { resize(rows, cols); }
  // rows x cols entries equal to value (empty when memory cannot be had).
  dense2D(unsigned rows, unsigned cols, const T& value) noexcept { resize(rows, cols, value); }
  dense2D(const dense2D&) noexcept = default;
  dense2D(dense2D&& other) noexcept
      : storage_(static_cast<Ptr<storage_type>&&>(other.storage_)),
        start_(other.start_), rows_(other.rows_), cols_(other.cols_), ld_(other.ld_) {
    other.start_ = other.rows_ = other.cols_ = other.ld_ = 0;
  }
  dense2D& operator=(const dense2D&) noexcept = default;
  dense2D& operator=(dense2D&& other) noexcept {
    if (this != &other) {
      storage_ = static_cast<Ptr<storage_type>&&>(other.storage_);
      start_ = other.start_;
      rows_ = other.rows_;
      cols_ = other.cols_;
      ld_ = other.ld_;
      other.start_ = other.rows_ = other.cols_ = other.ld_ = 0;
    }
    return *this;
  }
  ~dense2D() = default;

  unsigned rows() const noexcept { return rows_; }
  unsigned cols() const noexcept { return cols_; }
  unsigned ld() const noexcept { return ld_; }
  // True when rows x cols is 0.
  bool empty() const noexcept { return rows_ == 0 || cols_ == 0; }
  bool contiguous() const noexcept { return ld_ == rows_ || cols_ <= 1; }
  unsigned start() const noexcept { return start_; }
  storage_type* storage() const noexcept { return storage_.get(); }
  // Elements of the block from start on.
  unsigned capacity() const noexcept { return storage_ ? storage_->capacity() - start_ : 0; }

  T* data() noexcept { return storage_ ? storage_->data() + start_ : nullptr; }
  const T* data() const noexcept { return storage_ ? storage_->data() + start_ : nullptr; }
  T& operator()(unsigned i, unsigned j) noexcept { return storage_->data()[start_ + std::size_t(j) * ld_ + i]; }
  const T& operator()(unsigned i, unsigned j) const noexcept {
    return storage_->data()[start_ + std::size_t(j) * ld_ + i];
  }

  // Deep copy into a contiguous block of its own (ld = rows).
  bool copy(const dense2D& other) noexcept {
    const std::uint64_t n = std::uint64_t(other.rows_) * other.cols_;
    if (n == 0) {
      storage_ = nullptr;
      start_ = 0;
      rows_ = other.rows_;
      cols_ = other.cols_;
      ld_ = other.rows_;
      return true;
    }
    storage_type* block = storage_type::create(n);
    if (!block) return false;
    copy_block(other, block->data(), other.rows_, other.cols_);
    storage_ = block;
    start_ = 0;
    rows_ = other.rows_;
    cols_ = other.cols_;
    ld_ = other.rows_;
    return true;
  }
  // Shares other's storage and shape (as assignment).
  void shallow_copy(const dense2D& other) noexcept { *this = other; }

  // Shape becomes rows x cols; entry (i, j) inside both shapes keeps its
  // value, the others are unspecified.  A contiguous matrix that keeps its
  // row count grows in place (capacity doubling), other changes move the
  // entries to a block of their own.
  bool resize(unsigned rows, unsigned cols) noexcept { return reshape(rows, cols, nullptr); }
  // As resize(rows, cols); the new entries are set to value.
  bool resize(unsigned rows, unsigned cols, const T& value) noexcept {
    const T v = value;
    return reshape(rows, cols, &v);
  }
  // Capacity for rows x cols entries without changing the shape (k is unused).
  bool reserve(unsigned rows, unsigned cols, unsigned k = 1) noexcept {
    (void)k;
    const std::uint64_t n = std::uint64_t(rows) * cols;
    if (n > UINT32_MAX) return false;
    if (empty() || contiguous()) {
      const std::uint32_t kept = start_ + (empty() ? 0u : rows_ * cols_);
      return detail::ensure_storage(storage_, std::uint64_t(start_) + n, kept, 1);
    }
    // A strided view is first gathered into a contiguous block of its own.
    const std::uint64_t own = std::uint64_t(rows_) * cols_;
    storage_type* block = storage_type::create(n > own ? n : own);
    if (!block) return false;
    copy_block(*this, block->data(), rows_, cols_);
    storage_ = block;
    start_ = 0;
    ld_ = rows_;
    return true;
  }

  // A view of the nr x nc block at (r0, c0) sharing the storage (same ld).
  dense2D sub_matrix(unsigned r0, unsigned c0, unsigned nr, unsigned nc) noexcept {
    return dense2D(storage_, start_ + c0 * ld_ + r0, nr, nc, ld_);
  }
  const dense2D sub_matrix(unsigned r0, unsigned c0, unsigned nr, unsigned nc) const noexcept {
    return dense2D(storage_, start_ + c0 * ld_ + r0, nr, nc, ld_);
  }
  // The contiguous matrix as a vector of rows x cols entries sharing the
  // storage; an empty vector when the matrix is not contiguous.
  dense1D<T, 8> as_vector() const noexcept {
    if (!contiguous()) return dense1D<T, 8>();
    return dense1D<T, 8>(storage_, start_, rows_ * cols_);
  }

  // Shape 0 x 0, the block kept for reuse by a later resize.
  void clear() noexcept { rows_ = cols_ = ld_ = 0; }
  // Shape 0 x 0 and the storage released.
  void clear_hard() noexcept {
    storage_ = nullptr;
    start_ = rows_ = cols_ = ld_ = 0;
  }
  // Exchanges the two views (no count changes).
  void swap(dense2D& other) noexcept {
    dense2D t(static_cast<dense2D&&>(other));
    other = static_cast<dense2D&&>(*this);
    *this = static_cast<dense2D&&>(t);
  }

  dense2D(const Ptr<storage_type>& storage, unsigned start, unsigned rows, unsigned cols, unsigned ld) noexcept
      : storage_(storage), start_(start), rows_(rows), cols_(cols), ld_(ld) {}

 private:
  static void copy_block(const dense2D& from, T* to, unsigned rows, unsigned cols) noexcept {
    const T* src = from.data();
    if (from.ld_ == rows) {
      std::memcpy(static_cast<void*>(to), static_cast<const void*>(src), std::size_t(rows) * cols * sizeof(T));
      return;
    }
    for (unsigned j = 0; j < cols; ++j)
      std::memcpy(static_cast<void*>(to + std::size_t(j) * rows), static_cast<const void*>(src + std::size_t(j) * from.ld_),
                  std::size_t(rows) * sizeof(T));
  }

  bool reshape(unsigned rows, unsigned cols, const T* value) noexcept {
    const std::uint64_t n = std::uint64_t(rows) * cols;
    if (n > UINT32_MAX) return false;
    const unsigned old_rows = rows_, old_cols = cols_;
    if (old_rows == 0 || old_cols == 0) {
      // Nothing to keep: reuse the block from start on.
      if (!detail::ensure_storage(storage_, std::uint64_t(start_) + n, start_, 2)) return false;
      rows_ = rows;
      cols_ = cols;
      ld_ = rows;
      fill_new(0, 0, value);
      return true;
    }
    if (rows == old_rows && (ld_ == rows || old_cols == 1)) {
      // Contiguous with the same row count: columns are added or dropped at the end.
      if (!detail::ensure_storage(storage_, std::uint64_t(start_) + n, start_ + old_rows * old_cols, 2)) return false;
      cols_ = cols;
      ld_ = rows;
      fill_new(old_rows, old_cols, value);
      return true;
    }
    if (n == 0) {
      rows_ = rows;
      cols_ = cols;
      ld_ = rows;
      return true;
    }
    storage_type* block = storage_type::create(n);
    if (!block) return false;
    const unsigned keep_r = rows < old_rows ? rows : old_rows;
    const unsigned keep_c = cols < old_cols ? cols : old_cols;
    const T* src = data();
    T* dst = block->data();
    for (unsigned j = 0; j < keep_c; ++j)
      std::memcpy(static_cast<void*>(dst + std::size_t(j) * rows), static_cast<const void*>(src + std::size_t(j) * ld_),
                  std::size_t(keep_r) * sizeof(T));
    storage_ = block;
    start_ = 0;
    rows_ = rows;
    cols_ = cols;
    ld_ = rows;
    fill_new(keep_r, keep_c, value);
    return true;
  }

  // Sets to *value every entry outside the old rows_kept x cols_kept corner.
  void fill_new(unsigned rows_kept, unsigned cols_kept, const T* value) noexcept {
    if (!value || empty()) return;
    const T v = *value;
    T* p = data();
    for (unsigned j = 0; j < cols_; ++j) {
      T* col = p + std::size_t(j) * ld_;
      for (unsigned i = (j < cols_kept ? rows_kept : 0); i < rows_; ++i) col[i] = v;
    }
  }

  Ptr<storage_type> storage_;
  unsigned start_ = 0;
  unsigned rows_ = 0;
  unsigned cols_ = 0;
  unsigned ld_ = 0;
};

// N values stored contiguously, zero-filled by default.
template <class T, unsigned N>
struct vector_fixed {
  T v[N];

  vector_fixed() noexcept : v{} {}
  template <class... A,
            typename std::enable_if<sizeof...(A) == N && N != 0 &&
                                        (std::is_convertible<A, T>::value && ...),
                                    int>::type = 0>
  vector_fixed(A... a) noexcept : v{static_cast<T>(a)...} {}

  T& operator[](unsigned k) noexcept { return v[k]; }
  const T& operator[](unsigned k) const noexcept { return v[k]; }
  T* data() noexcept { return v; }
  const T* data() const noexcept { return v; }
  static constexpr unsigned size() noexcept { return N; }
};

// M x N values stored column by column, zero-filled by default.
template <class T, unsigned M, unsigned N>
struct matrix_fixed {
  T a[M * N];

  matrix_fixed() noexcept : a{} {}
  // M x N values in column order.
  template <class... A,
            typename std::enable_if<sizeof...(A) == M * N && (M * N != 0) &&
                                        (std::is_convertible<A, T>::value && ...),
                                    int>::type = 0>
  matrix_fixed(A... x) noexcept : a{static_cast<T>(x)...} {}

  T& operator()(unsigned i, unsigned j) noexcept { return a[j * M + i]; }
  const T& operator()(unsigned i, unsigned j) const noexcept { return a[j * M + i]; }
  T* data() noexcept { return a; }
  const T* data() const noexcept { return a; }
  static constexpr unsigned rows() noexcept { return M; }
  static constexpr unsigned cols() noexcept { return N; }
};

// A symmetric N x N matrix, upper triangle packed column by column
// (N(N+1)/2 values), zero-filled by default.
template <class T, unsigned N>
struct symmetric_fixed {
  static constexpr unsigned packed_size = N * (N + 1) / 2;
  T m[packed_size];

  symmetric_fixed() noexcept : m{} {}
  // N values: the diagonal, zeros elsewhere.
  template <class... A,
            typename std::enable_if<sizeof...(A) == N && N != 0 &&
                                        (std::is_convertible<A, T>::value && ...),
                                    int>::type = 0>
  symmetric_fixed(A... d) noexcept : m{} {
    const T diag[N] = {static_cast<T>(d)...};
    for (unsigned k = 0; k < N; ++k) m[k * (k + 1) / 2 + k] = diag[k];
  }
  // N(N+1)/2 values: the packed coefficients.
  template <class... A,
            typename std::enable_if<sizeof...(A) == packed_size && packed_size != N &&
                                        (std::is_convertible<A, T>::value && ...),
                                    int>::type = 0>
  symmetric_fixed(A... c) noexcept : m{static_cast<T>(c)...} {}

  T& operator[](unsigned k) noexcept { return m[k]; }
  const T& operator[](unsigned k) const noexcept { return m[k]; }
  // Symmetric access: (i, j) and (j, i) are the same coefficient.
  T& operator()(unsigned i, unsigned j) noexcept { return m[index(i, j)]; }
  const T& operator()(unsigned i, unsigned j) const noexcept { return m[index(i, j)]; }
  T* data() noexcept { return m; }
  const T* data() const noexcept { return m; }
  static constexpr unsigned index(unsigned i, unsigned j) noexcept {
    return i < j ? j * (j + 1) / 2 + i : i * (i + 1) / 2 + j;
  }
};

}  // namespace zeb
