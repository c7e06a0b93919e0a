// number_nodes_globally: one id per node over all ranks, nodes within the
// tolerance of one another sharing one, by merge's rule over the ranks'
// nodes in rank order.
#include <cmath>
#include <cstring>
#include <limits>

#include <zeb/plexa/mpi.hpp>
#include <zeb/plexa/search.hpp>

#include "core/result_codes.hpp"
#include "mpi/collective.hpp"

namespace zeb {
namespace plexa {

namespace {

using detail::OUT_OF_MEMORY;
using detail::SUCCESS;

constexpr unsigned NONE = 0xFFFFFFFFu;

// The box of a rank's nodes: lo[0..2], hi[0..2] (z 0 in 2-D); empty (lo
// above hi) for a rank without nodes.  NaN coordinates are left out.
void bounding_box(const dense2D<double>& pos, double box[6]) noexcept {
  const double inf = std::numeric_limits<double>::infinity();
  for (int k = 0; k < 3; ++k) box[k] = inf, box[3 + k] = -inf;
  const unsigned d = pos.rows();
  for (unsigned j = 0; j < pos.cols(); ++j)
    for (unsigned k = 0; k < d; ++k) {
      const double x = pos(k, j);
      if (x < box[k]) box[k] = x;
      if (x > box[3 + k]) box[3 + k] = x;
    }
  if (d == 2 && pos.cols()) box[2] = box[5] = 0;
}

bool inside(const dense2D<double>& pos, unsigned j, const double* box, double tolerance) noexcept {
  for (unsigned k = 0; k < pos.rows(); ++k)
    if (!(pos(k, j) >= box[k] - tolerance && pos(k, j) <= box[3 + k] + tolerance)) return false;
  return true;
}

// This rank's nodes inside the enlarged box of each later rank: their local
// indices, grouped by destination rank.
int candidates_for_later_ranks(const dense2D<double>& pos, const dense1D<double, 8>& boxes, unsigned rank,
                               unsigned size, double tolerance, dense1D<unsigned, 8>& offsets,
                               dense1D<unsigned, 8>& nodes) noexcept {
  if (!offsets.resize(size + 1, 0u)) return OUT_OF_MEMORY;
  nodes.clear();
  for (unsigned q = 0; q < size; ++q) {
    offsets[q] = nodes.size();
    if (q <= rank) continue;
    const double* box = boxes.data() + 6 * q;
    for (unsigned j = 0; j < pos.cols(); ++j)
      if (inside(pos, j, box, tolerance) && !nodes.push_back(j)) return OUT_OF_MEMORY;
  }
  offsets[size] = nodes.size();
  return SUCCESS;
}

// Settles the ids of the nodes joined onto other ranks' nodes: each round
// asks the holders for the ids they know; a chain's first node is on a
// lower rank than its joined node, so every round settles at least the
// lowest rank still waiting.
int settle_joined(MPI_Comm comm, unsigned size, const dense1D<unsigned, 8>& joined_rank,
                  const dense1D<unsigned, 8>& joined_node, dense1D<unsigned, 8>& ids) noexcept {
  const unsigned n = ids.size();
  for (unsigned round = 0; round <= size; ++round) {
    dense1D<unsigned, 8> offsets, asked, from, questions, answers, replies, reply_from;
    int code = offsets.resize(size + 1, 0u) ? SUCCESS : OUT_OF_MEMORY;
    unsigned waiting = 0;
    for (unsigned i = 0; i < n && code == SUCCESS; ++i)
      if (ids[i] == NONE) ++offsets[joined_rank[i] + 1], ++waiting;
    int any = 0;
    const int mine = waiting ? 1 : 0;
    if (MPI_Allreduce(&mine, &any, 1, MPI_INT, MPI_MAX, comm) != MPI_SUCCESS) return detail::MPI_FAILURE;
    if ((code = detail::agree(comm, code)) != SUCCESS) return code;
    if (!any) return SUCCESS;
    for (unsigned r = 0; r < size; ++r) offsets[r + 1] += offsets[r];
    dense1D<unsigned, 8> fill, who;
    code = fill.copy(offsets) && asked.resize(waiting) && who.resize(waiting) ? SUCCESS : OUT_OF_MEMORY;
    for (unsigned i = 0; i < n && code == SUCCESS; ++i)
      if (ids[i] == NONE) {
        const unsigned at = fill[joined_rank[i]]++;
        asked[at] = joined_node[i];
        who[at] = i;
      }
    if ((code = detail::agree(comm, code)) != SUCCESS) return code;
    if ((code = detail::exchange_lists(comm, asked.data(), offsets, 1, questions, from, nullptr)) != SUCCESS)
      return code;
    code = answers.resize(questions.size()) ? SUCCESS : OUT_OF_MEMORY;
    for (unsigned k = 0; k < answers.size() && code == SUCCESS; ++k) answers[k] = ids[questions[k]];
    if ((code = detail::agree(comm, code)) != SUCCESS) return code;
    if ((code = detail::exchange_lists(comm, answers.data(), from, 1, replies, reply_from, nullptr)) != SUCCESS)
      return code;
    for (unsigned k = 0; k < waiting; ++k) ids[who[k]] = replies[k];
  }
  return SUCCESS;
}

int number_nodes(MPI_Comm comm, const dense2D<double>& pos, double tolerance, dense1D<unsigned, 8>& ids) {
  int rank_int = 0, size_int = 0;
  if (MPI_Comm_rank(comm, &rank_int) != MPI_SUCCESS || MPI_Comm_size(comm, &size_int) != MPI_SUCCESS)
    return detail::MPI_FAILURE;
  const unsigned rank = unsigned(rank_int), size = unsigned(size_int), n = pos.cols();
  const unsigned dim = n ? pos.rows() : 0;
  // Checks, agreed: the code, the tolerance, the dimension, the node count.
  {
    int code = dim != 0 && dim != 2 && dim != 3 ? -2 : !(tolerance >= 0) ? -3 : SUCCESS;
    const double inf = std::numeric_limits<double>::infinity();
    const double mine[5] = {double(code), tolerance, -tolerance, dim ? double(dim) : inf, dim ? -double(dim) : inf};
    double all[5];
    unsigned long long count = n, total = 0;
    if (MPI_Allreduce(mine, all, 5, MPI_DOUBLE, MPI_MIN, comm) != MPI_SUCCESS ||
        MPI_Allreduce(&count, &total, 1, MPI_UNSIGNED_LONG_LONG, MPI_SUM, comm) != MPI_SUCCESS)
      return detail::MPI_FAILURE;
    if (all[0] < 0) return int(all[0]);
    if ((all[3] != inf && all[3] != -all[4]) || total >= 0x7FFFFFFF) return -2;
    if (!(all[1] == -all[2])) return -3;
  }
  // The boxes of all ranks; this rank's nodes that later ranks may join.
  dense1D<double, 8> boxes;
  dense1D<unsigned, 8> offsets, offered, from, received_nodes;
  dense1D<double, 8> offered_pos, received_pos;
  int code = boxes.resize(6 * size) ? SUCCESS : OUT_OF_MEMORY;
  if ((code = detail::agree(comm, code)) != SUCCESS) return code;
  double box[6];
  bounding_box(pos, box);
  if (MPI_Allgather(box, 6, MPI_DOUBLE, boxes.data(), 6, MPI_DOUBLE, comm) != MPI_SUCCESS) return detail::MPI_FAILURE;
  code = candidates_for_later_ranks(pos, boxes, rank, size, tolerance, offsets, offered);
  if (code == SUCCESS && !offered_pos.resize(offered.size() * (dim ? dim : 1))) code = OUT_OF_MEMORY;
  for (unsigned k = 0; k < offered.size() && code == SUCCESS; ++k)
    for (unsigned r = 0; r < dim; ++r) offered_pos[k * dim + r] = pos(r, offered[k]);
  if ((code = detail::agree(comm, code)) != SUCCESS) return code;
  const unsigned width = dim ? dim : 1;
  if ((code = detail::exchange_lists(comm, offered_pos.data(), offsets, width, received_pos, from, nullptr)) ||
      (code = detail::exchange_lists(comm, offered.data(), offsets, 1, received_nodes, from, nullptr)))
    return code;
  // Earlier ranks' candidates first, then this rank's nodes: merge's rule
  // over that order is the rule over all ranks in rank order.
  const unsigned c = received_nodes.size();
  dense2D<double> all;
  dense1D<unsigned, 8> sources, targets, map, joined_rank, joined_node;
  code = (n == 0 || all.resize(dim, c + n)) && sources.resize(n) && targets.resize(c + n) &&
                 joined_rank.resize(n, NONE) && joined_node.resize(n, NONE) && ids.resize(n, NONE)
             ? SUCCESS
             : OUT_OF_MEMORY;
  if (code == SUCCESS && n) {
    for (unsigned k = 0; k < c; ++k) {
      targets[k] = k;
      for (unsigned r = 0; r < dim; ++r) all(r, k) = received_pos[k * dim + r];
    }
    for (unsigned j = 0; j < n; ++j) {
      sources[j] = targets[c + j] = c + j;
      for (unsigned r = 0; r < dim; ++r) all(r, c + j) = pos(r, j);
    }
    const int merged = merge(all, sources, targets, map, tolerance);
    if (merged < 0) code = merged;
  }
  if ((code = detail::agree(comm, code)) != SUCCESS) return code;
  // Ids of this rank's first nodes, after those of the earlier ranks.
  unsigned long long roots = 0, before = 0, total = 0;
  for (unsigned j = 0; j < n; ++j) roots += map[c + j] == c + j;
  if (MPI_Exscan(&roots, &before, 1, MPI_UNSIGNED_LONG_LONG, MPI_SUM, comm) != MPI_SUCCESS ||
      MPI_Allreduce(&roots, &total, 1, MPI_UNSIGNED_LONG_LONG, MPI_SUM, comm) != MPI_SUCCESS)
    return detail::MPI_FAILURE;
  if (rank == 0) before = 0;  // MPI_Exscan leaves rank 0's result undefined
  unsigned next = unsigned(before);
  for (unsigned j = 0; j < n; ++j)
    if (map[c + j] == c + j) ids[j] = next++;
  for (unsigned j = 0; j < n; ++j) {
    const unsigned to = map[c + j];
    if (to >= c) {
      ids[j] = ids[to - c];  // a root of this rank (map entries are roots)
    } else {
      unsigned r = 0;
      while (from[r + 1] <= to) ++r;
      joined_rank[j] = r;
      joined_node[j] = received_nodes[to];
    }
  }
  if ((code = settle_joined(comm, size, joined_rank, joined_node, ids)) != SUCCESS) return code;
  return int(total);
}

}  // namespace

int number_nodes_globally(MPI_Comm comm, const dense2D<double>& pos, double tolerance,
                          dense1D<unsigned int, 8>& global_ids) {
  global_ids.clear_hard();
  if (comm == MPI_COMM_NULL) return -1;
  const int code = number_nodes(comm, pos, tolerance, global_ids);
  if (code < 0) global_ids.clear_hard();
  return code;
}

}  // namespace plexa
}  // namespace zeb
