// node_detector: the exported k-d tree over a caller's nodes.
#include <random>

#include <zeb/plexa/indices.hpp>
#include <zeb/plexa/search.hpp>

#include "core/result_codes.hpp"
#include "search/insertion_path.hpp"
#include "search/kd_tree.hpp"

namespace zeb {
namespace plexa {

using detail::NO_INDEX;

namespace {

unsigned words_for(unsigned bits) noexcept { return unsigned((std::uint64_t(bits) + 31) / 32); }

// The working node list of a list-form reinit: a copy without the markers;
// -2 when an entry is not a column of pos.
int list_nodes(const dense1D<unsigned int, 8>& nodes, unsigned n, dense1D<unsigned int, 8>& out) {
  if (!out.reserve(nodes.size())) return detail::OUT_OF_MEMORY;
  for (unsigned v : nodes) {
    if (v == NO_INDEX) continue;
    if (v >= n) return -2;
    out.push_back(v);  // cannot fail: reserved
  }
  return 0;
}

int range_nodes(const dense2D<unsigned int>* first, const dense2D<unsigned int>* last, unsigned n,
                dense1D<unsigned int, 8>& out) {
  if (first > last) return -3;
  for (const dense2D<unsigned int>* m = first; m != last; ++m)
    if (!check_IDs(*m, n)) return -2;
  return unique_indices(out, first, last, dense1D<unsigned int, 8>());
}

}  // namespace

node_detector::node_detector() noexcept = default;

node_detector::node_detector(const dense2D<double>& pos) { reinit(pos); }

node_detector::node_detector(const dense2D<double>& pos, const dense1D<unsigned int, 8>& nodes) {
  reinit(pos, nodes);
}

node_detector::node_detector(const dense2D<double>& pos, const dense2D<unsigned int>& connect) {
  reinit(pos, connect);
}

node_detector::node_detector(const dense2D<double>& pos, const dense2D<unsigned int>* first,
                             const dense2D<unsigned int>* last) {
  reinit(pos, first, last);
}

node_detector::node_detector(const node_detector& other) { *this = other; }

node_detector& node_detector::operator=(const node_detector& other) {
  if (this == &other) return *this;
  dense2D<unsigned int> table;
  dense1D<double, 8> slot_x;
  dense1D<unsigned int, 8> bits, flagged;
  if (!table.copy(other.table_) || !slot_x.copy(other.slot_x_) || !bits.copy(other.flag_bits_) ||
      !flagged.copy(other.flagged_)) {
    clear();
    return *this;
  }
  pos2_ = other.pos2_;
  pos3_ = other.pos3_;
  table_ = static_cast<dense2D<unsigned int>&&>(table);
  slot_x_ = static_cast<dense1D<double, 8>&&>(slot_x);
  flag_bits_ = static_cast<dense1D<unsigned int, 8>&&>(bits);
  flagged_ = static_cast<dense1D<unsigned int, 8>&&>(flagged);
  path_.clear_hard();  // the cache is this detector's own
  return *this;
}

node_detector::~node_detector() = default;

void node_detector::clear() noexcept {
  pos2_ = pos3_ = nullptr;
  table_ = dense2D<unsigned int>();
  slot_x_.clear_hard();
  flag_bits_.clear_hard();
  flagged_.clear_hard();
  path_.clear_hard();
}

unsigned int node_detector::size() const noexcept { return table_.cols(); }

namespace {

// The coordinates of the nodes of slots [first, last) into slot_x (rows of
// pos per slot, in slot order).
void copy_slot_coordinates(const dense2D<double>& pos, const unsigned* table, unsigned first, unsigned last,
                           double* slot_x) {
  const unsigned rows = pos.rows();
  const double* x = pos.data();
  const std::size_t ld = pos.ld();
  for (unsigned s = first; s < last; ++s)
    for (unsigned k = 0; k < rows; ++k) slot_x[std::size_t(s) * rows + k] = x[table[3 * std::size_t(s)] * ld + k];
}

}  // namespace

// All reinit forms end here with a checked list of distinct nodes: the new
// tree replaces the old one only once it is complete.
int node_detector::adopt(const dense2D<double>& pos, const dense1D<unsigned int, 8>& nodes) {
  dense2D<unsigned int> table;
  dense1D<double, 8> slot_x;
  dense1D<unsigned int, 8> bits;
  const bool built = pos.rows() == 2 ? detail::build_tree<2>(pos, nodes.data(), nodes.size(), table)
                                     : detail::build_tree<3>(pos, nodes.data(), nodes.size(), table);
  if (!built || !slot_x.resize(pos.rows() * nodes.size()) || !bits.resize(words_for(nodes.size()), 0u))
    return detail::OUT_OF_MEMORY;
  copy_slot_coordinates(pos, table.data(), 0, table.cols(), slot_x.data());
  pos2_ = pos.rows() == 2 ? &pos : nullptr;
  pos3_ = pos.rows() == 3 ? &pos : nullptr;
  table_ = static_cast<dense2D<unsigned int>&&>(table);
  slot_x_ = static_cast<dense1D<double, 8>&&>(slot_x);
  flag_bits_ = static_cast<dense1D<unsigned int, 8>&&>(bits);
  flagged_.clear_hard();
  path_.clear_hard();
  return int(table_.cols());
}

int node_detector::reinit(const dense2D<double>& pos) {
  if (pos.rows() != 2 && pos.rows() != 3) return -1;
  dense1D<unsigned int, 8> nodes;
  if (!nodes.resize(pos.cols())) return detail::OUT_OF_MEMORY;
  for (unsigned i = 0; i < nodes.size(); ++i) nodes[i] = i;
  return adopt(pos, nodes);
}

int node_detector::reinit(const dense2D<double>& pos, const dense1D<unsigned int, 8>& list) {
  if (pos.rows() != 2 && pos.rows() != 3) return -1;
  dense1D<unsigned int, 8> nodes;
  const int r = list_nodes(list, pos.cols(), nodes);
  return r < 0 ? r : adopt(pos, nodes);
}

int node_detector::reinit(const dense2D<double>& pos, const dense2D<unsigned int>& connect) {
  return reinit(pos, &connect, &connect + 1);
}

int node_detector::reinit(const dense2D<double>& pos, const dense2D<unsigned int>* first,
                          const dense2D<unsigned int>* last) {
  if (pos.rows() != 2 && pos.rows() != 3) return -1;
  dense1D<unsigned int, 8> nodes;
  const int r = range_nodes(first, last, pos.cols(), nodes);
  return r < 0 ? r : adopt(pos, nodes);
}

namespace {

// Capacity for `needed` entries, growing by half again at least so that a
// detector fed one node per call copies its tables O(log n) times only.
template <class T>
bool reserve_growing(dense1D<T, 8>& v, unsigned needed) {
  if (needed <= v.capacity()) return true;
  const std::uint64_t grown = v.capacity() + std::uint64_t(v.capacity()) / 2;
  return v.reserve(unsigned(grown > needed && grown <= UINT32_MAX ? grown : needed));
}

bool reserve_growing(dense2D<unsigned int>& table, unsigned cols) {
  if (std::uint64_t(3) * cols <= table.capacity()) return true;
  const std::uint64_t grown = table.cols() + std::uint64_t(table.cols()) / 2;
  return table.reserve(3, unsigned(grown > cols && 3 * grown <= UINT32_MAX ? grown : cols));
}

// Links the slots [first, first + n) of table, holding the nodes of o (valid
// indices), one by one; the unlinked ones go to flagged and their bits are
// set.  Returns the number linked.
template <unsigned D>
unsigned link_slots(const dense2D<double>& pos, const unsigned* o, unsigned n, unsigned first,
                    dense2D<unsigned int>& table, unsigned* path, dense1D<unsigned int, 8>& flagged,
                    dense1D<unsigned int, 8>& bits) {
  detail::insertion_walk<D> walk(pos.data(), pos.ld(), table.data(), path);
  unsigned added = 0;
  for (unsigned i = 0; i < n; ++i) {
    const unsigned slot = first + i;
    if (walk.link(slot, o[i])) {
      ++added;
    } else {
      // Cannot fail: both were reserved for every slot of the call.
      flagged.push_back(slot);
      if (bits.size() <= slot / 32) bits.resize(slot / 32 + 1, 0u);
      bits[slot / 32] |= 1u << (slot % 32);
    }
  }
  return added;
}

}  // namespace

unsigned int* node_detector::insertion_path() {
  if (path_.size() != detail::PATH_WORDS) {
    if (!path_.resize(detail::PATH_WORDS)) return nullptr;
    detail::reset_path(path_.data());
  }
  return path_.data();
}

unsigned int node_detector::insert(const dense1D<unsigned int, 8>& nodes) {
  const dense2D<double>* pos = pos2_ ? pos2_ : pos3_;
  if (!pos || nodes.empty()) return 0;
  const unsigned dim = pos2_ ? 2 : 3;
  if (pos->rows() != dim) return 0;

  // The nodes to insert, valid ones only, in shuffled order: a fresh
  // generator per call, so the same list always gives the same tree and
  // sorted input does not make a linear one.  A single node needs neither
  // the copy nor the generator.
  const unsigned cols = pos->cols();
  dense1D<unsigned int, 8> order;
  const unsigned* o = nodes.data();
  unsigned n = nodes.size();
  if (n > 1) {
    if (!order.copy(nodes)) return 0;
    unsigned* w = order.data();
    std::mt19937 gen(1);
    for (unsigned i = 1; i < n; ++i) {
      const unsigned j = unsigned(gen() % (std::uint64_t(i) + 1));
      const unsigned t = w[i];
      w[i] = w[j];
      w[j] = t;
    }
    // Entries that are not columns of pos are skipped.
    unsigned kept = 0;
    for (unsigned i = 0; i < n; ++i)
      if (w[i] < cols) w[kept++] = w[i];
    o = w;
    n = kept;
  } else if (o[0] >= cols) {
    return 0;
  }
  if (n == 0) return 0;

  // Reserve everything first so that the insertion cannot fail half way.
  const unsigned old_slots = table_.cols();
  if (std::uint64_t(old_slots) + n > UINT32_MAX - 1) return 0;
  const unsigned slots = old_slots + n;
  if (std::uint64_t(dim) * slots > UINT32_MAX || !reserve_growing(table_, slots) ||
      !reserve_growing(slot_x_, dim * slots) || !reserve_growing(flagged_, flagged_.size() + n) ||
      !reserve_growing(flag_bits_, words_for(slots)))
    return 0;
  table_.resize(3, slots);  // within the capacities: cannot fail
  slot_x_.resize(dim * slots);
  unsigned* table = table_.data();
  for (unsigned i = 0; i < n; ++i) {
    unsigned* s = table + 3 * std::size_t(old_slots + i);
    s[0] = o[i];
    s[1] = s[2] = NO_INDEX;
  }
  copy_slot_coordinates(*pos, table, old_slots, slots, slot_x_.data());
  // Without memory for the cache every walk starts at the root.
  unsigned* path = insertion_path();
  return dim == 2 ? link_slots<2>(*pos, o, n, old_slots, table_, path, flagged_, flag_bits_)
                  : link_slots<3>(*pos, o, n, old_slots, table_, path, flagged_, flag_bits_);
}

unsigned int node_detector::insert(const dense2D<unsigned int>& connect) {
  if (!pos2_ && !pos3_) return 0;
  dense1D<unsigned int, 8> nodes;
  if (unique_indices(nodes, connect, dense1D<unsigned int, 8>()) < 0) return 0;
  return insert(nodes);
}

unsigned int node_detector::find_closest(const vector_fixed<double, 2>& p) const {
  if (pos2_) return detail::find_closest_node(detail::make_view<2>(*pos2_, table_, slot_x_), p.data(), NO_INDEX);
  if (pos3_) {
    const double q[3] = {p[0], p[1], 0.0};
    return detail::find_closest_node(detail::make_view<3>(*pos3_, table_, slot_x_), q, NO_INDEX);
  }
  return NO_INDEX;
}

unsigned int node_detector::find_closest(const vector_fixed<double, 3>& p) const {
  if (pos2_) return detail::find_closest_node(detail::make_view<2>(*pos2_, table_, slot_x_), p.data(), NO_INDEX);
  if (pos3_) return detail::find_closest_node(detail::make_view<3>(*pos3_, table_, slot_x_), p.data(), NO_INDEX);
  return NO_INDEX;
}

unsigned int node_detector::find_closest(unsigned int node) const {
  const dense2D<double>* pos = pos2_ ? pos2_ : pos3_;
  if (!pos || node >= pos->cols()) return NO_INDEX;
  const double* q = pos->data() + std::size_t(node) * pos->ld();
  if (pos2_) return detail::find_closest_node(detail::make_view<2>(*pos2_, table_, slot_x_), q, node);
  return detail::find_closest_node(detail::make_view<3>(*pos3_, table_, slot_x_), q, node);
}

namespace {

template <unsigned D>
int box_query(const dense2D<double>& pos, const dense2D<unsigned int>& table, const double* lo, const double* hi,
              dense1D<unsigned int, 8>& IDs) {
  dense1D<detail::box_step, 8> stack;
  const unsigned old_size = IDs.size();
  bool ok = stack.reserve(64);
  if (ok)
    ok = detail::for_each_in_box(detail::make_view<D>(pos, table), lo, hi, stack,
                                 [&](unsigned v) { ok = ok && IDs.push_back(v); }) &&
         ok;
  if (!ok) {
    IDs.resize(old_size);
    return detail::OUT_OF_MEMORY;
  }
  return int(IDs.size() - old_size);
}

}  // namespace

int node_detector::find_in_box(const vector_fixed<double, 2>& min, const vector_fixed<double, 2>& max,
                               dense1D<unsigned int, 8>& IDs) const {
  if (pos2_) return box_query<2>(*pos2_, table_, min.data(), max.data(), IDs);
  if (pos3_) {
    const double lo[3] = {min[0], min[1], 0.0}, hi[3] = {max[0], max[1], 0.0};
    return box_query<3>(*pos3_, table_, lo, hi, IDs);
  }
  return 0;
}

int node_detector::find_in_box(const vector_fixed<double, 3>& min, const vector_fixed<double, 3>& max,
                               dense1D<unsigned int, 8>& IDs) const {
  if (pos2_) return box_query<2>(*pos2_, table_, min.data(), max.data(), IDs);
  if (pos3_) return box_query<3>(*pos3_, table_, min.data(), max.data(), IDs);
  return 0;
}

}  // namespace plexa
}  // namespace zeb
