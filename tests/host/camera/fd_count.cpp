// Counting of the process's open descriptors.
#include "fd_count.h"

#include <dirent.h>

#include <cstring>

namespace camera_test {

int OpenDescriptorCount() {
    DIR* pDir = opendir("/proc/self/fd");
    if (pDir == nullptr) {
        return -1;
    }
    int count = 0;
    while (const dirent* pEntry = readdir(pDir)) {
        if (strcmp(pEntry->d_name, ".") != 0 && strcmp(pEntry->d_name, "..") != 0) {
            ++count;
        }
    }
    closedir(pDir);
    return count;
}

}  // namespace camera_test
