// Counts the process's open file descriptors, so tests can check that none leaked.
#pragma once

#include <dirent.h>

#include <cstddef>

namespace vpp_aidl_test {

// Entries of /proc/self/fd, less the one the directory listing itself holds open.
inline size_t openDescriptorCount() {
    DIR* dir = opendir("/proc/self/fd");
    if (dir == nullptr) return 0;
    size_t count = 0;
    while (dirent* entry = readdir(dir)) {
        if (entry->d_name[0] != '.') count++;
    }
    closedir(dir);
    return count - 1;
}

}  // namespace vpp_aidl_test
