// A locale whose decimal separator is a comma, for tests of output that must
// not depend on the caller's locale.
#pragma once

#include <string>

namespace plexa_test {

// Switches the C and C++ locales to one with a decimal comma, and back to
// "C" on destruction: an installed locale when there is one, else one
// compiled into a temporary directory, else only the C++ global locale
// (a numpunct stub).
class decimal_comma_locale {
 public:
  decimal_comma_locale();
  ~decimal_comma_locale();
  decimal_comma_locale(const decimal_comma_locale&) = delete;
  decimal_comma_locale& operator=(const decimal_comma_locale&) = delete;

  // True when the C library's locale (printf's) was switched too.
  bool c_locale_switched() const { return c_switched_; }

 private:
  void use_cxx_locale(const char* name);
  std::string dir_;
  bool c_switched_ = false;
};

}  // namespace plexa_test
