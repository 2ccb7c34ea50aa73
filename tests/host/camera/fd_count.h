// Counting of the process's open descriptors, for leak checks in tests.
#pragma once

namespace camera_test {

// Number of entries in /proc/self/fd (the directory's own descriptor is counted every time, so
// differences between two counts are exact).
int OpenDescriptorCount();

}  // namespace camera_test
