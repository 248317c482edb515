#include "imagen/pixel/tornel_pixel.h"

extern "C" int32_t version(void) {
    return 150906;
}
