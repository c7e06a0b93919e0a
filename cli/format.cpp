#include "format.hpp"

#include <charconv>

namespace plexa_cli {

number_text format_number(double value) {
  number_text t{};
  // to_chars never consults the locale; 32 bytes hold any shortest double.
  const auto r = std::to_chars(t.text, t.text + sizeof t.text - 1, value);
  *r.ptr = '\0';
  return t;
}

number_text format_number(double value, int digits) {
  number_text t{};
  const auto r = std::to_chars(t.text, t.text + sizeof t.text - 1, value, std::chars_format::general, digits);
  *r.ptr = '\0';
  return t;
}

}  // namespace plexa_cli
