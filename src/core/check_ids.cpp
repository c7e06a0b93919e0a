// Validity tests of node lists and connectivities, and the largest index.
#include <zeb/plexa/indices.hpp>

#include "core/element_model.hpp"
#include "core/matrix_walk.hpp"

namespace zeb {
namespace plexa {

using detail::NO_INDEX;

bool check_IDs(const dense1D<unsigned int, 8>& ids, unsigned int nods) {
  if (ids.empty() || nods == NO_INDEX) return true;
  const unsigned* p = ids.data();
  bool ok = true;
  for (unsigned i = 0, n = ids.size(); i < n; ++i) ok &= (p[i] < nods) | (p[i] == NO_INDEX);
  return ok;
}

bool check_IDs(const dense2D<unsigned int>& connect, unsigned int nods) {
  if (connect.empty() || nods == NO_INDEX) return true;
  bool ok = true;
  detail::for_each_column(connect, [&](const unsigned* col, unsigned) {
    if (!ok) return;
    bool col_ok = true;
    for (unsigned i = 0, r = connect.rows(); i < r; ++i) col_ok &= (col[i] < nods) | (col[i] == NO_INDEX);
    ok = col_ok;
  });
  return ok;
}

bool check_IDs(const dense2D<unsigned int>& connect, element_type type, unsigned int nods) {
  if (connect.empty()) return true;
  const unsigned rows = connect.rows();
  type = detail::narrow_type(type, rows);
  if (!detail::rows_fit(type, rows)) return false;
  const unsigned* p = connect.data();
  const std::size_t ld = connect.ld();
  const unsigned cols = connect.cols();
  if (type == ELT_FACE_MIX) {
    for (unsigned j = 0; j < cols; ++j, p += ld) {
      if (!((p[0] < nods) & (p[1] < nods) & (p[2] < nods) & ((p[3] < nods) | (p[3] == NO_INDEX)))) return false;
    }
    return true;
  }
  if (type == ELT_SOLID_MIX) {
    for (unsigned j = 0; j < cols; ++j, p += ld) {
      unsigned i = 0;
      bool col_ok = true;
      for (; i < 8; ++i) {
        if (p[i] == NO_INDEX && i >= 4 && i <= 6) break;
        col_ok &= p[i] < nods;
      }
      for (++i; i < 8; ++i) col_ok &= p[i] == NO_INDEX;
      if (!col_ok) return false;
    }
    return true;
  }
  bool ok = true;
  detail::for_each_column(connect, [&](const unsigned* col, unsigned) {
    if (!ok) return;
    bool col_ok = true;
    for (unsigned i = 0; i < rows; ++i) col_ok &= col[i] < nods;
    ok = col_ok;
  });
  return ok;
}

namespace {
unsigned max_of_run(const unsigned* p, std::size_t n) {
  unsigned m = 0;
  for (std::size_t k = 0; k < n; ++k) {
    const unsigned v = p[k] == NO_INDEX ? 0u : p[k];
    m = v > m ? v : m;
  }
  return m;
}
}  // namespace

unsigned int max_ID(const dense1D<unsigned int, 8>& ids) {
  if (ids.empty()) return NO_INDEX;
  return max_of_run(ids.data(), ids.size());
}

unsigned int max_ID(const dense2D<unsigned int>& connect) {
  if (connect.ld() == connect.rows()) {
    if (connect.empty()) return NO_INDEX;
    return max_of_run(connect.data(), std::size_t(connect.rows()) * connect.cols());
  }
  unsigned m = 0;
  detail::for_each_column(connect, [&](const unsigned* col, unsigned) {
    const unsigned c = max_of_run(col, connect.rows());
    m = c > m ? c : m;
  });
  return m;
}

}  // namespace plexa
}  // namespace zeb
