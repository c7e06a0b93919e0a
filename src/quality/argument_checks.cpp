// The argument checks of the quality family.
#include <zeb/plexa/indices.hpp>

#include "core/result_codes.hpp"
#include "quality/element_walk.hpp"

namespace zeb {
namespace plexa {
namespace detail {

int check_mesh(const dense2D<double>& pos, const dense2D<unsigned>& connect, element_type type,
               element_type& narrowed) noexcept {
  narrowed = is_element_type(type) ? narrow_type(type, connect.rows()) : ELT_NONE;
  if (!has_quality(narrowed)) return bad_argument(3);
  if (connect.empty()) return 1;
  const unsigned rows = pos.rows();
  if (rows != 3 && !(rows == 2 && dimension(narrowed) == 2)) return bad_argument(1);
  if (!check_IDs(connect, type, pos.cols())) return bad_argument(2);
  return SUCCESS;
}

int check_metrics(const dense2D<double>& pos, const dense2D<double>& metrics) noexcept {
  const bool planar = pos.rows() == 2;
  if (metrics.rows() != (planar ? 3u : 6u) || metrics.cols() != pos.cols()) return bad_argument(4);
  double r[6];
  bool valid = true;
  for_each_column(metrics, [&](const double* m, unsigned) {
    valid = valid && (planar ? cholesky<2>(m, r) : cholesky<3>(m, r));
  });
  return valid ? SUCCESS : bad_argument(4);
}

}  // namespace detail
}  // namespace plexa
}  // namespace zeb
