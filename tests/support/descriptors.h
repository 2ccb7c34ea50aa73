// The open file descriptors and shared-memory mappings of this process or another, counted for the
// leak checks of every test area and the benchmarks.
#pragma once

#include <dirent.h>
#include <sys/types.h>

#include <chrono>
#include <fstream>
#include <functional>
#include <string>
#include <thread>

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

// Mappings of a process whose /proc/<pid>/maps line contains `marker` (a memfd's name: the frames
// it has mapped).
inline int MappingCountOf(pid_t pid, const std::string& marker) {
    std::ifstream maps("/proc/" + std::to_string(pid) + "/maps");
    int count = 0;
    for (std::string line; std::getline(maps, line);) {
        count += line.find(marker) != std::string::npos;
    }
    return count;
}

// Polls a count until it equals `expected` or timeoutMs passes; returns the last value. What a
// process releases because another one let go (a connection, a reference) happens on its own
// threads, shortly after the call that let go has returned.
inline int SettledCount(const std::function<int()>& count, int expected, int timeoutMs = 3000) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    int value = count();
    while (value != expected && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        value = count();
    }
    return value;
}

}  // namespace testsupport
