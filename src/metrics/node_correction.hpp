// The correction of one node of a size field against one neighbour, under a
// bound g on a measure of metrics/edge_measures.hpp: the node's size (along
// the edge, for a metric) is moved towards the neighbour's until the edge
// meets the bound, in the direction its mode allows, and no further than
// its frozen neighbours allow.
#pragma once

#include <cmath>

#include "metrics/size_fields.hpp"

namespace zeb {
namespace plexa {
namespace detail {

// Corrections smaller than this share of the way to the neighbour are not
// made, and it is the tolerance of the frozen-neighbour search, on the
// parameter and on the measure.
constexpr double SMALLEST_STEP = 0.001;

template <class Field, class Measure>
class node_corrector {
 public:
  using value = typename Field::value;

  node_corrector(Field& field, double g) noexcept : field_(field), g_(g), step_(Measure::step(g)) {}

  // What correcting node i against j would do: the parameter t and the
  // direction, or t = 0 when nothing would happen (steps 1 and 2 below).
  // It depends only on the values of i and j and on i's mode, so a queue
  // entry that would come to nothing need not be made.
  struct plan {
    double t;
    unsigned char mode;
  };
  plan plan_for(unsigned i, unsigned j, unsigned char mode) const noexcept {
    double hi, hj, d;
    field_.sizes_along(i, j, hi, hj, d);
    const unsigned char direction = hj <= hi ? SHRINK : GROW;
    const double t = Measure::parameter(hi, hj, d, step_);
    if (!(t > 1e-12)) return {0.0, mode};
    const unsigned char m = mode == UNDECIDED ? direction : mode;
    if (m != direction || !(t > SMALLEST_STEP)) return {0.0, mode};
    return {t, m};
  }

  // Corrects node i against its neighbour j.  `frozen` lists the n frozen
  // neighbours of i.  `mode` is i's direction mode; an undecided mode takes
  // the direction of the correction, and is written back only when i
  // changes.  Returns whether i changed.
  //  1. Along the edge, with sizes hi and hj: the correction shrinks i when
  //     hj <= hi, grows it otherwise, and goes to the parameter t at which
  //     the edge meets the bound (Measure::parameter).
  //  2. Nothing happens unless t > 1e-12, the mode allows that direction
  //     and t > 0.001.
  //  3. With frozen neighbours, t is lowered by the search below; nothing
  //     happens unless the result is > 0.001.
  //  4. The new value is the interpolation at t, filtered by the mode; it
  //     replaces i's only when it is a change (Field::changed).
  bool correct(unsigned i, unsigned j, unsigned char& mode, const unsigned* frozen, unsigned n) noexcept {
    const plan p = plan_for(i, j, mode);
    if (p.t == 0) return false;
    typename Field::interpolation path(field_, i, j);
    double s = p.t;
    if (n > 0) {
      s = search(path, p.mode, field_.point(i), p.t, frozen, n);
      if (!(s > SMALLEST_STEP)) return false;
    }
    value v;
    if (!path.at(s, p.mode, v) || !Field::changed(path.start(), v)) return false;
    field_.store(i, v);
    mode = p.mode;
    return true;
  }

 private:
  // A point of the search: the parameter, the largest measure against the
  // frozen neighbours, and by how much it exceeds g (0 when it does not).
  struct sample {
    double s, top, excess;
  };

  // a is better than b: less excess, then farther along the edge.
  static bool better(const sample& a, const sample& b) noexcept {
    return a.excess < b.excess || (a.excess == b.excess && a.s > b.s);
  }

  sample evaluate(typename Field::interpolation& path, unsigned char mode, const double* at, double s,
                  const unsigned* frozen, unsigned n) noexcept {
    value v;
    if (!path.at(s, mode, v)) return {s, INFINITY, INFINITY};
    const auto rv = Field::ref_of(v);
    double top = 0;
    for (unsigned k = 0; k < n; ++k) {
      const double m = Field::template measure<Measure>(rv, at, field_.at(frozen[k]), field_.point(frozen[k]));
      if (m > top) top = m;  // a NaN measure is no violation
    }
    return {s, top, top > g_ ? top - g_ : 0.0};
  }

  // The frozen-neighbour search on [0, t]: the point that is best (least
  // excess over g against the frozen neighbours, then the largest
  // parameter).  Sampled at 0, t/6, ..., 5t/6; then refined around the
  // best sample, on [best - t/6, best + t/6] within [0, t]: its upper end
  // first (taken when it is admissible and best, being the farthest
  // point), else by golden-section search until the bracket is narrower
  // than 0.001 or the best point is admissible within 0.001 of g.  The
  // result is the best point evaluated, never worse than 0 (no change):
  // a node within the bound against its frozen neighbours stays within it.
  double search(typename Field::interpolation& path, unsigned char mode, const double* at, double t,
                const unsigned* frozen, unsigned n) noexcept {
    auto eval = [&](double s) { return evaluate(path, mode, at, s, frozen, n); };
    const double h = t / 6;
    sample best = eval(0.0);
    for (unsigned k = 1; k < 6; ++k) {
      const sample p = eval(k * h);
      if (better(p, best)) best = p;
    }
    double a = best.s - h > 0 ? best.s - h : 0.0, b = best.s + h < t ? best.s + h : t;
    const sample end = eval(b);
    if (better(end, best)) best = end;
    if (best.s == b && best.excess == 0) return b;
    auto settled = [&] { return best.excess == 0 && best.top >= g_ - SMALLEST_STEP; };
    constexpr double R = 0.6180339887498949;  // (sqrt(5) - 1)/2
    sample c = eval(b - R * (b - a)), d = eval(a + R * (b - a));
    if (better(c, best)) best = c;
    if (better(d, best)) best = d;
    while (b - a > SMALLEST_STEP && !settled()) {
      if (better(c, d)) {
        b = d.s;
        d = c;
        c = eval(b - R * (b - a));
        if (better(c, best)) best = c;
      } else {
        a = c.s;
        c = d;
        d = eval(a + R * (b - a));
        if (better(d, best)) best = d;
      }
    }
    return best.s;
  }

  Field& field_;
  double g_, step_;
};

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
