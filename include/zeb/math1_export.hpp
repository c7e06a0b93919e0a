// Export macro of the containers companion library (zebmath1).
#pragma once

#if defined(ZEBMATH1_BUILDING)
#define ZEBMATH1_API __attribute__((visibility("default")))
#else
#define ZEBMATH1_API
#endif
