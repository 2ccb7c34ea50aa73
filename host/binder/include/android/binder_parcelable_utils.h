// Parcelable stability levels used by generated parcelable classes.
#pragma once

#include <stdint.h>

namespace ndk {

typedef int32_t parcelable_stability_t;

enum {
    STABILITY_LOCAL,
    STABILITY_VINTF,
};

}  // namespace ndk
