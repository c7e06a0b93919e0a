// Coordinate systems of a deck: the chains of reference systems are walked
// with an explicit path (no recursion, whatever their length), each system
// resolved once, after the one it is defined in.
#include "io/nastran_systems.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "core/result_codes.hpp"

namespace zeb {
namespace plexa {
namespace detail {

namespace {

constexpr unsigned NONE = 0xFFFFFFFFu;
constexpr double DEGREE = 3.14159265358979323846 / 180.0;

// (x, y, z) of the coordinates x of a point in a system of `type`.
void to_rectangular(coordinate_systems::kind type, const double* x, double* r) noexcept {
  switch (type) {
    case coordinate_systems::cylindrical: {
      const double theta = x[1] * DEGREE;
      r[0] = x[0] * std::cos(theta);
      r[1] = x[0] * std::sin(theta);
      r[2] = x[2];
      return;
    }
    case coordinate_systems::spherical: {
      const double theta = x[1] * DEGREE, phi = x[2] * DEGREE;
      r[0] = x[0] * std::sin(theta) * std::cos(phi);
      r[1] = x[0] * std::sin(theta) * std::sin(phi);
      r[2] = x[0] * std::cos(theta);
      return;
    }
    default:
      r[0] = x[0];
      r[1] = x[1];
      r[2] = x[2];
  }
}

// v scaled to unit length; false when its length is 0 or not finite.
bool normalize(double* v) noexcept {
  const double n = std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
  if (!(n > 0.0) || !std::isfinite(n)) return false;
  for (unsigned k = 0; k < 3; ++k) v[k] /= n;
  return true;
}

}  // namespace

unsigned coordinate_systems::find(unsigned cid) const noexcept {
  const system* first = systems_.begin();
  const system* last = systems_.end();
  const system* at = std::lower_bound(first, last, cid, [](const system& s, unsigned id) { return s.def.cid < id; });
  return at != last && at->def.cid == cid ? unsigned(at - first) : NONE;
}

int coordinate_systems::resolve() noexcept {
  const unsigned n = systems_.size();
  if (n == 0) return 0;
  std::sort(systems_.begin(), systems_.end(), [](const system& a, const system& b) { return a.def.cid < b.def.cid; });
  for (unsigned i = 1; i < n; ++i)
    if (systems_[i].def.cid == systems_[i - 1].def.cid) return -5;

  // 0: not resolved, 1: on the path being walked, 2: resolved.
  dense1D<unsigned char, 8> state;
  dense1D<unsigned, 8> path;
  if (!state.resize(n, 0) || !path.reserve(n)) return OUT_OF_MEMORY;
  for (unsigned i = 0; i < n; ++i) {
    if (state[i] == 2) continue;
    path.clear();
    // Up the chain until the basic system or a resolved one.
    for (unsigned j = i;;) {
      state[j] = 1;
      path.push_back(j);  // within the reserved capacity
      const unsigned rid = systems_[j].def.rid;
      if (rid == 0) break;
      const unsigned k = find(rid);
      if (k == NONE) return -5;
      if (state[k] == 2) break;
      if (state[k] == 1) return -3;
      j = k;
    }
    // Down again: each system from the one it is defined in.
    for (unsigned t = path.size(); t-- > 0;) {
      system& s = systems_[path[t]];
      double a[3], b[3], c[3];
      if (s.def.rid == 0) {
        for (unsigned k = 0; k < 3; ++k) a[k] = s.def.a[k], b[k] = s.def.b[k], c[k] = s.def.c[k];
      } else {
        to_basic(s.def.rid, s.def.a, a);
        to_basic(s.def.rid, s.def.b, b);
        to_basic(s.def.rid, s.def.c, c);
      }
      double* x = s.axes;
      double* y = s.axes + 3;
      double* z = s.axes + 6;
      for (unsigned k = 0; k < 3; ++k) {
        s.origin[k] = a[k];
        z[k] = b[k] - a[k];
        x[k] = c[k] - a[k];
      }
      if (!normalize(z)) return -3;
      const double along = x[0] * z[0] + x[1] * z[1] + x[2] * z[2];
      for (unsigned k = 0; k < 3; ++k) x[k] -= along * z[k];
      if (!normalize(x)) return -3;
      y[0] = z[1] * x[2] - z[2] * x[1];
      y[1] = z[2] * x[0] - z[0] * x[2];
      y[2] = z[0] * x[1] - z[1] * x[0];
      state[path[t]] = 2;
    }
  }
  return 0;
}

bool coordinate_systems::to_basic(unsigned cid, const double* x, double* out) const noexcept {
  const unsigned at = find(cid);
  if (at == NONE) return false;
  const system& s = systems_[at];
  double r[3];
  to_rectangular(s.def.type, x, r);
  for (unsigned k = 0; k < 3; ++k)
    out[k] = s.origin[k] + r[0] * s.axes[k] + r[1] * s.axes[3 + k] + r[2] * s.axes[6 + k];
  return true;
}

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
