// zeb::lapack::dspev: forwards to the Fortran routine of the system LAPACK.
//
// The arguments are checked here first, in LAPACK's own order and with its
// codes, because the system routine reports a bad argument through xerbla,
// which may stop the whole program.  Null arrays and sizes beyond the
// Fortran integer are reported against the argument that carries them.
#include <climits>
#include <cstddef>

#include <zeb/lapack.hpp>

extern "C" void dspev_(const char* jobz, const char* uplo, const int* n, double* ap, double* w, double* z,
                       const int* ldz, double* work, int* info, std::size_t jobz_len, std::size_t uplo_len);

namespace zeb {
namespace lapack {

namespace {
bool is(char c, char upper) { return c == upper || c == upper - 'A' + 'a'; }

long check(char jobz, char uplo, long n, const double* ap, const double* w, const double* z, long ldz,
           const double* work) {
  const bool vectors = is(jobz, 'V');
  if (!vectors && !is(jobz, 'N')) return -1;
  if (!is(uplo, 'U') && !is(uplo, 'L')) return -2;
  // n(n+1)/2 packed coefficients must fit the Fortran integer too.
  if (n < 0 || n > 65535) return -3;
  if (n > 0 && !ap) return -4;
  if (n > 0 && !w) return -5;
  if (vectors && n > 0 && !z) return -6;
  if (ldz < 1 || ldz > INT_MAX || (vectors && ldz < n)) return -7;
  if (n > 0 && !work) return -8;
  return 0;
}
}  // namespace

int dspev(char jobz, char uplo, long n, double* ap, double* w, double* z, long ldz, double* work, long& info) {
  info = check(jobz, uplo, n, ap, w, z, ldz, work);
  if (info != 0) return static_cast<int>(info);
  if (n == 0) return 0;
  const int fn = static_cast<int>(n);
  const int fldz = static_cast<int>(ldz);
  int finfo = 0;
  double unused = 0.0;  // z is not referenced with jobz 'N' but must be a valid address
  dspev_(&jobz, &uplo, &fn, ap, w, z ? z : &unused, &fldz, work, &finfo, 1, 1);
  info = finfo;
  return finfo;
}

}  // namespace lapack
}  // namespace zeb
