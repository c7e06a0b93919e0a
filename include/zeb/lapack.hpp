// zeblapack: a thin entry to the system LAPACK.
#pragma once

#if defined(ZEBLAPACK_BUILDING)
#define ZEBLAPACK_API __attribute__((visibility("default")))
#else
#define ZEBLAPACK_API
#endif

namespace zeb {
namespace lapack {

// Eigenvalues (and, with jobz 'V', eigenvectors) of a real symmetric matrix
// in packed storage: LAPACK's dspev with the same arguments.  `ap` holds the
// n(n+1)/2 packed coefficients (uplo 'U': upper triangle by columns) and is
// destroyed; `w` receives the n eigenvalues in ascending order; `z` (ldz x n)
// the eigenvectors as columns when jobz is 'V' (may be null with 'N');
// `work` needs 3n doubles.  info is 0 on success, -i for a bad argument i,
// i > 0 when the iteration failed.  Returns info.
ZEBLAPACK_API int dspev(char jobz, char uplo, long n, double* ap, double* w, double* z, long ldz, double* work,
                        long& info);

}  // namespace lapack
}  // namespace zeb
