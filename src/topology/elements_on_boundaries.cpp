// The element boundaries that carry the elements of a boundary mesh, found
// in the ball of each boundary element's first node.
//
// The ball of node a is gathered from one element holding a (its ancestor)
// by a depth-first walk across the element boundaries that hold a, with an
// explicit stack and a bitmap of the elements already reached (cleared
// again through the ball itself), so neither the depth nor a broken
// neighbour relation can make the walk recurse or loop.
#include <cstdint>

#include <zeb/plexa/indices.hpp>
#include <zeb/plexa/topology.hpp>

#include "core/aliasing.hpp"
#include "core/element_model.hpp"
#include "core/index_bitmap.hpp"
#include "core/matrix_walk.hpp"
#include "core/result_codes.hpp"
#include "topology/boundary_match.hpp"

namespace zeb {
namespace plexa {

using detail::NO_INDEX;

namespace {

enum direction : unsigned char { same, reversed };

// Whether the k nodes b list the nodes a in the given direction.  Two nodes
// are a directed edge; a single node matches either way.
bool listed_as(const unsigned* a, const unsigned* b, unsigned k, direction d) noexcept {
  if (k == 1) return a[0] == b[0];
  if (k == 2) return d == same ? a[0] == b[0] && a[1] == b[1] : a[0] == b[1] && a[1] == b[0];
  return d == same ? detail::same_cycle(a, b, k) : detail::reversed_cycle(a, b, k);
}

bool holds(const unsigned* nodes, unsigned k, unsigned a) noexcept {
  for (unsigned i = 0; i < k; ++i)
    if (nodes[i] == a) return true;
  return false;
}

class boundary_finder {
 public:
  boundary_finder(const dense2D<unsigned>& connect, const dense2D<unsigned>& neighbors, element_type narrowed,
                  int orientation) noexcept
      : elements_(connect.data()), element_ld_(connect.ld()), links_(neighbors.data()), link_ld_(neighbors.ld()),
        type_(narrowed), nb_(detail::boundary_count(narrowed)) {
    // The directions tried in each element, in order of preference.
    if (orientation > 0) {
      tries_ = 1;
      order_[0] = same;
    } else if (orientation < -1) {
      tries_ = 1;
      order_[0] = reversed;
    } else {
      tries_ = 2;
      order_[0] = orientation == 0 ? same : reversed;
      order_[1] = orientation == 0 ? reversed : same;
    }
  }

  bool init(unsigned elements) noexcept {
    return elements == 0 || (reached_.init(0, elements - 1) && stack_.reserve(64) && ball_.reserve(64));
  }

  // Key of the element boundary that carries the k nodes of `b`, searched
  // in the ball of b[0] gathered from element `first`; UINT_MAX when none.
  // -4 when `first` does not hold b[0], -3 when the walk reaches an element
  // that does not, -199 when memory could not be had.
  int find(const unsigned* b, unsigned k, unsigned first, unsigned& key) noexcept {
    key = NO_INDEX;
    if (!holds_node(first, b[0])) return -4;
    const int r = gather(b[0], first);
    const unsigned* ball = ball_.data();
    const unsigned size = ball_.size();
    for (unsigned q = 0; q < size; ++q) reached_.unmark(ball[q]);
    for (unsigned q = 0; q < stack_.size(); ++q) reached_.unmark(stack_[q]);
    if (r != 0) return r;
    unsigned nodes[4];
    for (unsigned q = 0; q < size; ++q) {
      const unsigned e = ball[q];
      const unsigned* col = column(e);
      const detail::boundary_list& t = table(col);
      for (unsigned d = 0; d < tries_; ++d)
        for (unsigned j = 0; j < t.count; ++j)
          if (t.size[j] == k && (detail::boundary_nodes(t, col, j, nodes), listed_as(b, nodes, k, order_[d]))) {
            key = e * nb_ + j;
            return 0;
          }
    }
    return 0;
  }

 private:
  const unsigned* column(unsigned e) const noexcept { return elements_ + std::size_t(e) * element_ld_; }
  const detail::boundary_list& table(const unsigned* col) const noexcept {
    return *detail::boundaries_of(detail::column_kind(type_, col));
  }
  bool holds_node(unsigned e, unsigned a) const noexcept {
    const unsigned* col = column(e);
    return holds(col, detail::base_node_count(detail::column_kind(type_, col)), a);
  }

  // The elements around node a reachable from `first` (which holds a), in
  // the order they are taken from the stack.  Every element is marked when
  // it is pushed; what is still on the stack after a failure is unmarked by
  // the caller together with the ball.
  int gather(unsigned a, unsigned first) noexcept {
    ball_.clear();
    stack_.clear();
    reached_.mark(first);
    stack_.push_back(first);  // within the reserved room
    unsigned nodes[4];
    while (!stack_.empty()) {
      const unsigned e = stack_[stack_.size() - 1];
      stack_.resize(stack_.size() - 1);
      if (!ball_.push_back(e)) return detail::OUT_OF_MEMORY;
      if (e != first && !holds_node(e, a)) return -3;
      const unsigned* col = column(e);
      const detail::boundary_list& t = table(col);
      const unsigned* across = links_ + std::size_t(e) * link_ld_;
      for (unsigned j = 0; j < t.count; ++j) {
        const unsigned f = across[j];
        if (f == NO_INDEX || !holds(nodes, detail::boundary_nodes(t, col, j, nodes), a) || !reached_.mark(f))
          continue;
        if (!stack_.push_back(f)) {
          reached_.unmark(f);
          return detail::OUT_OF_MEMORY;
        }
      }
    }
    return 0;
  }

  const unsigned* elements_;
  std::size_t element_ld_;
  const unsigned* links_;
  std::size_t link_ld_;
  element_type type_;
  unsigned nb_;
  unsigned tries_ = 0;
  direction order_[2] = {same, same};
  detail::index_bitmap reached_;
  dense1D<unsigned, 8> stack_, ball_;
};

}  // namespace

int get_elements_on_boundaries(const dense2D<unsigned int>& boundaries, const dense2D<unsigned int>& connectivity,
                               const dense2D<unsigned int>& neighbors, const dense1D<unsigned int, 8>& ancestors,
                               element_type type, int orientation, dense1D<unsigned int, 8>& keys,
                               unsigned int& nb) {
  nb = 0;
  // Views held for the whole call: `keys` may be one of the inputs, or share
  // its block; it is then given a block of its own before it is written.
  const dense2D<unsigned> faces = boundaries, connect = connectivity, links = neighbors;
  const dense1D<unsigned, 8> ancestor = ancestors;
  detail::empty_output(keys, faces, connect, links, ancestor);
  if (faces.empty()) return 0;
  const unsigned columns = faces.cols();
  if (!keys.resize(columns, NO_INDEX)) return detail::fail(detail::OUT_OF_MEMORY, keys);
  if (!detail::is_element_type(type)) return detail::fail(-5, keys);
  const element_type t = detail::narrow_type(type, connect.rows());
  const unsigned rows = detail::boundary_rows(t);
  if (faces.rows() != rows) return detail::fail(-1, keys);
  if (!check_IDs(connect, t, NO_INDEX)) return detail::fail(-2, keys);
  const unsigned n = connect.empty() ? 0 : connect.cols();
  if (!detail::neighbors_fit(links, detail::boundary_count(t), n, true)) return detail::fail(-3, keys);
  if (!check_IDs(ancestor, n)) return detail::fail(-4, keys);
  if (!detail::has_boundary_tables(t)) return detail::fail(-5, keys);
  nb = detail::boundary_count(t);

  boundary_finder finder(connect, links, t, orientation);
  if (!finder.init(n)) return detail::fail(detail::OUT_OF_MEMORY, keys);
  const unsigned* up = ancestor.data();
  const unsigned known = ancestor.size();
  unsigned* out = keys.data();
  int r = 0;
  detail::for_each_column(faces, [&](const unsigned* b, unsigned i) {
    if (r != 0) return;
    const unsigned a = b[0];
    if (a >= known || up[a] == NO_INDEX) return;
    r = finder.find(b, detail::leading_nodes(b, rows), up[a], out[i]);
  });
  if (r != 0) {
    nb = 0;
    return detail::fail(r, keys);
  }
  return 0;
}

}  // namespace plexa
}  // namespace zeb
