// The edge set of element blocks, built from node-to-element lists.
//
// Element g is listed at node v = col[l] when one of the edges at its local
// node l leads to a node not below v, so each edge is reached from its
// smaller end only (a tetrahedron is listed at 3 of its 4 nodes).  Walking
// the nodes in ascending order, the larger ends met at v are kept once with
// a marker array (marker[w] == v: already kept) and sorted, which gives the
// set in order without sorting all element edges.  A first walk counts the
// edges so that the output is sized once; the second writes them.
#include "topology/edge_set.hpp"

#include <algorithm>
#include <cstdint>

#include <zeb/plexa/indices.hpp>

#include "core/element_model.hpp"
#include "core/result_codes.hpp"
#include "topology/boundary_tables.hpp"

namespace zeb {
namespace plexa {
namespace detail {

namespace {

// The edges at each local node of a linear kind, from its edge table.
struct node_links {
  unsigned char nodes;        // vertices of the kind
  unsigned char count[8];     // edges at local node l
  unsigned char other[8][4];  // their other ends
};

constexpr node_links links_from(const edge_list& edges, unsigned nodes) {
  node_links t{};
  t.nodes = static_cast<unsigned char>(nodes);
  for (unsigned k = 0; k < edges.count; ++k) {
    const unsigned a = edges.node[k][0], b = edges.node[k][1];
    t.other[a][t.count[a]++] = static_cast<unsigned char>(b);
    t.other[b][t.count[b]++] = static_cast<unsigned char>(a);
  }
  return t;
}

inline constexpr node_links edge2_links = links_from(edge2_edges, 2);
inline constexpr node_links tria3_links = links_from(tria3_edges, 3);
inline constexpr node_links quad4_links = links_from(quad4_edges, 4);
inline constexpr node_links tetra4_links = links_from(tetra4_edges, 4);
inline constexpr node_links pyra5_links = links_from(pyra5_edges, 5);
inline constexpr node_links wedge6_links = links_from(wedge6_edges, 6);
inline constexpr node_links hexa8_links = links_from(hexa8_edges, 8);

const node_links& links_of(element_type linear) noexcept {
  switch (linear) {
    case ELT_EDGE2: return edge2_links;
    case ELT_TRIA3: return tria3_links;
    case ELT_QUAD4: return quad4_links;
    case ELT_TETRA4: return tetra4_links;
    case ELT_PYRA5: return pyra5_links;
    case ELT_WEDGE6: return wedge6_links;
    default: return hexa8_links;
  }
}

// The edge tables of each element of the blocks, and the element numbers
// g = (elements of the blocks before) + column.
class element_walk {
 public:
  element_walk(const element_block* blocks, unsigned count, const unsigned* starts) noexcept
      : blocks_(blocks), count_(count), starts_(starts) {}

  // Calls f(column, links, g) for every element of a block that has edges.
  template <class F>
  void for_each(F&& f) const {
    for (unsigned b = 0; b < count_; ++b) {
      const element_block& k = blocks_[b];
      const element_type kind = edge_kind(k.type);
      if (kind == ELT_NONE) continue;
      for (unsigned e = 0; e < k.cols; ++e) {
        const unsigned* col = k.data + std::size_t(e) * k.ld;
        f(col, links_of(column_kind(kind, col)), starts_[b] + e);
      }
    }
  }

  // Column and edge table of element g.  The last block found is tried
  // first: the elements of one node list come in ascending order.
  const unsigned* locate(unsigned g, const node_links*& links) noexcept {
    if (g < starts_[cur_] || g >= starts_[cur_ + 1])
      cur_ = unsigned(std::upper_bound(starts_, starts_ + count_ + 1, g) - starts_) - 1;
    const element_block& k = blocks_[cur_];
    const unsigned* col = k.data + std::size_t(g - starts_[cur_]) * k.ld;
    links = &links_of(column_kind(edge_kind(k.type), col));
    return col;
  }

 private:
  const element_block* blocks_;
  unsigned count_;
  const unsigned* starts_;
  unsigned cur_ = 0;
};

// Whether the element is listed at its local node l: an edge at l leads to
// a node not below col[l].
inline bool listed_at(const node_links& t, const unsigned* col, unsigned l) noexcept {
  for (unsigned i = 0; i < t.count[l]; ++i)
    if (col[t.other[l][i]] >= col[l]) return true;
  return false;
}

// Sorts a short run in place (the larger ends at one node), falling back
// to std::sort for the long runs of a node shared by many elements.
void sort_run(unsigned* p, unsigned n) noexcept {
  if (n > 24) {
    std::sort(p, p + n);
    return;
  }
  for (unsigned i = 1; i < n; ++i) {
    const unsigned x = p[i];
    unsigned j = i;
    for (; j > 0 && p[j - 1] > x; --j) p[j] = p[j - 1];
    p[j] = x;
  }
}

}  // namespace

element_block block_of(const dense2D<unsigned>& connect, element_type narrowed) noexcept {
  return {connect.data(), connect.ld(), connect.empty() ? 0u : connect.cols(), narrowed};
}

bool element_types(const dense1D<int, 8>& types) noexcept {
  for (const int t : types)
    if (!is_element_type(t)) return false;
  return true;
}

bool blocks_fit(const dense2D<unsigned>* first, const dense1D<int, 8>& types, unsigned nodes) noexcept {
  for (unsigned k = 0; k < types.size(); ++k)
    if (!check_IDs(first[k], narrow_type(element_type(types[k]), first[k].rows()), nodes)) return false;
  return true;
}

bool blocks_of(const dense2D<unsigned>* first, const dense1D<int, 8>& types, dense1D<element_block, 8>& blocks) noexcept {
  if (!blocks.resize(types.size())) return false;
  for (unsigned k = 0; k < types.size(); ++k)
    blocks[k] = block_of(first[k], narrow_type(element_type(types[k]), first[k].rows()));
  return true;
}

element_type edge_kind(element_type narrowed) noexcept {
  switch (narrowed) {
    case ELT_EDGE2:
    case ELT_EDGE3: return ELT_EDGE2;
    case ELT_TRIA3:
    case ELT_TRIA6: return ELT_TRIA3;
    case ELT_QUAD4:
    case ELT_QUAD8:
    case ELT_QUAD9: return ELT_QUAD4;
    case ELT_TETRA4:
    case ELT_TETRA10: return ELT_TETRA4;
    case ELT_PYRA5:
    case ELT_PYRA14: return ELT_PYRA5;
    case ELT_WEDGE6:
    case ELT_WEDGE18: return ELT_WEDGE6;
    case ELT_HEXA8:
    case ELT_HEXA27: return ELT_HEXA8;
    case ELT_FACE_MIX:
    case ELT_SOLID_MIX: return narrowed;
    default: return ELT_NONE;
  }
}

int build_edge_set(const element_block* blocks, unsigned count, dense2D<unsigned>& edges) noexcept {
  edges.clear_hard();
  dense1D<unsigned, 8> starts, offsets, items, marker;
  if (!starts.resize(count + 1)) return OUT_OF_MEMORY;
  std::uint64_t elements = 0;
  for (unsigned b = 0; b < count; ++b) {
    starts[b] = static_cast<unsigned>(elements);
    elements += blocks[b].cols;
    if (elements >= NO_INDEX) return OUT_OF_MEMORY;
  }
  starts[count] = static_cast<unsigned>(elements);
  element_walk walk(blocks, count, starts.data());

  // The largest node, then the node-to-element lists.  Counts of node v
  // stand at v + 2; after the running sum the start of v is at v + 1, which
  // the placement moves to its end, leaving the offsets at v.
  unsigned largest = 0;
  bool any = false;
  walk.for_each([&](const unsigned* col, const node_links& t, unsigned) {
    any = true;
    for (unsigned l = 0; l < t.nodes; ++l) largest = col[l] > largest ? col[l] : largest;
  });
  if (!any) return 0;
  if (largest > NO_INDEX - 3 || !offsets.resize(largest + 3, 0u)) return OUT_OF_MEMORY;
  unsigned* off = offsets.data();
  std::uint64_t listings = 0;
  walk.for_each([&](const unsigned* col, const node_links& t, unsigned) {
    for (unsigned l = 0; l < t.nodes; ++l)
      if (listed_at(t, col, l)) ++off[col[l] + 2], ++listings;
  });
  if (listings >= NO_INDEX || !items.resize(static_cast<unsigned>(listings)) || !marker.resize(largest + 1, NO_INDEX))
    return OUT_OF_MEMORY;
  for (unsigned v = 2; v < largest + 3; ++v) off[v] += off[v - 1];
  unsigned* item = items.data();
  walk.for_each([&](const unsigned* col, const node_links& t, unsigned g) {
    for (unsigned l = 0; l < t.nodes; ++l)
      if (listed_at(t, col, l)) item[off[col[l] + 1]++] = g;
  });

  // Calls keep(w) for each larger end w of an edge at v, once.
  unsigned* mark = marker.data();
  auto ends_at = [&](unsigned v, auto&& keep) {
    for (unsigned q = off[v]; q < off[v + 1]; ++q) {
      const node_links* t;
      const unsigned* col = walk.locate(item[q], t);
      for (unsigned l = 0; l < t->nodes; ++l) {
        if (col[l] != v) continue;
        for (unsigned i = 0; i < t->count[l]; ++i) {
          const unsigned w = col[t->other[l][i]];
          if (w < v || mark[w] == v) continue;
          mark[w] = v;
          keep(w);
        }
      }
    }
  };
  std::uint64_t total = 0;
  for (unsigned v = 0; v <= largest; ++v) ends_at(v, [&](unsigned) { ++total; });
  if (2 * total > UINT32_MAX || !edges.resize(2, static_cast<unsigned>(total))) return fail(OUT_OF_MEMORY, edges);
  if (total == 0) return 0;

  // The larger ends of node v are gathered at the start of its columns,
  // sorted, then spread into (v, w) pairs from the last one back, which
  // never overwrites an end not yet moved.
  marker = NO_INDEX;
  unsigned* out = edges.data();
  for (unsigned v = 0; v <= largest; ++v) {
    unsigned n = 0;
    ends_at(v, [&](unsigned w) { out[n++] = w; });
    sort_run(out, n);
    for (unsigned k = n; k-- > 0;) {
      out[2 * k + 1] = out[k];
      out[2 * k] = v;
    }
    out += 2 * n;
  }
  return 0;
}

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
