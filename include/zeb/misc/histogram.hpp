// zebmisc: a histogram of measured values (edge lengths, qualities, sizes).
//
// Values are sorted into bins by a strictly increasing list of edges e0 < e1
// < ... < e(n-1): bin 0 holds values below e0, bin k (1 <= k < n) holds
// [e(k-1), e(k)), bin n holds values from e(n-1) on.  The default edges are
// 0, 0.3, 0.6, 0.71, 0.9, 1.3, 1.41, 2, 5, the usual classes of edge lengths
// measured in a size field (good edges lie around 1).  Not-a-number values
// are counted apart and never enter the bins, min, max or mean.
// process() neither allocates nor throws.
#pragma once

#include <cstddef>
#include <cstdio>

#include <zeb/export.hpp>

namespace zeb {
namespace misc {

class ZEBMISC_API histogram {
 public:
  static constexpr std::size_t max_edges = 32;

  // Empty histogram with the default edges.
  histogram() noexcept;
  virtual ~histogram();

  // Adds one value.
  virtual void process(double value);

  // Empties the histogram; the edges are kept.
  void reset() noexcept;
  // Replaces the edges (n values, 1 <= n <= max_edges, finite and strictly
  // increasing) and empties the histogram.  False, with nothing changed,
  // when the list is not acceptable.
  bool set_edges(const double* edges, std::size_t n) noexcept;

  // Values processed, not-a-number values excluded.
  std::size_t count() const noexcept;
  // Not-a-number values processed.
  std::size_t nan_count() const noexcept;
  // Smallest, largest and mean value; not-a-number when count() is 0.
  double min() const noexcept;
  double max() const noexcept;
  double mean() const noexcept;

  std::size_t edge_count() const noexcept;
  double edge(std::size_t k) const noexcept;
  // edge_count() + 1 bins, see above.
  std::size_t bin_count() const noexcept;
  std::size_t bin(std::size_t k) const noexcept;

  // The histogram as text, the same in every locale:
  //   count 10  min 0.25  max 7  mean 1.50833  nan 1
  //     0 - 0.3     1   10.0%
  //     ...
  //     >= 5        1   10.0%
  // The first line gives count, min, max and mean (6 significant digits)
  // and, when there are any, the not-a-number values.  One line per bin
  // follows (none when count() is 0): its range, its count and its share of
  // count(); the bin below the first edge is shown only when it holds
  // values.  Every line ends with '\n'.
  //
  // render() writes at most size - 1 characters and a terminating '\0' into
  // buffer (nothing when size is 0; buffer may then be null) and returns the
  // length of the whole text, so a result >= size means it was cut short.
  std::size_t render(char* buffer, std::size_t size) const noexcept;
  // Writes the text to out; false when out is null or the write fails.
  bool print(std::FILE* out) const noexcept;

 private:
  double edges_[max_edges];
  std::size_t bins_[max_edges + 1];
  std::size_t edge_count_ = 0;
  std::size_t count_ = 0;
  std::size_t nan_count_ = 0;
  double min_ = 0.0, max_ = 0.0, sum_ = 0.0;
};

}  // namespace misc
}  // namespace zeb
