// Helpers shared by the media tests: scratch folders, whole-file access, descriptor counts.
#pragma once

#include <dirent.h>
#include <ftw.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdint>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace media_test {

// A fresh folder under $TMPDIR (or /tmp), removed with its content on destruction.
class TempDir {
  public:
    TempDir() {
        const char* base = getenv("TMPDIR");
        std::string pattern =
            std::string(base != nullptr && *base ? base : "/tmp") + "/media-XXXXXX";
        std::vector<char> buffer(pattern.begin(), pattern.end());
        buffer.push_back('\0');
        if (mkdtemp(buffer.data()) != nullptr) path_ = buffer.data();
    }
    ~TempDir() {
        if (!path_.empty()) {
            nftw(
                path_.c_str(),
                [](const char* p, const struct stat*, int, struct FTW*) { return remove(p); }, 16,
                FTW_DEPTH | FTW_PHYS);
        }
    }
    const std::string& path() const { return path_; }
    std::string File(const std::string& name) const { return path_ + "/" + name; }
    // Names in the folder, so tests can prove that no temporary file was left behind.
    std::vector<std::string> Entries() const {
        std::vector<std::string> names;
        if (DIR* dir = opendir(path_.c_str())) {
            while (dirent* entry = readdir(dir)) {
                std::string name = entry->d_name;
                if (name != "." && name != "..") names.push_back(name);
            }
            closedir(dir);
        }
        return names;
    }

  private:
    std::string path_;
};

inline void WriteFile(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary)
        .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

inline std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// Entries of /proc/self/fd, counted independently of the code under test.
inline int CountOpenFds() {
    int count = 0;
    if (DIR* dir = opendir("/proc/self/fd")) {
        while (dirent* entry = readdir(dir)) {
            if (entry->d_name[0] != '.') ++count;
        }
        closedir(dir);
    }
    return count - 1;  // the descriptor of the listing itself
}

// Deterministic pseudo-random bytes.
inline std::vector<uint8_t> Pattern(size_t size, uint32_t seed) {
    std::vector<uint8_t> bytes(size);
    uint32_t state = seed * 2654435761u + 1;
    for (auto& b : bytes) {
        state ^= state << 13;
        state ^= state >> 17;
        state ^= state << 5;
        b = static_cast<uint8_t>(state >> 24);
    }
    return bytes;
}

}  // namespace media_test
