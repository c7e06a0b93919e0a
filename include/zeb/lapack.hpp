// zeblapack: a thin entry to the system LAPACK.
#pragma once

#include <zeb/export.hpp>

namespace zeb {
namespace lapack {

// Eigenvalues (and, with jobz 'V', eigenvectors) of a real symmetric n x n
// matrix in packed storage: LAPACK's dspev with the same arguments.
//   jobz  'N' eigenvalues only, 'V' eigenvalues and eigenvectors (either case).
//   uplo  'U': ap holds the upper triangle column by column (a11, a12, a22,
//         a13, ...); 'L': the lower triangle column by column.
//   n     order of the matrix, 0 <= n <= 65535.
//   ap    n(n+1)/2 packed coefficients; destroyed.
//   w     out, n eigenvalues in ascending order.
//   z     out with 'V': ldz x n, column k the unit eigenvector of w[k]
//         (its sign is arbitrary); may be null with 'N'.
//   ldz   leading dimension of z: >= 1, and >= n with 'V'.
//   work  3n doubles of scratch space.
//   info  0 on success; -i when argument i is invalid (nothing is computed);
//         i > 0 when the iteration did not converge (i off-diagonal entries
//         of an intermediate tridiagonal form did not reach zero).
// Returns info.
ZEBLAPACK_API int dspev(char jobz, char uplo, long n, double* ap, double* w, double* z, long ldz, double* work,
                        long& info);

}  // namespace lapack
}  // namespace zeb
