// The coordinate systems of a bulk-data deck (CORD2R, CORD2C, CORD2S):
// collected as the cards are read, resolved to the basic system once the
// deck is read (they may come after the points that use them), then used to
// turn the coordinates of GRID points into basic ones.
#pragma once

#include <zeb/dense.hpp>

namespace zeb {
namespace plexa {
namespace detail {

class coordinate_systems {
 public:
  // Kinds of system: how three coordinates are read.
  enum kind : unsigned char { rectangular, cylindrical, spherical };

  // One card: system `cid` of `kind`, defined by the points a (origin), b
  // (on the z axis) and c (in the x-z plane), all given in system `rid`
  // (0: the basic system).
  struct card {
    unsigned cid, rid;
    kind type;
    double a[3], b[3], c[3];
  };

  // Adds a card; false when memory runs out.
  bool add(const card& c) noexcept { return systems_.push_back(system{c, {}, {}}); }
  unsigned size() const noexcept { return systems_.size(); }
  void clear() noexcept { systems_.clear(); }

  // Resolves every system to the basic one, along the chains of their rid.
  // Returns 0; -5 when a cid is given twice or a rid names no system; -3
  // when a chain loops or the points of a system give no axes; -199 when
  // memory runs out.
  int resolve() noexcept;

  // The basic coordinates `out` of the point `x` given in system `cid`
  // (after resolve()); false when no system has that id.
  bool to_basic(unsigned cid, const double* x, double* out) const noexcept;

 private:
  struct system {
    card def;
    double origin[3];
    double axes[9];  // x, y and z axes in the basic system, one after the other
  };

  // Position of system `cid` in the sorted list, or UINT_MAX.
  unsigned find(unsigned cid) const noexcept;

  dense1D<system, 8> systems_;
};

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
