// zebmisc: a histogram of measured values (edge qualities, sizes, ...).
#pragma once

#include <cstddef>

#if defined(ZEBMISC_BUILDING)
#define ZEBMISC_API __attribute__((visibility("default")))
#else
#define ZEBMISC_API
#endif

namespace zeb {
namespace misc {

class ZEBMISC_API histogram {
 public:
  histogram() noexcept;
  virtual ~histogram();
  virtual void process(double value);
  std::size_t count() const noexcept;
  double min() const noexcept;
  double max() const noexcept;
  double mean() const noexcept;

 private:
  std::size_t count_ = 0;
  double min_ = 0.0, max_ = 0.0, sum_ = 0.0;
};

}  // namespace misc
}  // namespace zeb
