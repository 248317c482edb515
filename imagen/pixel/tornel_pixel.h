#pragma once
// The companion pixel library, libtornel.so: plain C functions, stateless, no allocation.
#include <stdint.h>

#if defined(__GNUC__)
#define TORNEL_PIXEL_API __attribute__((visibility("default")))
#else
#define TORNEL_PIXEL_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

// Version of the library read as a date, day month year: 150906 is 15/09/06.
TORNEL_PIXEL_API int32_t version(void);

#ifdef __cplusplus
}
#endif
