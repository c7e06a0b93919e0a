// zeb::lapack::dspev: forwards to the Fortran routine of the system LAPACK.
#include <cstddef>

#include <zeb/lapack.hpp>

extern "C" void dspev_(const char* jobz, const char* uplo, const int* n, double* ap, double* w, double* z,
                       const int* ldz, double* work, int* info, std::size_t jobz_len, std::size_t uplo_len);

namespace zeb {
namespace lapack {

int dspev(char jobz, char uplo, long n, double* ap, double* w, double* z, long ldz, double* work, long& info) {
  const int fn = static_cast<int>(n);
  const int fldz = static_cast<int>(ldz);
  int finfo = 0;
  double dummy = 0.0;
  dspev_(&jobz, &uplo, &fn, ap, w, z ? z : &dummy, &fldz, work, &finfo, 1, 1);
  info = finfo;
  return finfo;
}

}  // namespace lapack
}  // namespace zeb
