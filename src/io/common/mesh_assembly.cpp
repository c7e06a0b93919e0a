// Assembly of a mesh read from a file: node ids resolved to positions,
// elements grouped into blocks of one type.
#include "io/common/mesh_assembly.hpp"

#include <algorithm>
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
  const unsigned first = refs_.size();
  if (std::uint64_t(first) + count > UINT32_MAX - 1 || !refs_.resize(first + count)) return false;
  std::copy(node_ids, node_ids + count, refs_.data() + first);
  if (!elements_.push_back(element{int(type), first, count, element_id, id})) {
    refs_.resize(first);
    return false;
  }
  return true;
}

bool mesh_assembly::reserve(unsigned nodes, unsigned elements, unsigned per_element) noexcept {
  const std::uint64_t n = std::uint64_t(node_ids_.size()) + nodes, m = std::uint64_t(elements_.size()) + elements;
  const std::uint64_t r = refs_.size() + std::uint64_t(elements) * per_element;
  if (n * dim_ > UINT32_MAX || m > UINT32_MAX || r > UINT32_MAX) return false;
  return node_ids_.reserve(unsigned(n)) && coords_.reserve(unsigned(n * dim_)) && elements_.reserve(unsigned(m)) &&
         refs_.reserve(unsigned(r));
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

mesh_assembly::outcome mesh_assembly::finish(dense2D<double>& pos, dense2D<unsigned>& connect,
                                             dense1D<unsigned, 8>& ranges, dense1D<int, 8>& types,
                                             dense1D<unsigned, 8>& ids, dense1D<unsigned, 8>* node_ids,
                                             dense1D<unsigned, 8>* element_ids) const noexcept {
  auto empty_all = [&] {
    pos.clear_hard();
    connect.clear_hard();
    ranges.clear_hard();
    types.clear_hard();
    ids.clear_hard();
    if (node_ids) node_ids->clear_hard();
    if (element_ids) element_ids->clear_hard();
  };
  auto fail = [&](outcome o) {
    empty_all();
    return o;
  };
  empty_all();

  // Nodes in ascending id order; equal neighbours are a repeated id.
  const unsigned n = node_ids_.size(), m = elements_.size();
  dense1D<std::uint64_t, 8> sorted;
  if (!sorted.resize(n)) return fail(outcome::out_of_memory);
  for (unsigned i = 0; i < n; ++i) sorted[i] = std::uint64_t(node_ids_[i]) << 32 | i;
  std::sort(sorted.begin(), sorted.end());
  for (unsigned p = 1; p < n; ++p)
    if ((sorted[p] >> 32) == (sorted[p - 1] >> 32)) return fail(outcome::duplicate_node);
  id_lookup lookup;
  if (!lookup.init(sorted)) return fail(outcome::out_of_memory);

  unsigned rows = 0, blocks = 0;
  for (unsigned e = 0; e < m; ++e) {
    rows = std::max(rows, elements_[e].count);
    if (e == 0 || elements_[e].type != elements_[e - 1].type) ++blocks;
  }
  if (!pos.resize(dim_, n) || !connect.resize(rows, m, NO_INDEX) || !ranges.resize(blocks + 1) ||
      !types.resize(blocks) || !ids.resize(m) || (node_ids && !node_ids->resize(n)) ||
      (element_ids && !element_ids->resize(m)))
    return fail(outcome::out_of_memory);

  double* x = pos.data();
  for (unsigned p = 0; p < n; ++p) {
    const unsigned i = unsigned(sorted[p]);
    for (unsigned k = 0; k < dim_; ++k) x[std::size_t(p) * dim_ + k] = coords_[i * dim_ + k];
    if (node_ids) (*node_ids)[p] = unsigned(sorted[p] >> 32);
  }
  unsigned* c = connect.data();
  unsigned b = 0;
  for (unsigned e = 0; e < m; ++e) {
    const element& el = elements_[e];
    if (e == 0 || el.type != elements_[e - 1].type) {
      ranges[b] = e;
      types[b++] = el.type;
    }
    for (unsigned k = 0; k < el.count; ++k) {
      const unsigned at = lookup.position(refs_[el.first + k]);
      if (at == NO_INDEX) return fail(outcome::missing_node);
      c[std::size_t(e) * rows + k] = at;
    }
    ids[e] = el.id;
    if (element_ids) (*element_ids)[e] = el.element_id;
  }
  ranges[blocks] = m;
  return outcome::complete;
}

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
