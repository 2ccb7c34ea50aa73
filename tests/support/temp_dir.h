// Scratch folders and whole-file access for the tests and benchmarks that write files.
#pragma once

#include <dirent.h>
#include <ftw.h>
#include <stdlib.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace testsupport {

// A fresh folder under $TMPDIR (or /tmp) whose name starts with prefix, removed with its content
// on destruction. path() is empty when the folder could not be made.
class TempDir {
  public:
    explicit TempDir(const std::string& prefix = "vpptest") {
        const char* base = getenv("TMPDIR");
        std::string pattern = std::string(base != nullptr && *base != '\0' ? base : "/tmp") + "/" +
                              prefix + "-XXXXXX";
        if (mkdtemp(&pattern[0]) != nullptr) {
            path_ = pattern;
        }
    }
    ~TempDir() {
        auto remove = [](const char* path, const struct stat*, int, struct FTW*) {
            return ::remove(path);
        };
        if (!path_.empty()) {
            nftw(path_.c_str(), remove, 16, FTW_DEPTH | FTW_PHYS);
        }
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::string& path() const { return path_; }
    std::string File(const std::string& name) const { return path_ + "/" + name; }
    // Names in the folder, sorted, so tests can prove that no temporary file was left behind.
    std::vector<std::string> Entries() const {
        std::vector<std::string> names;
        if (DIR* dir = opendir(path_.c_str())) {
            while (const dirent* entry = readdir(dir)) {
                const std::string name = entry->d_name;
                if (name != "." && name != "..") {
                    names.push_back(name);
                }
            }
            closedir(dir);
        }
        std::sort(names.begin(), names.end());
        return names;
    }

  private:
    std::string path_;
};

inline void WriteFile(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary)
        .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

// The file's bytes; empty when it cannot be read.
inline std::string ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

}  // namespace testsupport
