#include "transform_options.hpp"

#include <charconv>
#include <cmath>
#include <cstring>

#include <zeb/plexa/geometry.hpp>

namespace plexa_cli {

namespace {

// Up to three comma-separated finite numbers, read independently of the
// locale; returns how many, 0 when malformed.
unsigned parse_numbers(const char* text, double* out) {
  const char* p = text;
  const char* end = text + std::strlen(text);
  unsigned n = 0;
  while (true) {
    if (n == 3) return 0;
    if (p != end && *p == '+') ++p;  // from_chars takes no leading plus
    const auto r = std::from_chars(p, end, out[n]);
    if (r.ec != std::errc() || !std::isfinite(out[n])) return 0;
    ++n;
    p = r.ptr;
    if (p == end) return n;
    if (*p != ',') return 0;
    ++p;
  }
}

constexpr double DEGREE = 3.14159265358979323846 / 180.0;

// The quarter turns (0 to 3) of an angle in degrees that is an exact
// multiple of 90, or -1.
int quarter_turns(double degrees) {
  if (std::fmod(degrees, 90.0) != 0.0) return -1;
  const double turns = std::fmod(degrees / 90.0, 4.0);
  return (int(turns) + 4) % 4;
}

// Turns the coordinates a and b of every node by q quarter turns in the
// plane (a, b), counter-clockwise seen from the third axis.
void turn_exactly(zeb::dense2D<double>& coords, unsigned a, unsigned b, int q) {
  for (unsigned j = 0; j < coords.cols(); ++j)
    for (int k = 0; k < q; ++k) {
      const double x = coords(a, j), y = coords(b, j);
      coords(a, j) = y == 0 ? 0.0 : -y;  // no -0 from a quarter turn
      coords(b, j) = x;
    }
}

// A rotation that turn_exactly can make: true after making it.  `count`
// components: 1, about z; 3, the axis vector whose length is the angle.
bool rotate_exactly(const transform_step& s, zeb::dense2D<double>& coords) {
  unsigned axis = 2;
  double degrees = s.value[0];
  if (s.count == 3) {
    unsigned nonzero = 0;
    for (unsigned i = 0; i < 3; ++i)
      if (s.value[i] != 0) axis = i, degrees = s.value[i], ++nonzero;
    if (nonzero != 1) return false;
  }
  const int q = quarter_turns(degrees);
  if (q < 0 || (coords.rows() < 3 && axis != 2)) return false;
  // Storage of our own before writing (the coordinates may be a view), 3-D
  // for an axis given in 3-D.
  zeb::dense2D<double> moved;
  if (!moved.resize(s.count == 3 ? 3 : coords.rows(), coords.cols(), 0.0)) return false;
  for (unsigned j = 0; j < coords.cols(); ++j)
    for (unsigned i = 0; i < coords.rows(); ++i) moved(i, j) = coords(i, j);
  coords = moved;
  // The plane of the turn, counter-clockwise seen from the axis.
  const unsigned a = (axis + 1) % 3, b = (axis + 2) % 3;
  turn_exactly(coords, a, b, q);
  return true;
}

}  // namespace

bool is_transform_option(const char* option) {
  return std::strcmp(option, "--scale") == 0 || std::strcmp(option, "--translate") == 0 ||
         std::strcmp(option, "--rotate") == 0;
}

bool add_transform(const char* option, const char* value, transform_list& list) {
  if (list.count == transform_list::capacity) return false;
  transform_step s{};
  s.count = parse_numbers(value, s.value);
  if (std::strcmp(option, "--scale") == 0) {
    s.what = transform_step::scale;
    if (s.count != 1 || s.value[0] == 0.0) return false;
  } else if (std::strcmp(option, "--translate") == 0) {
    s.what = transform_step::translate;
    if (s.count != 2 && s.count != 3) return false;
  } else {
    s.what = transform_step::rotate;
    if (s.count != 1 && s.count != 3) return false;
  }
  list.steps[list.count++] = s;
  return true;
}

bool apply_transforms(const transform_list& list, zeb::dense2D<double>& coords, bool& mirrored) {
  mirrored = false;
  using V2 = zeb::vector_fixed<double, 2>;
  using V3 = zeb::vector_fixed<double, 3>;
  namespace px = zeb::plexa;
  for (unsigned k = 0; k < list.count; ++k) {
    const transform_step& s = list.steps[k];
    const double* v = s.value;
    const bool planar = coords.rows() < 3;
    int r = 0;
    switch (s.what) {
      case transform_step::scale:
        r = planar ? px::zoom(coords, V2(0, 0), v[0]) : px::zoom(coords, V3(0, 0, 0), v[0]);
        if (v[0] < 0 && coords.rows() % 2 == 1) mirrored = !mirrored;
        break;
      case transform_step::translate:
        r = s.count == 2 ? px::translate(coords, V2(v[0], v[1])) : px::translate(coords, V3(v[0], v[1], v[2]));
        break;
      case transform_step::rotate:
        if (rotate_exactly(s, coords)) break;
        r = s.count == 1 ? px::rotate(coords, V2(0, 0), v[0] * DEGREE)
                         : px::rotate(coords, V3(0, 0, 0), V3(v[0] * DEGREE, v[1] * DEGREE, v[2] * DEGREE));
        break;
    }
    if (r < 0) return false;
  }
  return true;
}

}  // namespace plexa_cli
