// assemble_parts: parts glued back into one mesh through their global ids.
#include <algorithm>

#include <zeb/plexa/indices.hpp>
#include <zeb/plexa/mpi.hpp>

#include "core/result_codes.hpp"

namespace zeb {
namespace plexa {

namespace {

constexpr unsigned NONE = 0xFFFFFFFFu;

int assemble(const dense2D<double>* first_pos, const dense2D<unsigned>* first_connect,
             const dense1D<unsigned, 8>* first_ids, unsigned parts, dense2D<double>& out_pos,
             dense2D<unsigned>& out_connect, dense1D<unsigned, 8>& out_node_of) {
  if (parts == 0 || !first_pos || !first_connect || !first_ids) return detail::bad_argument(1);
  unsigned dim = 0, rows = 0;
  std::uint64_t nodes = 0, elements = 0;
  for (unsigned k = 0; k < parts; ++k) {
    if (first_pos[k].cols() == 0) continue;
    if (dim != 0 && first_pos[k].rows() != dim) return detail::bad_argument(2);
    dim = first_pos[k].rows();
  }
  for (unsigned k = 0; k < parts; ++k)
    if (!check_IDs(first_connect[k], first_pos[k].cols())) return detail::bad_argument(3);
  for (unsigned k = 0; k < parts; ++k) {
    const dense1D<unsigned, 8>& ids = first_ids[k];
    if (ids.size() != first_pos[k].cols()) return detail::bad_argument(4);
    for (unsigned i = 0; i < ids.size(); ++i)
      if (ids[i] == NONE) return detail::bad_argument(4);
    nodes += ids.size();
    if (!first_connect[k].empty()) {
      rows = std::max(rows, first_connect[k].rows());
      elements += first_connect[k].cols();
    }
  }
  if (nodes >= NONE || elements >= NONE) return detail::OUT_OF_MEMORY;
  // Every copy as (id, position in part order): sorted, the copies of one
  // id are side by side, its first copy first.
  dense1D<std::uint64_t, 8> copies(unsigned(nodes), 0);
  if (copies.size() != nodes || !out_node_of.resize(unsigned(nodes))) return detail::OUT_OF_MEMORY;
  for (unsigned k = 0, at = 0; k < parts; ++k)
    for (unsigned i = 0; i < first_ids[k].size(); ++i, ++at) copies[at] = (std::uint64_t(first_ids[k][i]) << 32) | at;
  std::sort(copies.begin(), copies.end());
  unsigned distinct = 0;
  for (unsigned c = 0; c < copies.size(); ++c)
    distinct += c == 0 || (copies[c] >> 32) != (copies[c - 1] >> 32);
  if (!out_pos.resize(dim, distinct) || !out_connect.resize(rows, unsigned(elements), NONE))
    return detail::OUT_OF_MEMORY;
  // Where each part's copies start in part order.
  dense1D<unsigned, 8> start(parts + 1, 0u);
  if (start.size() != parts + 1) return detail::OUT_OF_MEMORY;
  for (unsigned k = 0; k < parts; ++k) start[k + 1] = start[k] + first_ids[k].size();
  for (unsigned c = 0, v = 0; c < copies.size(); ++c) {
    const unsigned at = unsigned(copies[c]);
    const bool first = c == 0 || (copies[c] >> 32) != (copies[c - 1] >> 32);
    if (first && c != 0) ++v;
    out_node_of[at] = v;
    if (!first) continue;
    const unsigned k = unsigned(std::upper_bound(start.begin(), start.end(), at) - start.begin()) - 1;
    for (unsigned r = 0; r < dim; ++r) out_pos(r, v) = first_pos[k](r, at - start[k]);
  }
  for (unsigned k = 0, e = 0; k < parts; ++k) {
    const dense2D<unsigned>& part = first_connect[k];
    if (part.empty()) continue;
    for (unsigned j = 0; j < part.cols(); ++j, ++e)
      for (unsigned r = 0; r < part.rows(); ++r)
        out_connect(r, e) = part(r, j) == NONE ? NONE : out_node_of[start[k] + part(r, j)];
  }
  return int(distinct);
}

}  // namespace

int assemble_parts(const dense2D<double>* first_pos, const dense2D<unsigned int>* first_connect,
                   const dense1D<unsigned int, 8>* first_ids, unsigned int parts, dense2D<double>& pos,
                   dense2D<unsigned int>& connect, dense1D<unsigned int, 8>& node_of) {
  // The outputs may be parts themselves: the results are built aside, the
  // outputs emptied only when the call fails and replaced when it ends.
  dense2D<double> out_pos;
  dense2D<unsigned> out_connect;
  dense1D<unsigned, 8> out_node_of;
  const int code = assemble(first_pos, first_connect, first_ids, parts, out_pos, out_connect, out_node_of);
  if (code < 0) return detail::fail(code, pos, connect, node_of);
  pos.swap(out_pos);
  connect.swap(out_connect);
  node_of.swap(out_node_of);
  return code;
}

}  // namespace plexa
}  // namespace zeb
