// The nodes a rank shares with other ranks, found from the global ids, and
// the exchange of their values.
//
// For every neighbour rank (increasing), the list of the local nodes shared
// with it, by increasing global id: both sides list the same nodes in the
// same order, so that values travel without ids.  For every shared node,
// its copies on the other ranks by increasing rank, as places in the buffer
// that the exchange fills.
#pragma once

#include <mpi.h>

#include <cstdint>

#include <zeb/dense.hpp>

namespace zeb {
namespace plexa {
namespace detail {

struct shared_nodes {
  unsigned rank = 0;
  dense1D<unsigned, 8> neighbors;     // ranks, increasing
  dense1D<unsigned, 8> list_offsets;  // neighbors.size() + 1
  dense1D<unsigned, 8> lists;         // local nodes, per neighbour by increasing global id
  // The shared local nodes, increasing, and for node k the copies
  // copy_rank[c], copy_place[c] (a place in `lists`, hence in the received
  // buffer) for c from copy_offsets[k] to copy_offsets[k + 1], by rank.
  dense1D<unsigned, 8> nodes, copy_offsets, copy_rank, copy_place;

  // Whether this rank holds the node's lowest copy (counts it once).
  bool owns(unsigned k) const noexcept { return copy_offsets[k] == copy_offsets[k + 1] || copy_rank[copy_offsets[k]] > rank; }
};

// What find_shared_nodes returns when a rank gives one global id to two of
// its nodes.
constexpr int REPEATED_ID = -1000;

// Finds the shared nodes among the local nodes marked in `used` (one byte
// per local node; ids of unmarked nodes are not looked at).  Every global
// id goes once to a home rank (id modulo the size), which tells the ranks
// holding it about one another.  Collective; the same code on every rank:
// 0, REPEATED_ID, OUT_OF_MEMORY or MPI_FAILURE.  Adds the bytes sent to
// *bytes.
int find_shared_nodes(MPI_Comm comm, const dense1D<unsigned, 8>& global_ids, const dense1D<unsigned char, 8>& used,
                      shared_nodes& shared, std::uint64_t* bytes) noexcept;

// Buffers of one exchange of `width` doubles per shared node and copy.
struct value_exchange {
  dense1D<double, 8> sent, received;
  dense1D<MPI_Request, 8> requests;
  unsigned width = 0;

  // OUT_OF_MEMORY or 0 (local; callers agree on it).
  int prepare(const shared_nodes& shared, unsigned values_per_node) noexcept;
  // Sends sent[] (filled by the caller, per neighbour in list order) and
  // fills received[] likewise.  Point to point with the neighbours only.
  // 0 or MPI_FAILURE; adds the bytes sent to *bytes.
  int run(MPI_Comm comm, const shared_nodes& shared, std::uint64_t* bytes) noexcept;
};

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
