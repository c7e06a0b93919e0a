// Neighbours across element boundaries, found with a chained hash table of
// boundary keys.
//
// Boundaries are visited in key order (element e, boundary j: key e*nb + j,
// which is also the position of entry (j, e) in the output).  The table
// holds only the first boundary of each group of equal boundaries; a later
// boundary either finds its group's first member in its bucket's chain or
// starts a new group.  Equal boundaries therefore meet in the order in which
// they were inserted, the earliest one being the group's first.  Chains are
// linked through an array indexed by the key itself, so an entry costs one
// link and the key needs no storage.
#include <cstdint>

#include <zeb/plexa/topology.hpp>

#include "core/element_model.hpp"
#include "core/hashing.hpp"
#include "core/result_codes.hpp"
#include "topology/boundary_match.hpp"

namespace zeb {
namespace plexa {

using detail::NO_INDEX;

namespace {

// Reads the boundary table of a column: fixed for a single-kind
// connectivity, from the markers for the mixed ones.
template <element_type Type>
struct fixed_kind {
  static constexpr unsigned nb = detail::boundary_count(Type);
  static const detail::boundary_list& table(const unsigned*) noexcept { return *detail::boundaries_of(Type); }
};

template <element_type Mixed>
struct mixed_kind {
  static constexpr unsigned nb = detail::boundary_count(Mixed);
  static const detail::boundary_list& table(const unsigned* col) noexcept {
    return *detail::boundaries_of(detail::column_kind(Mixed, col));
  }
};

template <class Kind>
class boundary_linker {
 public:
  static constexpr unsigned nb = Kind::nb;

  boundary_linker(const dense2D<unsigned>& connect, unsigned* out) noexcept
      : base_(connect.data()), ld_(connect.ld()), n_(connect.cols()), out_(out) {}

  int run(bool links) noexcept {
    const std::uint64_t keys = std::uint64_t(n_) * nb;
    const std::uint64_t request = keys / 2 > 23 ? keys / 2 : 23;
    const unsigned buckets = detail::bucket_prime(request);
    if (!head_.resize(buckets, NO_INDEX) || !next_.resize(static_cast<unsigned>(keys))) return detail::OUT_OF_MEMORY;
    if (!links && !crowded_.resize(static_cast<unsigned>((keys + 31) / 32), 0u)) return detail::OUT_OF_MEMORY;
    const detail::fast_modulo bucket_of(buckets);
    unsigned* head = head_.data();
    unsigned* next = next_.data();

    unsigned b[4], a[4];
    for (unsigned e = 0; e < n_; ++e) {
      const unsigned* col = base_ + std::size_t(e) * ld_;
      const detail::boundary_list& t = Kind::table(col);
      for (unsigned j = 0; j < t.count; ++j) {
        const unsigned key = e * nb + j;
        const unsigned k = detail::boundary_nodes(t, col, j, b);
        unsigned& chain = head[bucket_of(detail::unordered_key(b, k))];
        unsigned first = chain;
        for (; first != NO_INDEX; first = next[first]) {
          const unsigned* fcol = base_ + std::size_t(first / nb) * ld_;
          const unsigned ka = detail::boundary_nodes(Kind::table(fcol), fcol, first % nb, a);
          if (detail::equal_boundaries(a, ka, b, k)) break;
        }
        if (first == NO_INDEX) {
          next[key] = chain;
          chain = key;
        } else if (links) {
          out_[first] = e;
          out_[key] = first / nb;
        } else {
          link_manifold(first, key, a, k);
        }
      }
    }
    return 0;
  }

 private:
  // Boundary `key` equals the group's first boundary `first` (nodes a):
  // the first match links both; a second one unlinks the group for good.
  void link_manifold(unsigned first, unsigned key, const unsigned* a, unsigned k) noexcept {
    unsigned* crowded = crowded_.data();
    if (crowded[first / 32] >> (first % 32) & 1u) return;
    if (out_[first] == NO_INDEX) {
      out_[first] = key / nb;
      out_[key] = first / nb;
      return;
    }
    crowded[first / 32] |= 1u << (first % 32);
    // Find the earlier match: the boundary of element out_[first] other than
    // `first` itself (a degenerate element may hold both) that is linked
    // back to the first element and equal to it.
    const unsigned other = out_[first], owner = first / nb;
    const unsigned* ocol = base_ + std::size_t(other) * ld_;
    const detail::boundary_list& t = Kind::table(ocol);
    unsigned c[4];
    for (unsigned j = 0; j < t.count; ++j) {
      unsigned& slot = out_[other * nb + j];
      if (slot != owner || other * nb + j == first) continue;
      const unsigned kc = detail::boundary_nodes(t, ocol, j, c);
      if (detail::equal_boundaries(a, k, c, kc)) {
        slot = NO_INDEX;
        break;
      }
    }
    out_[first] = NO_INDEX;
  }

  const unsigned* base_;
  std::size_t ld_;
  unsigned n_;
  unsigned* out_;
  dense1D<unsigned, 8> head_, next_, crowded_;
};

template <class Kind>
int link_boundaries(const dense2D<unsigned>& connect, bool links, unsigned* out) {
  boundary_linker<Kind> linker(connect, out);
  return linker.run(links);
}

}  // namespace

int get_neighbors(const dense2D<unsigned int>& connectivity_arg, element_type type, bool non_manifold_links,
                  dense2D<unsigned int>& neighbors) {
  const dense2D<unsigned int> connectivity = connectivity_arg;  // as on entry: neighbors may be connectivity_arg
  neighbors = dense2D<unsigned>();
  if (connectivity.empty()) return 0;
  element_type t;
  if (const int r = detail::check_boundary_input(connectivity, type, t)) return r;
  const unsigned n = connectivity.cols(), nb = detail::boundary_count(t);
  if (std::uint64_t(n) * nb >= NO_INDEX || !neighbors.resize(nb, n, NO_INDEX)) {
    neighbors = dense2D<unsigned>();
    return detail::OUT_OF_MEMORY;
  }
  unsigned* out = neighbors.data();
  int r = 0;
  switch (t) {
    case ELT_EDGE2: r = link_boundaries<fixed_kind<ELT_EDGE2>>(connectivity, non_manifold_links, out); break;
    case ELT_TRIA3: r = link_boundaries<fixed_kind<ELT_TRIA3>>(connectivity, non_manifold_links, out); break;
    case ELT_QUAD4: r = link_boundaries<fixed_kind<ELT_QUAD4>>(connectivity, non_manifold_links, out); break;
    case ELT_FACE_MIX: r = link_boundaries<mixed_kind<ELT_FACE_MIX>>(connectivity, non_manifold_links, out); break;
    case ELT_TETRA4: r = link_boundaries<fixed_kind<ELT_TETRA4>>(connectivity, non_manifold_links, out); break;
    case ELT_PYRA5: r = link_boundaries<fixed_kind<ELT_PYRA5>>(connectivity, non_manifold_links, out); break;
    case ELT_WEDGE6: r = link_boundaries<fixed_kind<ELT_WEDGE6>>(connectivity, non_manifold_links, out); break;
    case ELT_HEXA8: r = link_boundaries<fixed_kind<ELT_HEXA8>>(connectivity, non_manifold_links, out); break;
    default: r = link_boundaries<mixed_kind<ELT_SOLID_MIX>>(connectivity, non_manifold_links, out); break;
  }
  if (r != 0) neighbors = dense2D<unsigned>();
  return r;
}

}  // namespace plexa
}  // namespace zeb
