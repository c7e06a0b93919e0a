#include <zeb/misc/histogram.hpp>

namespace zeb {
namespace misc {

histogram::histogram() noexcept = default;
histogram::~histogram() = default;

void histogram::process(double value) {
  if (count_ == 0 || value < min_) min_ = value;
  if (count_ == 0 || value > max_) max_ = value;
  sum_ += value;
  ++count_;
}

std::size_t histogram::count() const noexcept { return count_; }
double histogram::min() const noexcept { return min_; }
double histogram::max() const noexcept { return max_; }
double histogram::mean() const noexcept { return count_ ? sum_ / double(count_) : 0.0; }

}  // namespace misc
}  // namespace zeb
