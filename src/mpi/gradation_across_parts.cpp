// bound_metric_gradations and bound_metric_variations over a partitioned
// mesh: the serial call on every part, then the shared nodes' values
// exchanged and combined, in rounds until no exchange changes anything.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include <zeb/plexa/gradation.hpp>
#include <zeb/plexa/indices.hpp>
#include <zeb/plexa/metrics.hpp>
#include <zeb/plexa/mpi.hpp>

#include "core/result_codes.hpp"
#include "mpi/collective.hpp"
#include "metrics/gradation_session.hpp"
#include "mpi/shared_nodes.hpp"
#include "topology/boundary_tables.hpp"

namespace zeb {
namespace plexa {

namespace {

using detail::OUT_OF_MEMORY;
using detail::SUCCESS;

constexpr unsigned NONE = 0xFFFFFFFFu;
constexpr double LARGEST = std::numeric_limits<double>::max();

// The two kinds of field seen alike: `width` doubles per node.
struct size_values {
  dense1D<double, 8>& H;
  static unsigned width(unsigned) noexcept { return 1; }
  bool covers(unsigned dim, unsigned nodes) const noexcept { return dim && H.size() >= nodes; }
  double* at(unsigned i) noexcept { return &H[i]; }
  bool copy_to(dense2D<double>& to) const noexcept {
    if (!to.resize(1, H.size())) return false;
    if (H.size()) std::memcpy(to.data(), H.data(), sizeof(double) * H.size());
    return true;
  }
};

struct metric_values {
  dense2D<double>& M;
  static unsigned width(unsigned dim) noexcept { return dim == 2 ? 3 : 6; }
  bool covers(unsigned dim, unsigned nodes) const noexcept {
    return (nodes == 0 && M.empty()) || (M.rows() == width(dim) && M.cols() >= nodes);
  }
  double* at(unsigned i) noexcept { return &M(0, i); }
  bool copy_to(dense2D<double>& to) const noexcept {
    if (!to.resize(M.rows(), M.cols())) return false;
    for (unsigned j = 0; j < M.cols(); ++j) std::memcpy(&to(0, j), &M(0, j), sizeof(double) * M.rows());
    return true;
  }
};

// Folds copy v into the combination c: the smaller (shrink) or the larger
// (grow) size; a size that is not a number gives way.
void fold(double* c, const double* v, unsigned width, bool shrink) noexcept {
  if (width == 1) {
    if ((shrink ? v[0] < c[0] : v[0] > c[0]) || c[0] != c[0]) c[0] = v[0];
    return;
  }
  if (width == 3) {
    symmetric_fixed<double, 2> a, b;
    std::memcpy(a.m, c, sizeof a.m);
    std::memcpy(b.m, v, sizeof b.m);
    shrink ? minimum_metric(a, b, a) : maximum_metric(a, b, a);
    std::memcpy(c, a.m, sizeof a.m);
    return;
  }
  symmetric_fixed<double, 3> a, b;
  std::memcpy(a.m, c, sizeof a.m);
  std::memcpy(b.m, v, sizeof b.m);
  shrink ? minimum_metric(a, b, a) : maximum_metric(a, b, a);
  std::memcpy(c, a.m, sizeof a.m);
}

bool accepted(element_type type, unsigned rows) noexcept {
  return detail::has_edge_tables(detail::narrow_type(type, rows));
}

// The local checks, in the order the header gives; 0 when all pass.
template <class Values>
int local_checks(const dense2D<double>& pos, const dense2D<unsigned>& connect, element_type type,
                 const dense1D<unsigned, 8>& ids, const dense1D<unsigned, 8>& nodes, int mode, double g,
                 const Values& values) {
  const unsigned n = pos.cols(), dim = pos.rows();
  if (n != 0 && dim != 2 && dim != 3) return -2;
  if (!connect.empty() && !check_IDs(connect, type, n)) return -3;
  if (!connect.empty() && !accepted(type, connect.rows())) return -4;
  if (ids.size() != n) return -5;
  for (unsigned i = 0; i < n; ++i)
    if (ids[i] == NONE) return -5;
  if (!check_IDs(nodes, n)) return -6;
  if ((mode & 0xFF) == 0) return -8;
  if (!(g >= 0)) return -9;
  const unsigned needed = connect.empty() ? 0 : max_ID(connect) + 1;
  if (needed && !values.covers(dim, needed)) return -10;
  return SUCCESS;
}

// Every rank's checks, and the scalars that must agree.
int agreed_checks(MPI_Comm comm, int code, unsigned dim, int mode, double g) {
  const double inf = std::numeric_limits<double>::infinity();
  const double low_dim = dim ? double(dim) : inf, high_dim = dim ? double(dim) : -inf;
  const double mine[7] = {double(code), g, -g, double(mode), -double(mode), low_dim, -high_dim};
  double all[7];
  if (MPI_Allreduce(mine, all, 7, MPI_DOUBLE, MPI_MIN, comm) != MPI_SUCCESS) return detail::MPI_FAILURE;
  if (all[0] < 0) return int(all[0]);
  if (all[5] != inf && all[5] != -all[6]) return -2;
  if (all[3] != -all[4]) return -8;
  if (!(all[1] == -all[2])) return -9;
  return SUCCESS;
}

// The serial call on this rank's part, kept between rounds.
int start(detail::gradation_session& session, bool gradation, const dense2D<double>& pos,
          const dense2D<unsigned>& connect, element_type type, const dense1D<unsigned, 8>& frozen, int mode, double g,
          size_values& v) {
  return session.start(!gradation, pos, connect, type, frozen, true, mode, g, v.H);
}
int start(detail::gradation_session& session, bool gradation, const dense2D<double>& pos,
          const dense2D<unsigned>& connect, element_type type, const dense1D<unsigned, 8>& frozen, int mode, double g,
          metric_values& v) {
  return session.start(!gradation, pos, connect, type, frozen, true, mode, g, v.M);
}

// The state of one call between rounds.
template <class Values>
class across_parts {
 public:
  across_parts(MPI_Comm comm, Values& values, unsigned width, bool shrink, exchange_report& report) noexcept
      : comm_(comm), values_(values), width_(width), shrink_(shrink), report_(report) {}

  // Shared nodes, frozen flags made common, exchange buffers.
  int prepare(const dense2D<unsigned>& connect, const dense1D<unsigned, 8>& ids, const dense1D<unsigned, 8>& nodes,
              bool listed_frozen) noexcept {
    const unsigned n = ids.size();
    dense1D<unsigned char, 8> used(n, 0);
    int code = used.size() == n && frozen_.resize(n, listed_frozen ? 0 : 1) ? SUCCESS : OUT_OF_MEMORY;
    if (code == SUCCESS) {
      const unsigned rows = connect.rows(), cols = connect.empty() ? 0 : connect.cols();
      for (unsigned e = 0; e < cols; ++e)
        for (unsigned r = 0; r < rows; ++r)
          if (connect(r, e) != NONE) used[connect(r, e)] = 1;
      for (unsigned k = 0; k < nodes.size(); ++k)
        if (nodes[k] != NONE) frozen_[nodes[k]] = listed_frozen ? 1 : 0;
    }
    if ((code = detail::agree(comm_, code)) != SUCCESS) return code;
    // Ids repeated within a rank are found there, once every id reaches its
    // home rank.
    code = find_shared_nodes(comm_, ids, used, shared_, &report_.setup_bytes);
    if (code != SUCCESS) return code == detail::REPEATED_ID ? -5 : code;
    report_.neighbors = shared_.neighbors.size();
    report_.shared_nodes = shared_.nodes.size();
    // A node frozen on any rank is frozen on every rank.
    code = flags_.prepare(shared_, 1) == SUCCESS && values_exchange_.prepare(shared_, width_) == SUCCESS &&
                   own_.resize(width_) && combined_.resize(width_) && changed_.reserve(shared_.nodes.size())
               ? SUCCESS
               : OUT_OF_MEMORY;
    if ((code = detail::agree(comm_, code)) != SUCCESS) return code;
    for (unsigned q = 0; q < shared_.lists.size(); ++q) flags_.sent[q] = frozen_[shared_.lists[q]];
    if ((code = flags_.run(comm_, shared_, &report_.setup_bytes)) != SUCCESS) return code;
    for (unsigned q = 0; q < shared_.lists.size(); ++q)
      if (flags_.received[q] != 0) frozen_[shared_.lists[q]] = 1;
    unsigned count = 0;
    for (unsigned i = 0; i < n; ++i) count += frozen_[i];
    code = frozen_list_.resize(count) ? SUCCESS : OUT_OF_MEMORY;
    for (unsigned i = 0, k = 0; i < n && code == SUCCESS; ++i)
      if (frozen_[i]) frozen_list_[k++] = i;
    return detail::agree(comm_, code);
  }

  const dense1D<unsigned, 8>& frozen_list() const noexcept { return frozen_list_; }
  // The local nodes the last exchange changed.
  const dense1D<unsigned, 8>& changed() const noexcept { return changed_; }
  const detail::shared_nodes& shared() const noexcept { return shared_; }

  // Sends the shared values, combines the copies; returns the number of
  // local copies changed, or MPI_FAILURE.
  int exchange() noexcept {
    const unsigned w = width_;
    for (unsigned q = 0; q < shared_.lists.size(); ++q)
      std::memcpy(&values_exchange_.sent[q * w], values_.at(shared_.lists[q]), sizeof(double) * w);
    if (values_exchange_.run(comm_, shared_, &report_.bytes_sent) != SUCCESS) return detail::MPI_FAILURE;
    changed_.clear();
    double* own = own_.data();
    double* c = combined_.data();
    for (unsigned k = 0; k < shared_.nodes.size(); ++k) {
      const unsigned i = shared_.nodes[k];
      double* mine = values_.at(i);
      const unsigned first = shared_.copy_offsets[k], last = shared_.copy_offsets[k + 1];
      bool differ = false;
      for (unsigned x = first; x < last && !differ; ++x)
        differ = std::memcmp(mine, &values_exchange_.received[shared_.copy_place[x] * w], sizeof(double) * w) != 0;
      if (!differ || frozen_[i]) continue;
      // The copies folded in rank order, this rank's in its place: the same
      // sequence, hence the same result, on every rank.
      std::memcpy(own, mine, sizeof(double) * w);
      bool started = false;
      const auto take = [&](const double* v) {
        if (!started) std::memcpy(c, v, sizeof(double) * w);
        else fold(c, v, w, shrink_);
        started = true;
      };
      bool own_done = false;
      for (unsigned x = first; x < last; ++x) {
        if (!own_done && shared_.copy_rank[x] > shared_.rank) take(own), own_done = true;
        take(&values_exchange_.received[shared_.copy_place[x] * w]);
      }
      if (!own_done) take(own);
      if (std::memcmp(c, mine, sizeof(double) * w) != 0) {
        std::memcpy(mine, c, sizeof(double) * w);
        changed_.push_back(i);  // room reserved in prepare
      }
    }
    return int(changed_.size());
  }

 private:
  MPI_Comm comm_;
  Values& values_;
  unsigned width_;
  bool shrink_;
  exchange_report& report_;
  detail::shared_nodes shared_;
  detail::value_exchange flags_, values_exchange_;
  dense1D<unsigned char, 8> frozen_;
  dense1D<unsigned, 8> frozen_list_, changed_;
  dense1D<double, 8> own_, combined_;
};

template <class Values>
int bound_across_parts(bool gradation, MPI_Comm comm, const dense2D<double>& pos_arg,
                       const dense2D<unsigned>& connect_arg, element_type type, const dense1D<unsigned, 8>& ids_arg,
                       const dense1D<unsigned, 8>& nodes_arg, bool frozen, int mode, double g, Values values,
                       exchange_report* report_arg) {
  exchange_report scratch;
  exchange_report& report = report_arg ? *report_arg : scratch;
  report = exchange_report();
  if (comm == MPI_COMM_NULL) return -1;
  const dense2D<double> pos = pos_arg;
  const dense2D<unsigned> connect = connect_arg;
  const dense1D<unsigned, 8> ids = ids_arg, nodes = nodes_arg;
  const unsigned dim = pos.cols() ? pos.rows() : 0;
  int code = local_checks(pos, connect, type, ids, nodes, mode, g, values);
  if ((code = agreed_checks(comm, code, dim, mode, g)) != SUCCESS) return code;
  const unsigned char direction = static_cast<unsigned char>(mode & 0xFF);
  if (g == LARGEST || (direction != 1 && direction != 0xFF)) return 0;
  // The field as it came: restored on failure, compared at the end.
  dense2D<double> entry;
  code = values.copy_to(entry) ? SUCCESS : OUT_OF_MEMORY;
  if ((code = detail::agree(comm, code)) != SUCCESS) return code;
  const unsigned width = Values::width(dim ? dim : 3);
  across_parts<Values> run(comm, values, width, direction == 0xFF, report);
  if ((code = run.prepare(connect, ids, nodes, frozen)) != SUCCESS) return code;
  const auto restore = [&](int failure) {
    for (unsigned j = 0; j < entry.cols(); ++j)
      std::memcpy(values.at(j), &entry(0, j), sizeof(double) * entry.rows());
    return failure;
  };
  detail::gradation_session session;
  for (;;) {
    // The first round is the serial call on the part; the later ones start
    // from the nodes the exchange changed.
    const bool first = report.rounds++ == 0;
    const int local = connect.empty() ? 0
                      : first ? start(session, gradation, pos, connect, type, run.frozen_list(), mode, g, values)
                              : session.resume(run.changed());
    const int changed = run.exchange();
    if (changed < 0) return restore(changed);
    const int state[2] = {local < 0 ? local : 0, -changed};
    int all[2];
    if (MPI_Allreduce(state, all, 2, MPI_INT, MPI_MIN, comm) != MPI_SUCCESS) return restore(detail::MPI_FAILURE);
    if (all[0] < 0) return restore(all[0]);
    if (all[1] == 0) break;
  }
  // Nodes changed, each counted by the lowest rank holding it.
  const detail::shared_nodes& shared = run.shared();
  dense1D<unsigned char, 8> counted(ids.size(), 1);
  code = counted.size() == ids.size() ? SUCCESS : OUT_OF_MEMORY;
  if ((code = detail::agree(comm, code)) != SUCCESS) return restore(code);
  for (unsigned k = 0; k < shared.nodes.size(); ++k) counted[shared.nodes[k]] = shared.owns(k);
  unsigned long long mine = 0, total = 0;
  const unsigned needed = connect.empty() ? 0 : max_ID(connect) + 1;
  dense1D<unsigned char, 8> used(needed, 0);
  if (used.size() != needed) code = OUT_OF_MEMORY;
  if ((code = detail::agree(comm, code)) != SUCCESS) return restore(code);
  for (unsigned e = 0; e < (connect.empty() ? 0 : connect.cols()); ++e)
    for (unsigned r = 0; r < connect.rows(); ++r)
      if (connect(r, e) != NONE) used[connect(r, e)] = 1;
  for (unsigned i = 0; i < needed; ++i)
    if (used[i] && counted[i] && std::memcmp(values.at(i), &entry(0, i), sizeof(double) * width) != 0) ++mine;
  if (MPI_Allreduce(&mine, &total, 1, MPI_UNSIGNED_LONG_LONG, MPI_SUM, comm) != MPI_SUCCESS)
    return restore(detail::MPI_FAILURE);
  return total > 0x7FFFFFFF ? 0x7FFFFFFF : int(total);
}

}  // namespace

int bound_metric_gradations(MPI_Comm comm, const dense2D<double>& pos, const dense2D<unsigned int>& connect,
                            element_type type, const dense1D<unsigned int, 8>& global_ids,
                            const dense1D<unsigned int, 8>& nodes, bool frozen, int mode, double g, dense2D<double>& M,
                            exchange_report* report) {
  return bound_across_parts(true, comm, pos, connect, type, global_ids, nodes, frozen, mode, g, metric_values{M},
                            report);
}

int bound_metric_gradations(MPI_Comm comm, const dense2D<double>& pos, const dense2D<unsigned int>& connect,
                            element_type type, const dense1D<unsigned int, 8>& global_ids,
                            const dense1D<unsigned int, 8>& nodes, bool frozen, int mode, double g,
                            dense1D<double, 8>& H, exchange_report* report) {
  return bound_across_parts(true, comm, pos, connect, type, global_ids, nodes, frozen, mode, g, size_values{H},
                            report);
}

int bound_metric_variations(MPI_Comm comm, const dense2D<double>& pos, const dense2D<unsigned int>& connect,
                            element_type type, const dense1D<unsigned int, 8>& global_ids,
                            const dense1D<unsigned int, 8>& nodes, bool frozen, int mode, double g, dense2D<double>& M,
                            exchange_report* report) {
  return bound_across_parts(false, comm, pos, connect, type, global_ids, nodes, frozen, mode, g, metric_values{M},
                            report);
}

int bound_metric_variations(MPI_Comm comm, const dense2D<double>& pos, const dense2D<unsigned int>& connect,
                            element_type type, const dense1D<unsigned int, 8>& global_ids,
                            const dense1D<unsigned int, 8>& nodes, bool frozen, int mode, double g,
                            dense1D<double, 8>& H, exchange_report* report) {
  return bound_across_parts(false, comm, pos, connect, type, global_ids, nodes, frozen, mode, g, size_values{H},
                            report);
}

}  // namespace plexa
}  // namespace zeb
