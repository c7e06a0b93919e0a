// What the MPI functions share: the code of a failed MPI call, the step
// where the ranks agree on a result code, and exchanges of variable-length
// lists between all ranks.
#pragma once

#include <mpi.h>

#include <cstdint>

#include <zeb/dense.hpp>

#include "core/result_codes.hpp"

namespace zeb {
namespace plexa {
namespace detail {

// An MPI call returned an error (only seen with an error handler that
// returns; MPI's default handler aborts).
constexpr int MPI_FAILURE = -200;

// The ranks' codes combined: the lowest of them on every rank, or
// MPI_FAILURE when the reduction itself fails.
inline int agree(MPI_Comm comm, int code) noexcept {
  int lowest = code;
  if (MPI_Allreduce(&code, &lowest, 1, MPI_INT, MPI_MIN, comm) != MPI_SUCCESS) return MPI_FAILURE;
  return lowest;
}

// The MPI datatype of T.
template <class T>
MPI_Datatype mpi_type() noexcept;
template <>
inline MPI_Datatype mpi_type<double>() noexcept { return MPI_DOUBLE; }
template <>
inline MPI_Datatype mpi_type<unsigned>() noexcept { return MPI_UNSIGNED; }

// Sends to every rank r the entries send[offsets[r]] up to send[offsets[r
// + 1]] (offsets: size + 1 entries, counted in groups of `width` T), and
// receives into `received` what every rank sent here, rank by rank, with
// `from` (size + 1 entries, in groups) telling where each rank's entries
// start.  Adds the bytes sent to *bytes when not null.  Collective: the
// ranks agree on the outcome before each exchange, so that a rank short of
// memory does not leave the others waiting; every rank returns the same
// code (0, OUT_OF_MEMORY or MPI_FAILURE).
template <class T>
int exchange_lists(MPI_Comm comm, const T* send, const dense1D<unsigned, 8>& offsets, unsigned width,
                   dense1D<T, 8>& received, dense1D<unsigned, 8>& from, std::uint64_t* bytes) noexcept {
  int size = 0;
  if (MPI_Comm_size(comm, &size) != MPI_SUCCESS) return MPI_FAILURE;
  const unsigned p = unsigned(size);
  dense1D<int, 8> counts;  // sent, where sent, received, where received
  int code = counts.resize(4 * p) && from.resize(p + 1) ? SUCCESS : OUT_OF_MEMORY;
  int* send_counts = counts.data();
  int* send_at = send_counts + p;
  int* recv_counts = send_at + p;
  int* recv_at = recv_counts + p;
  for (unsigned r = 0; r < p && code == SUCCESS; ++r) {
    const std::uint64_t end = std::uint64_t(offsets[r + 1]) * width;
    if (end > 0x7FFFFFFF) code = OUT_OF_MEMORY;  // beyond what an MPI count holds
    send_counts[r] = int(end - std::uint64_t(offsets[r]) * width);
    send_at[r] = int(offsets[r] * width);
  }
  if ((code = agree(comm, code)) != SUCCESS) return code;
  if (MPI_Alltoall(send_counts, 1, MPI_INT, recv_counts, 1, MPI_INT, comm) != MPI_SUCCESS) return MPI_FAILURE;
  std::uint64_t total = 0;
  for (unsigned r = 0; r < p; ++r) {
    recv_at[r] = int(total > 0x7FFFFFFF ? 0 : total);
    from[r] = unsigned(total / width);
    total += unsigned(recv_counts[r]);
  }
  from[p] = unsigned(total / width);
  code = total <= 0x7FFFFFFF && received.resize(unsigned(total)) ? SUCCESS : OUT_OF_MEMORY;
  if ((code = agree(comm, code)) != SUCCESS) return code;
  if (MPI_Alltoallv(send, send_counts, send_at, mpi_type<T>(), received.data(), recv_counts, recv_at, mpi_type<T>(),
                    comm) != MPI_SUCCESS)
    return MPI_FAILURE;
  if (bytes) *bytes += std::uint64_t(offsets[p] - offsets[0]) * width * sizeof(T);
  return SUCCESS;
}

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
