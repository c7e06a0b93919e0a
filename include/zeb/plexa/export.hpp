// Export macro of the zebplexa shared library: the library is built with
// hidden visibility and only declarations marked PLEXA_API are exported.
#pragma once

#if defined(ZEBPLEXA_BUILDING)
#define PLEXA_API __attribute__((visibility("default")))
#else
#define PLEXA_API
#endif
