#include "support/locale.hpp"

#include <clocale>
#include <cstdlib>
#include <locale>
#include <stdexcept>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

namespace plexa_test {

namespace {

// Allocations made while one exists are not reported as leaks.
struct leak_checks_off {
#if defined(__SANITIZE_ADDRESS__)
  leak_checks_off() { __lsan_disable(); }
  ~leak_checks_off() { __lsan_enable(); }
#else
  leak_checks_off() {}  // user-provided, so that unused instances draw no warning
#endif
};

}  // namespace

decimal_comma_locale::decimal_comma_locale() {
  for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "fr_FR.utf8"})
    if (std::setlocale(LC_ALL, name)) {
      use_cxx_locale(name);
      return;
    }
  char dir[] = "/tmp/plexa-locale-XXXXXX";
  if (mkdtemp(dir)) {
    dir_ = dir;
    const std::string cmd = "localedef -i de_DE -f UTF-8 " + dir_ + "/de_DE.UTF-8 >/dev/null 2>&1";
    if (std::system(cmd.c_str()) != -1) {
      setenv("LOCPATH", dir_.c_str(), 1);
      // glibc keeps the search path of a locale loaded through LOCPATH for
      // the life of the process; that is not ours to free.
      leak_checks_off off;
      if (std::setlocale(LC_ALL, "de_DE.UTF-8")) {
        use_cxx_locale("de_DE.UTF-8");
        return;
      }
    }
  }
  struct comma : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
  };
  std::locale::global(std::locale(std::locale::classic(), new comma));
}

decimal_comma_locale::~decimal_comma_locale() {
  leak_checks_off off;
  unsetenv("LOCPATH");
  std::setlocale(LC_ALL, "C");
  std::locale::global(std::locale::classic());
  if (!dir_.empty()) std::system(("rm -rf " + dir_).c_str());
}

void decimal_comma_locale::use_cxx_locale(const char* name) {
  c_switched_ = true;
  try {
    std::locale::global(std::locale(name));
  } catch (const std::runtime_error&) {
  }
}

}  // namespace plexa_test
