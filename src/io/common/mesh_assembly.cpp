// Assembly of a mesh read from a file: node ids resolved to positions,
// elements grouped into blocks of one type.
#include "io/common/mesh_assembly.hpp"

#include <algorithm>
#include <cassert>
#include <cstdint>

#include "core/element_model.hpp"

namespace zeb {
namespace plexa {
namespace detail {

bool mesh_assembly::add_node(unsigned id, const double* x) noexcept {
  const unsigned before = coords_.size();
  if (!node_ids_.push_back(id)) return false;
  for (unsigned k = 0; k < dim_; ++k)
    if (!coords_.push_back(x[k])) {
      coords_.resize(before);
      node_ids_.resize(node_ids_.size() - 1);
      return false;
    }
  return true;
}

bool mesh_assembly::add_element(element_type type, const unsigned* node_ids, unsigned count, unsigned element_id,
                                unsigned id) noexcept {
  const unsigned first = refs_.size(), m = ids_.size();
  if (std::uint64_t(first) + count > UINT32_MAX - 1 || !refs_.resize(first + count)) return false;
  unsigned* to = refs_.data() + first;
  for (unsigned k = 0; k < count; ++k) to[k] = node_ids[k];
  assert(count <= 255 && type < 256);
  const run last = runs_.empty() ? run{} : runs_[runs_.size() - 1];
  const bool extends = !runs_.empty() && last.type == type && last.count == count;
  if (!element_ids_.push_back(element_id) || !ids_.push_back(id) ||
      (!extends && !runs_.push_back(run{static_cast<unsigned char>(type), static_cast<unsigned char>(count), 1}))) {
    refs_.resize(first);
    element_ids_.resize(m);
    ids_.resize(m);
    return false;
  }
  if (extends) ++runs_[runs_.size() - 1].elements;
  return true;
}

bool mesh_assembly::reserve(unsigned nodes, unsigned elements, unsigned per_element) noexcept {
  const std::uint64_t n = std::uint64_t(node_ids_.size()) + nodes, m = std::uint64_t(ids_.size()) + elements;
  const std::uint64_t r = refs_.size() + std::uint64_t(elements) * per_element;
  if (n * dim_ > UINT32_MAX || m > UINT32_MAX || r > UINT32_MAX) return false;
  return node_ids_.reserve(unsigned(n)) && coords_.reserve(unsigned(n * dim_)) &&
         element_ids_.reserve(unsigned(m)) && ids_.reserve(unsigned(m)) && refs_.reserve(unsigned(r));
}

namespace {

// Position of a node id: a direct table when the ids are dense enough, a
// binary search over the sorted ids otherwise.
class id_lookup {
 public:
  // `sorted` holds (id << 32 | order) ascending, with distinct ids.
  bool init(const dense1D<std::uint64_t, 8>& sorted) noexcept {
    sorted_ = sorted.data();
    n_ = sorted.size();
    const std::uint64_t top = n_ ? (sorted_[n_ - 1] >> 32) : 0;
    if (n_ == 0 || top > 4 * std::uint64_t(n_) + 1024) return true;
    if (!table_.resize(unsigned(top) + 1, NO_INDEX)) return false;
    for (unsigned p = 0; p < n_; ++p) table_[unsigned(sorted_[p] >> 32)] = p;
    return true;
  }
  unsigned position(unsigned id) const noexcept {
    if (!table_.empty()) return id < table_.size() ? table_[id] : NO_INDEX;
    const std::uint64_t key = std::uint64_t(id) << 32;
    const std::uint64_t* at = std::lower_bound(sorted_, sorted_ + n_, key);
    return at != sorted_ + n_ && (*at >> 32) == id ? unsigned(at - sorted_) : NO_INDEX;
  }

 private:
  const std::uint64_t* sorted_ = nullptr;
  unsigned n_ = 0;
  dense1D<unsigned, 8> table_;
};

}  // namespace

// A matrix viewing the entries of `v` as `cols` columns of `rows`: the
// storage is handed over, not copied.
template <class T>
dense2D<T> as_matrix(const dense1D<T, 8>& v, unsigned rows, unsigned cols) noexcept {
  Ptr<vector_num<T, 8>> storage;
  storage = v.storage();
  return dense2D<T>(storage, v.start(), rows, cols, rows);
}

mesh_assembly::outcome mesh_assembly::finish(dense2D<double>& pos, dense2D<unsigned>& connect,
                                             dense1D<unsigned, 8>& ranges, dense1D<int, 8>& types,
                                             dense1D<unsigned, 8>& ids, dense1D<unsigned, 8>* node_ids,
                                             dense1D<unsigned, 8>* element_ids) noexcept {
  auto fail = [&](outcome o) {
    empty_read_outputs(pos, connect, ranges, types, ids, node_ids, element_ids);
    *this = mesh_assembly(dim_);
    return o;
  };
  empty_read_outputs(pos, connect, ranges, types, ids, node_ids, element_ids);

  // Nodes in ascending id order; equal neighbours are a repeated id.
  const unsigned n = node_ids_.size(), m = ids_.size();
  dense1D<std::uint64_t, 8> sorted;
  if (!sorted.resize(n)) return fail(outcome::out_of_memory);
  for (unsigned i = 0; i < n; ++i) sorted[i] = std::uint64_t(node_ids_[i]) << 32 | i;
  const bool in_order = std::is_sorted(sorted.begin(), sorted.end());
  if (!in_order) std::sort(sorted.begin(), sorted.end());
  for (unsigned p = 1; p < n; ++p)
    if ((sorted[p] >> 32) == (sorted[p - 1] >> 32)) return fail(outcome::duplicate_node);
  id_lookup lookup;
  if (!lookup.init(sorted)) return fail(outcome::out_of_memory);

  const unsigned nruns = runs_.size();
  unsigned rows = 0, blocks = 0;
  for (unsigned r = 0; r < nruns; ++r) {
    rows = std::max(rows, unsigned(runs_[r].count));
    if (r == 0 || runs_[r].type != runs_[r - 1].type) ++blocks;
  }
  bool uniform = m > 0 && rows > 0;  // every element has `rows` nodes
  for (unsigned r = 0; r < nruns && uniform; ++r) uniform = runs_[r].count == rows;
  if (!ranges.resize(blocks + 1) || !types.resize(blocks) || (node_ids && !node_ids->resize(n)))
    return fail(outcome::out_of_memory);

  // Nodes added in id order are already the coordinate matrix.
  if (in_order && n > 0) {
    pos = as_matrix(coords_, dim_, n);
  } else {
    if (!pos.resize(dim_, n)) return fail(outcome::out_of_memory);
    double* x = pos.data();
    for (unsigned p = 0; p < n; ++p) {
      const unsigned i = unsigned(sorted[p]);
      for (unsigned k = 0; k < dim_; ++k) x[std::size_t(p) * dim_ + k] = coords_[i * dim_ + k];
    }
  }
  if (node_ids)
    for (unsigned p = 0; p < n; ++p) (*node_ids)[p] = unsigned(sorted[p] >> 32);

  // Elements of one node count: their node ids, resolved in place, are the
  // connectivity.
  unsigned* c;
  if (uniform) {
    c = refs_.data();
  } else {
    if (!connect.resize(rows, m, NO_INDEX)) return fail(outcome::out_of_memory);
    c = connect.data();
  }
  unsigned b = 0, first = 0, e = 0;
  for (unsigned r = 0; r < nruns; ++r) {
    const run& run = runs_[r];
    if (r == 0 || run.type != runs_[r - 1].type) {
      ranges[b] = e;
      types[b++] = run.type;
    }
    for (const unsigned end = e + run.elements; e < end; ++e) {
      for (unsigned k = 0; k < run.count; ++k) {
        const unsigned at = lookup.position(refs_[first + k]);
        if (at == NO_INDEX) return fail(outcome::missing_node);
        c[std::size_t(e) * rows + k] = at;
      }
      first += run.count;
    }
  }
  if (uniform) connect = as_matrix(refs_, rows, m);
  ranges[blocks] = m;
  ids = ids_;
  if (element_ids) *element_ids = element_ids_;
  *this = mesh_assembly(dim_);
  return outcome::complete;
}

int empty_read_outputs(dense2D<double>& pos, dense2D<unsigned>& connect, dense1D<unsigned, 8>& ranges,
                       dense1D<int, 8>& types, dense1D<unsigned, 8>& ids, dense1D<unsigned, 8>* node_ids,
                       dense1D<unsigned, 8>* element_ids) noexcept {
  pos.clear_hard();
  connect.clear_hard();
  ranges.clear_hard();
  types.clear_hard();
  ids.clear_hard();
  if (node_ids) node_ids->clear_hard();
  if (element_ids) element_ids->clear_hard();
  if (&ids == &ranges) return -6;
  if (node_ids && (node_ids == &ranges || node_ids == &ids)) return -7;
  if (element_ids && (element_ids == &ranges || element_ids == &ids || element_ids == node_ids)) return -8;
  return 0;
}

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
