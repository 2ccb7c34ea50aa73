// Aliasing and duplicating conversions between the AIDL NativeHandle and native_handle_t.
#pragma once

#include <aidl/android/hardware/common/NativeHandle.h>
#include <cutils/native_handle.h>

namespace android {

// A new native_handle_t whose descriptors are the very numbers held by `handle` (still owned by
// it). Free with native_handle_delete only; never close it. Null if the handle cannot be made.
native_handle_t* makeFromAidl(const aidl::android::hardware::common::NativeHandle& handle);

// A new native_handle_t holding close-on-exec duplicates of `handle`'s descriptors, owned by the
// caller (native_handle_close, then native_handle_delete). A descriptor that cannot be duplicated
// leaves -1 in its slot. Null if the handle cannot be made.
native_handle_t* dupFromAidl(const aidl::android::hardware::common::NativeHandle& handle);

// Takes the descriptors of `handle` (which must not be null) into the result, which closes them
// when it is destroyed; free `handle` with native_handle_delete only.
aidl::android::hardware::common::NativeHandle makeToAidl(const native_handle_t* handle);

// Close-on-exec duplicates of `handle`'s descriptors; `handle` keeps its own. A descriptor that
// cannot be duplicated leaves -1 in its slot and the others are still duplicated.
aidl::android::hardware::common::NativeHandle dupToAidl(const native_handle_t* handle);

}  // namespace android
