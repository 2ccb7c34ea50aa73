// The process's open file descriptors, counted for the leak checks of every test area and the
// benchmarks.
#pragma once

#include <dirent.h>

namespace testsupport {

// Entries of /proc/self/fd, less the one that the listing itself holds open; -1 when the folder
// cannot be read.
inline int OpenDescriptorCount() {
    DIR* dir = opendir("/proc/self/fd");
    if (dir == nullptr) {
        return -1;
    }
    int count = 0;
    while (const dirent* entry = readdir(dir)) {
        if (entry->d_name[0] != '.') {
            count++;
        }
    }
    closedir(dir);
    return count - 1;
}

}  // namespace testsupport
