// The corners of the linear element kinds and the small vector algebra of
// the quality kernels.
//
// Corner k of an element is a vertex with the two (faces) or three (solids)
// vertices it is joined to by edges, listed so that the corner's edge
// matrix [x_a - x_v, x_b - x_v (, x_c - x_v)] has a positive determinant in
// a positive element: a face counter-clockwise, a tetrahedron whose nodes 0,
// 1, 2 run counter-clockwise seen from node 3, a pyramid, wedge or
// hexahedron whose base runs counter-clockwise seen from the apex or the top
// face.  On the reference elements of reference_maps.hpp that determinant is
// the determinant of the Jacobian of the element's map at the vertex.
// Simplices have one corner (their map is affine); pyramids have their four
// base corners (between which the apex values lie).
#pragma once

#include <cmath>

#include "core/element_model.hpp"

namespace zeb {
namespace plexa {
namespace detail {

struct corner {
  unsigned char at, a, b, c;
};

struct corner_list {
  unsigned char count;
  corner k[8];
};

inline constexpr corner_list tria3_corners = {1, {{0, 1, 2, 0}}};
inline constexpr corner_list quad4_corners = {4, {{0, 1, 3, 0}, {1, 2, 0, 0}, {2, 3, 1, 0}, {3, 0, 2, 0}}};
inline constexpr corner_list tetra4_corners = {1, {{0, 1, 2, 3}}};
inline constexpr corner_list pyra5_corners = {4, {{0, 1, 3, 4}, {1, 2, 0, 4}, {2, 3, 1, 4}, {3, 0, 2, 4}}};
inline constexpr corner_list wedge6_corners = {
    6, {{0, 1, 2, 3}, {1, 2, 0, 4}, {2, 0, 1, 5}, {3, 5, 4, 0}, {4, 3, 5, 1}, {5, 4, 3, 2}}};
inline constexpr corner_list hexa8_corners = {
    8, {{0, 1, 3, 4}, {1, 2, 0, 5}, {2, 3, 1, 6}, {3, 0, 2, 7}, {4, 7, 5, 0}, {5, 4, 6, 1}, {6, 5, 7, 2}, {7, 6, 4, 3}}};

constexpr const corner_list& corners_of(element_type linear) noexcept {
  switch (linear) {
    case ELT_TRIA3: return tria3_corners;
    case ELT_QUAD4: return quad4_corners;
    case ELT_TETRA4: return tetra4_corners;
    case ELT_PYRA5: return pyra5_corners;
    case ELT_WEDGE6: return wedge6_corners;
    default: return hexa8_corners;
  }
}

// Small vector algebra on D = 2 or 3 components.
template <unsigned D>
inline double dot(const double* a, const double* b) noexcept {
  double s = a[0] * b[0] + a[1] * b[1];
  if constexpr (D == 3) s += a[2] * b[2];
  return s;
}

template <unsigned D>
inline void difference(const double* a, const double* b, double* out) noexcept {
  for (unsigned i = 0; i < D; ++i) out[i] = a[i] - b[i];
}

inline void cross(const double* a, const double* b, double* out) noexcept {
  out[0] = a[1] * b[2] - a[2] * b[1];
  out[1] = a[2] * b[0] - a[0] * b[2];
  out[2] = a[0] * b[1] - a[1] * b[0];
}

inline double det3(const double* a, const double* b, const double* c) noexcept {
  double n[3];
  cross(b, c, n);
  return dot<3>(a, n);
}

// The orientation of a face: in the plane, none (the determinant is the
// plain 2 x 2 one); in space, the unit normal of the face's corners, so that
// the determinant of two tangent vectors is their cross product along it.
// That normal turns with the node order, so the determinant does not depend
// on it; it is 0 for a face whose corners span no plane.
template <unsigned D>
struct face_frame {
  double n[3] = {0, 0, 0};

  // Two tangent vectors u, v: u x v in the plane; (u x v) . n in space.
  double det(const double* u, const double* v) const noexcept {
    if constexpr (D == 2) {
      return u[0] * v[1] - u[1] * v[0];
    } else {
      double w[3];
      cross(u, v, w);
      return dot<3>(w, n);
    }
  }
  void set_normal(double* m) noexcept {
    const double length = std::sqrt(dot<3>(m, m));
    const double inv = length > 0 ? 1 / length : 0;
    for (unsigned i = 0; i < 3; ++i) n[i] = m[i] * inv;
  }
};

// The frame of a face from its vertices relative to vertex 0 (y[0] = 0):
// (y1 x y2) for a triangle, the cross product of the diagonals for a
// quadrangle.
template <unsigned D, unsigned N>
inline face_frame<D> frame_of(const double (&y)[N][D], bool quadrangle) noexcept {
  face_frame<D> f;
  if constexpr (D == 3) {
    double m[3];
    if constexpr (N > 3) {  // fewer vertices cannot make a quadrangle (and have no y[3])
      if (quadrangle) {
        double diagonal[3];
        difference<3>(y[3], y[1], diagonal);
        cross(y[2], diagonal, m);
        f.set_normal(m);
        return f;
      }
    }
    cross(y[1], y[2], m);
    f.set_normal(m);
  }
  return f;
}

// The determinant of the Jacobian at every corner of a linear kind, from its
// vertices relative to vertex 0.  out gets corners_of(K).count values.
template <element_type K, unsigned D, unsigned N>
inline void corner_determinants(const double (&y)[N][D], double* out) noexcept {
  constexpr const corner_list& list = corners_of(K);
  if constexpr (dimension(K) == 2) {
    const face_frame<D> f = frame_of(y, K == ELT_QUAD4);
    for (unsigned k = 0; k < list.count; ++k) {
      const corner& c = list.k[k];
      double u[D], v[D];
      difference<D>(y[c.a], y[c.at], u);
      difference<D>(y[c.b], y[c.at], v);
      out[k] = f.det(u, v);
    }
  } else {
    for (unsigned k = 0; k < list.count; ++k) {
      const corner& c = list.k[k];
      double u[3], v[3], w[3];
      difference<3>(y[c.a], y[c.at], u);
      difference<3>(y[c.b], y[c.at], v);
      difference<3>(y[c.c], y[c.at], w);
      out[k] = det3(u, v, w);
    }
  }
}

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
