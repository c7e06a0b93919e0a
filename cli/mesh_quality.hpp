// Element quality of a mesh for the tool's reports: histograms of the shape
// qualities and of the scaled Jacobians, the worst elements, and the counts
// of inverted and degenerate ones, over every block of a mesh.
#pragma once

#include <cstdio>
#include <vector>

#include <zeb/misc/histogram.hpp>
#include <zeb/plexa/core.hpp>

#include "mesh.hpp"

namespace plexa_cli {

struct measured_element {
  unsigned block, element;  // the element's column in its block
  zeb::plexa::element_type kind;
  double quality, scaled_jacobian;
};

struct mesh_quality {
  mesh_quality();  // histograms with the edges 0, 0.1, ..., 0.9

  zeb::misc::histogram qualities, scaled_jacobians;
  // The worst elements: lowest shape quality first (NaN before any number),
  // equal ones in block and column order.
  std::vector<measured_element> worst;
  unsigned measured = 0;    // elements with a shape (faces and solids)
  unsigned unmeasured = 0;  // nodes and edges
  // Inverted: a negative shape quality or smallest determinant; degenerate:
  // not inverted, and a shape quality or smallest determinant of 0.
  unsigned inverted = 0, degenerate = 0;
  // The first of each, in block and column order (as many as `keep`).
  std::vector<measured_element> first_inverted, first_degenerate;
};

// The smallest over the largest Jacobian determinant of an element; for an
// element whose determinants are all 0 or below, the largest over the
// magnitude of the smallest, so that a mirrored element gets the opposite
// value.  0 when both are 0; NaN when one is NaN.
double scaled_jacobian(double smallest, double largest);

// Measures every element of m, keeping the `keep` worst and the first
// `keep` inverted and degenerate ones.  Returns 0, or the
// first failing library code with `failed` set to the signature of the
// function that returned it (as result_message takes it).
int measure_quality(const mesh& m, unsigned keep, mesh_quality& q, const char*& failed);

// The shape quality and the scaled Jacobian of every element of m, block by
// block in column order (NaN for nodes and edges, which have no shape).
// Returns 0, or the first failing library code with `failed` set as above.
// May throw std::bad_alloc.
int element_qualities(const mesh& m, std::vector<double>& qualities, std::vector<double>& jacobians,
                      const char*& failed);

// "shape quality:" and its histogram.
void write_quality_histogram(std::FILE* out, const mesh_quality& q);

// The whole report:
//   shape quality:
//   <histogram>
//   scaled Jacobian (smallest / largest determinant):
//   <histogram>
//   worst elements:
//     block <b> element <e> (<TYPE>): quality <q>, scaled Jacobian <s>
//   inverted: <n>
//   degenerate: <n>
// Numbers in six significant digits, independent of the locale.
void write_quality_report(std::FILE* out, const mesh_quality& q);

}  // namespace plexa_cli
