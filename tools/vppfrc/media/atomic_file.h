// Output file written under a temporary name in its folder and renamed into place on commit.
#pragma once

#include <cstddef>
#include <string>

namespace media {

// Writes go to a hidden temporary file beside the destination; Commit() flushes it to disk and
// renames it over the destination, so readers never see a half-written file. A file that is not
// committed (an error, Discard(), or destruction) is removed. Error messages name the
// destination path, which is what the user asked for, not the temporary one.
class AtomicFile {
  public:
    AtomicFile() = default;
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;
    ~AtomicFile();

    bool Open(const std::string& path, std::string* error);
    // Writes all of data. After a failure the file stays failed: further writes and Commit()
    // return false with the first error.
    bool Write(const void* data, size_t size, std::string* error);
    bool Commit(std::string* error);
    // Closes and removes the temporary file; nothing is left behind.
    void Discard();

    bool isOpen() const { return fd_ >= 0; }
    const std::string& path() const { return path_; }
    const std::string& tempPath() const { return tempPath_; }

  private:
    bool Fail(const std::string& message, std::string* error);

    int fd_ = -1;
    std::string path_;
    std::string tempPath_;
    std::string failure_;
};

// Stores message in *error unless error is null: every media function takes an optional error.
void SetError(std::string* error, const std::string& message);

}  // namespace media
