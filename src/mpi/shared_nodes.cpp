// Finding the nodes shared between ranks, and exchanging their values.
#include "mpi/shared_nodes.hpp"

#include <algorithm>

#include "core/result_codes.hpp"
#include "mpi/collective.hpp"

namespace zeb {
namespace plexa {
namespace detail {

namespace {

// A copy of a global id: at a home rank, the rank holding it and its local
// node there; back at that rank, the local node, another rank holding it,
// the id and the copy's place in the neighbour lists.
struct copy_entry {
  unsigned a, b, id, place;
};

// Per home rank, the (id, local node) pairs of the marked nodes.
int pairs_by_home(const dense1D<unsigned, 8>& ids, const dense1D<unsigned char, 8>& used, unsigned p,
                  dense1D<unsigned, 8>& offsets, dense1D<unsigned, 8>& pairs) noexcept {
  offsets.clear();
  if (!offsets.resize(p + 1, 0u)) return OUT_OF_MEMORY;
  const unsigned n = ids.size();
  for (unsigned i = 0; i < n; ++i)
    if (used[i]) ++offsets[ids[i] % p + 1];
  for (unsigned r = 0; r < p; ++r) offsets[r + 1] += offsets[r];
  dense1D<unsigned, 8> fill;
  if (!fill.copy(offsets) || !pairs.resize(2 * offsets[p])) return OUT_OF_MEMORY;
  for (unsigned i = 0; i < n; ++i) {
    if (!used[i]) continue;
    const unsigned at = fill[ids[i] % p]++;
    pairs[2 * at] = ids[i];
    pairs[2 * at + 1] = i;
  }
  return SUCCESS;
}

// At a home rank: the copies it received, (rank, local node, id), ordered
// by id and, for one id, by rank.  The ids a home receives are congruent
// modulo the size, so id / size numbers them; when those numbers are dense
// enough a counting pass places the copies (ranks in order, so the order
// within an id is theirs), otherwise they are sorted.
int group_by_id(const dense1D<unsigned, 8>& pairs, const dense1D<unsigned, 8>& from, unsigned p,
                dense1D<copy_entry, 8>& copies) noexcept {
  const unsigned count = pairs.size() / 2;
  if (!copies.resize(count)) return OUT_OF_MEMORY;
  unsigned largest = 0;
  for (unsigned k = 0; k < count; ++k) largest = std::max(largest, pairs[2 * k] / p);
  dense1D<unsigned, 8> start;
  if (std::uint64_t(largest) > 4 * std::uint64_t(count) + 1024 || !start.resize(largest + 2, 0u)) {
    for (unsigned r = 0; r < p; ++r)
      for (unsigned k = from[r]; k < from[r + 1]; ++k) copies[k] = {r, pairs[2 * k + 1], pairs[2 * k], 0};
    std::sort(copies.begin(), copies.end(),
              [](const copy_entry& x, const copy_entry& y) { return x.id != y.id ? x.id < y.id : x.a < y.a; });
    return SUCCESS;
  }
  for (unsigned k = 0; k < count; ++k) ++start[pairs[2 * k] / p + 1];
  for (unsigned s = 0; s <= largest; ++s) start[s + 1] += start[s];
  for (unsigned r = 0; r < p; ++r)
    for (unsigned k = from[r]; k < from[r + 1]; ++k) copies[start[pairs[2 * k] / p]++] = {r, pairs[2 * k + 1], pairs[2 * k], 0};
  return SUCCESS;
}

// At a home rank: for every id held by two ranks or more, each holder
// learns (its local node, another holder, the id).
int replies_of(const dense1D<unsigned, 8>& pairs, const dense1D<unsigned, 8>& from, unsigned p,
               dense1D<unsigned, 8>& offsets, dense1D<unsigned, 8>& replies) noexcept {
  const unsigned count = pairs.size() / 2;
  dense1D<copy_entry, 8> copies;
  offsets.clear();
  if (!offsets.resize(p + 1, 0u) || group_by_id(pairs, from, p, copies) != SUCCESS) return OUT_OF_MEMORY;
  for (unsigned k = 1; k < count; ++k)
    if (copies[k].id == copies[k - 1].id && copies[k].a == copies[k - 1].a) return REPEATED_ID;
  // Two passes over the groups: the counts, then the replies.
  for (int pass = 0; pass < 2; ++pass) {
    dense1D<unsigned, 8> fill;
    if (pass == 1 && (!fill.copy(offsets) || !replies.resize(3 * offsets[p]))) return OUT_OF_MEMORY;
    for (unsigned g = 0; g < count;) {
      unsigned end = g + 1;
      while (end < count && copies[end].id == copies[g].id) ++end;
      for (unsigned m = g; end - g > 1 && m < end; ++m)
        for (unsigned o = g; o < end; ++o) {
          if (o == m) continue;
          if (pass == 0) {
            ++offsets[copies[m].a + 1];
          } else {
            unsigned* out = replies.data() + 3 * fill[copies[m].a]++;
            out[0] = copies[m].b;
            out[1] = copies[o].a;
            out[2] = copies[g].id;
          }
        }
      g = end;
    }
    if (pass == 0)
      for (unsigned r = 0; r < p; ++r) offsets[r + 1] += offsets[r];
  }
  return SUCCESS;
}

// Back at a holder: the neighbour lists and the copies of each node.
int build_lists(const dense1D<unsigned, 8>& replies, shared_nodes& s) noexcept {
  const unsigned count = replies.size() / 3;
  dense1D<copy_entry, 8> copies(count);
  if (copies.size() != count || !s.lists.resize(count) || !s.copy_rank.resize(count) || !s.copy_place.resize(count))
    return OUT_OF_MEMORY;
  for (unsigned k = 0; k < count; ++k) copies[k] = {replies[3 * k], replies[3 * k + 1], replies[3 * k + 2], 0};
  std::sort(copies.begin(), copies.end(),
            [](const copy_entry& x, const copy_entry& y) { return x.b != y.b ? x.b < y.b : x.id < y.id; });
  unsigned neighbors = 0;
  for (unsigned k = 0; k < count; ++k) neighbors += k == 0 || copies[k].b != copies[k - 1].b;
  if (!s.neighbors.resize(neighbors) || !s.list_offsets.resize(neighbors + 1)) return OUT_OF_MEMORY;
  for (unsigned k = 0, q = 0; k < count; ++k) {
    if (k == 0 || copies[k].b != copies[k - 1].b) {
      s.neighbors[q] = copies[k].b;
      s.list_offsets[q++] = k;
    }
    s.lists[k] = copies[k].a;
    copies[k].place = k;
  }
  s.list_offsets[neighbors] = count;
  std::sort(copies.begin(), copies.end(),
            [](const copy_entry& x, const copy_entry& y) { return x.a != y.a ? x.a < y.a : x.b < y.b; });
  unsigned nodes = 0;
  for (unsigned k = 0; k < count; ++k) nodes += k == 0 || copies[k].a != copies[k - 1].a;
  if (!s.nodes.resize(nodes) || !s.copy_offsets.resize(nodes + 1)) return OUT_OF_MEMORY;
  for (unsigned k = 0, q = 0; k < count; ++k) {
    if (k == 0 || copies[k].a != copies[k - 1].a) {
      s.nodes[q] = copies[k].a;
      s.copy_offsets[q++] = k;
    }
    s.copy_rank[k] = copies[k].b;
    s.copy_place[k] = copies[k].place;
  }
  s.copy_offsets[nodes] = count;
  return SUCCESS;
}

}  // namespace

int find_shared_nodes(MPI_Comm comm, const dense1D<unsigned, 8>& global_ids, const dense1D<unsigned char, 8>& used,
                      shared_nodes& shared, std::uint64_t* bytes) noexcept {
  int size = 0, rank = 0;
  if (MPI_Comm_size(comm, &size) != MPI_SUCCESS || MPI_Comm_rank(comm, &rank) != MPI_SUCCESS) return MPI_FAILURE;
  const unsigned p = unsigned(size);
  shared = shared_nodes();
  shared.rank = unsigned(rank);
  dense1D<unsigned, 8> offsets, pairs, received, from;
  int code = agree(comm, pairs_by_home(global_ids, used, p, offsets, pairs));
  if (code == SUCCESS) code = exchange_lists(comm, pairs.data(), offsets, 2, received, from, bytes);
  if (code != SUCCESS) return code;
  pairs.clear_hard();
  code = agree(comm, replies_of(received, from, p, offsets, pairs));
  if (code == SUCCESS) code = exchange_lists(comm, pairs.data(), offsets, 3, received, from, bytes);
  if (code != SUCCESS) return code;
  return agree(comm, build_lists(received, shared));
}

int value_exchange::prepare(const shared_nodes& shared, unsigned values_per_node) noexcept {
  width = values_per_node;
  const std::uint64_t count = std::uint64_t(shared.lists.size()) * width;
  if (count > 0x7FFFFFFF || !sent.resize(unsigned(count)) || !received.resize(unsigned(count)) ||
      !requests.resize(2 * shared.neighbors.size()))
    return OUT_OF_MEMORY;
  return SUCCESS;
}

int value_exchange::run(MPI_Comm comm, const shared_nodes& shared, std::uint64_t* bytes) noexcept {
  constexpr int TAG = 0x504c;
  const unsigned k_count = shared.neighbors.size();
  for (unsigned k = 0; k < k_count; ++k) {
    const unsigned at = shared.list_offsets[k] * width;
    const int count = int((shared.list_offsets[k + 1] - shared.list_offsets[k]) * width);
    const int other = int(shared.neighbors[k]);
    if (MPI_Irecv(received.data() + at, count, MPI_DOUBLE, other, TAG, comm, &requests[2 * k]) != MPI_SUCCESS ||
        MPI_Isend(sent.data() + at, count, MPI_DOUBLE, other, TAG, comm, &requests[2 * k + 1]) != MPI_SUCCESS)
      return MPI_FAILURE;
  }
  if (k_count && MPI_Waitall(int(2 * k_count), requests.data(), MPI_STATUSES_IGNORE) != MPI_SUCCESS)
    return MPI_FAILURE;
  if (bytes) *bytes += std::uint64_t(sent.size()) * sizeof(double);
  return SUCCESS;
}

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
