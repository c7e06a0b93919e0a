// Geometric transforms given as command-line options (--scale, --translate,
// --rotate) and applied to a mesh's coordinates in the order given.
#pragma once

#include <zeb/dense.hpp>

namespace plexa_cli {

struct transform_step {
  enum kind { scale, translate, rotate } what;
  double value[3];
  unsigned count;  // components given: 1 (scale, plane rotation), 2 or 3
};

struct transform_list {
  static constexpr unsigned capacity = 16;
  transform_step steps[capacity];
  unsigned count = 0;
};

// True when `option` names a transform (its value is the next argument).
bool is_transform_option(const char* option);

// Parses the value of a transform option and appends the step; false when the
// value is malformed or the list is full.
bool add_transform(const char* option, const char* value, transform_list& list);

// Applies the steps in order; false when memory could not be had.  A
// rotation by an exact multiple of 90 degrees about the z axis (or about a
// coordinate axis) moves the coordinates exactly, by swapping and negating
// them, so that 0 stays 0 rather than becoming 6.1e-17.
// Output: mirrored, whether the steps together reverse orientation (a
// negative scale in 3-D): every element of the mesh is then inside out.
bool apply_transforms(const transform_list& list, zeb::dense2D<double>& coords, bool& mirrored);

}  // namespace plexa_cli
