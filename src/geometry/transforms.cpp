// Translation, rotation and scaling of coordinates in place, over every node,
// a node list or the nodes of a connectivity.
#include <zeb/plexa/geometry.hpp>
#include <zeb/plexa/indices.hpp>

#include "core/result_codes.hpp"
#include "geometry/transform_ops.hpp"

namespace zeb {
namespace plexa {

namespace {

using detail::rotate2_op;
using detail::rotate3_op;
using detail::shift_op;
using detail::zoom_op;

template <class Op>
int all_nodes(dense2D<double>& pos, const Op& op) {
  return detail::transform_columns(pos, 0, pos.cols(), op);
}

// `counted`: the result is the number of entries used (translate, rotate)
// rather than 0 (zoom, which also returns at once for an empty list).
template <class Op>
int node_list(dense2D<double>& pos, const dense1D<unsigned int, 8>& nodes, const Op& op, bool counted) {
  if (!counted && nodes.empty()) return 0;
  if (pos.empty() || op.identity()) return 0;
  if (!detail::widen(pos, Op::dim)) return detail::OUT_OF_MEMORY;
  const std::size_t used = detail::apply_list(pos, nodes.data(), nodes.size(), op);
  return counted ? detail::count_result(used) : 0;
}

// Each distinct node of the connectivity is moved once.  The nodes are
// collected before pos is widened, so a failure leaves pos as it was.
template <class Op>
int connect_nodes(dense2D<double>& pos, const dense2D<unsigned int>& connect, const Op& op, bool counted) {
  if (pos.empty() || op.identity()) return 0;
  dense1D<unsigned int, 8> nodes;
  if (unique_indices(nodes, connect, dense1D<unsigned int, 8>()) < 0) return detail::OUT_OF_MEMORY;
  return node_list(pos, nodes, op, counted);
}

}  // namespace

int translate(dense2D<double>& pos, const vector_fixed<double, 2>& T) { return all_nodes(pos, shift_op<2>(T)); }
int translate(dense2D<double>& pos, const vector_fixed<double, 2>& T, const dense1D<unsigned int, 8>& nodes) {
  return node_list(pos, nodes, shift_op<2>(T), true);
}
int translate(dense2D<double>& pos, const vector_fixed<double, 2>& T, const dense2D<unsigned int>& connect) {
  return connect_nodes(pos, connect, shift_op<2>(T), true);
}
int translate(dense2D<double>& pos, const vector_fixed<double, 3>& T) { return all_nodes(pos, shift_op<3>(T)); }
int translate(dense2D<double>& pos, const vector_fixed<double, 3>& T, const dense1D<unsigned int, 8>& nodes) {
  return node_list(pos, nodes, shift_op<3>(T), true);
}
int translate(dense2D<double>& pos, const vector_fixed<double, 3>& T, const dense2D<unsigned int>& connect) {
  return connect_nodes(pos, connect, shift_op<3>(T), true);
}

int rotate(dense2D<double>& pos, const vector_fixed<double, 2>& C, double angle) {
  return all_nodes(pos, rotate2_op(C, angle));
}
int rotate(dense2D<double>& pos, const vector_fixed<double, 2>& C, double angle,
           const dense1D<unsigned int, 8>& nodes) {
  return node_list(pos, nodes, rotate2_op(C, angle), true);
}
int rotate(dense2D<double>& pos, const vector_fixed<double, 2>& C, double angle,
           const dense2D<unsigned int>& connect) {
  return connect_nodes(pos, connect, rotate2_op(C, angle), true);
}
int rotate(dense2D<double>& pos, const vector_fixed<double, 3>& C, const vector_fixed<double, 3>& R) {
  return all_nodes(pos, rotate3_op(C, R));
}
int rotate(dense2D<double>& pos, const vector_fixed<double, 3>& C, const vector_fixed<double, 3>& R,
           const dense1D<unsigned int, 8>& nodes) {
  return node_list(pos, nodes, rotate3_op(C, R), true);
}
int rotate(dense2D<double>& pos, const vector_fixed<double, 3>& C, const vector_fixed<double, 3>& R,
           const dense2D<unsigned int>& connect) {
  return connect_nodes(pos, connect, rotate3_op(C, R), true);
}

int zoom(dense2D<double>& pos, const vector_fixed<double, 2>& C, double factor) {
  return all_nodes(pos, zoom_op<2>(C, factor));
}
int zoom(dense2D<double>& pos, const vector_fixed<double, 2>& C, double factor,
         const dense1D<unsigned int, 8>& nodes) {
  return node_list(pos, nodes, zoom_op<2>(C, factor), false);
}
int zoom(dense2D<double>& pos, const vector_fixed<double, 2>& C, double factor,
         const dense2D<unsigned int>& connect) {
  return connect_nodes(pos, connect, zoom_op<2>(C, factor), false);
}
int zoom(dense2D<double>& pos, const vector_fixed<double, 3>& C, double factor) {
  return all_nodes(pos, zoom_op<3>(C, factor));
}
int zoom(dense2D<double>& pos, const vector_fixed<double, 3>& C, double factor,
         const dense1D<unsigned int, 8>& nodes) {
  return node_list(pos, nodes, zoom_op<3>(C, factor), false);
}
int zoom(dense2D<double>& pos, const vector_fixed<double, 3>& C, double factor,
         const dense2D<unsigned int>& connect) {
  return connect_nodes(pos, connect, zoom_op<3>(C, factor), false);
}

}  // namespace plexa
}  // namespace zeb
