// The open file descriptors of this process or another, counted for the leak checks of every test
// area and the benchmarks.
#pragma once

#include <dirent.h>
#include <sys/types.h>

#include <string>

namespace testsupport {

// Entries of a /proc/<pid>/fd folder; -1 when it cannot be read.
inline int CountFolderEntries(const std::string& folder) {
    DIR* dir = opendir(folder.c_str());
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
    return count;
}

// This process's descriptors, less the one that the listing itself holds open; -1 when the folder
// cannot be read.
inline int OpenDescriptorCount() {
    const int count = CountFolderEntries("/proc/self/fd");
    return count < 0 ? -1 : count - 1;
}

// Another process's descriptors (a service daemon, a child); -1 when they cannot be read.
inline int OpenDescriptorCountOf(pid_t pid) {
    return CountFolderEntries("/proc/" + std::to_string(pid) + "/fd");
}

}  // namespace testsupport
