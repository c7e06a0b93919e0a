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

bool apply_transforms(const transform_list& list, zeb::dense2D<double>& coords) {
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
        break;
      case transform_step::translate:
        r = s.count == 2 ? px::translate(coords, V2(v[0], v[1])) : px::translate(coords, V3(v[0], v[1], v[2]));
        break;
      case transform_step::rotate:
        r = s.count == 1 ? px::rotate(coords, V2(0, 0), v[0] * DEGREE)
                         : px::rotate(coords, V3(0, 0, 0), V3(v[0] * DEGREE, v[1] * DEGREE, v[2] * DEGREE));
        break;
    }
    if (r < 0) return false;
  }
  return true;
}

}  // namespace plexa_cli
