// Gradation control kept between runs, for gradation across the parts of a
// partitioned mesh (zebplexa_mpi): the checks and the node graph are made
// once, the first run is the serial call's, and each later run starts only
// from the nodes whose values were changed from outside since.
//
// Exported for the MPI companion, not part of the public API (this header
// is not installed).  The session refers to the caller's coordinates,
// connectivity and field until it is destroyed or started again; they must
// stay alive and keep their shape.
#pragma once

#include <zeb/dense.hpp>
#include <zeb/export.hpp>
#include <zeb/plexa/core.hpp>

namespace zeb {
namespace plexa {
namespace detail {

class PLEXA_API gradation_session {
 public:
  gradation_session() noexcept;
  ~gradation_session();
  gradation_session(const gradation_session&) = delete;
  gradation_session& operator=(const gradation_session&) = delete;

  // The serial bound_metric_gradations (variation false) or
  // bound_metric_variations (true), with the same arguments, checks and
  // result; the state of the run is kept when it succeeds.
  int start(bool variation, const dense2D<double>& pos, const dense2D<unsigned int>& connect, element_type type,
            const dense1D<unsigned int, 8>& nodes, bool frozen, int mode, double g, dense1D<double, 8>& H) noexcept;
  int start(bool variation, const dense2D<double>& pos, const dense2D<unsigned int>& connect, element_type type,
            const dense1D<unsigned int, 8>& nodes, bool frozen, int mode, double g, dense2D<double>& M) noexcept;

  // After the values of `nodes` (of the field given to start) were changed
  // from outside: propagates from their edges.  Returns the number of
  // distinct nodes changed by all runs so far, 0 when start had nothing to
  // do, or -199 (the changes made stay).
  int resume(const dense1D<unsigned int, 8>& nodes) noexcept;

  struct engine;

 private:
  engine* engine_ = nullptr;
};

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
