// Export macros of the zeb libraries, one scheme for all of them.  Each
// shared library is built with hidden visibility and defines
// ZEB<NAME>_BUILDING; only declarations marked with its macro leave it.
//
//   ZEBMATH1_API   zebmath1  the containers' allocation entry points
//   ZEBMISC_API    zebmisc   zeb::misc::histogram
//   ZEBLAPACK_API  zeblapack zeb::lapack::dspev
//   PLEXA_API      zebplexa  the zeb::plexa API
//   PLEXA_MPI_API  zebplexa_mpi  the partitioned-mesh functions (<zeb/plexa/mpi.hpp>)
#pragma once

#define ZEB_EXPORTED __attribute__((visibility("default")))

#if defined(ZEBMATH1_BUILDING)
#define ZEBMATH1_API ZEB_EXPORTED
#else
#define ZEBMATH1_API
#endif

#if defined(ZEBMISC_BUILDING)
#define ZEBMISC_API ZEB_EXPORTED
#else
#define ZEBMISC_API
#endif

#if defined(ZEBLAPACK_BUILDING)
#define ZEBLAPACK_API ZEB_EXPORTED
#else
#define ZEBLAPACK_API
#endif

#if defined(ZEBPLEXA_BUILDING)
#define PLEXA_API ZEB_EXPORTED
#else
#define PLEXA_API
#endif

#if defined(ZEBPLEXA_MPI_BUILDING)
#define PLEXA_MPI_API ZEB_EXPORTED
#else
#define PLEXA_MPI_API
#endif
