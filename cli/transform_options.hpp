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

// Applies the steps in order; false when memory could not be had.
bool apply_transforms(const transform_list& list, zeb::dense2D<double>& coords);

}  // namespace plexa_cli
