// Output file written under a temporary name in its folder and renamed into place on commit.
#pragma once

#include <cstddef>
#include <string>

#include "media/unique_fd.h"

namespace media {

// Writes go to a hidden temporary file beside the destination; Commit() flushes it to disk and
// renames it over the destination, so readers never see a half-written file. A file that is not
// committed (an error, Discard(), or destruction) is removed, and so is one that is open when the
// process gets a signal that RemoveTemporaryFilesOnSignals() handles. Error messages name the
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

    bool isOpen() const { return fd_.valid(); }
    const std::string& path() const { return path_; }

  private:
    bool Fail(const std::string& message, std::string* error);
    void RemoveTemporary();

    UniqueFd fd_;
    std::string path_;
    std::string tempPath_;
    int cleanupSlot_ = -1;  // slot of tempPath_ in the signal handler's list, -1: none
    std::string failure_;
};

// Installs handlers for SIGINT, SIGTERM, SIGHUP and SIGPIPE that remove every temporary file of
// an open AtomicFile and end the process with exit status 128 + the signal's number. SIGXFSZ is
// ignored, so that a file size limit shows as a write error ("File too large") instead.
void RemoveTemporaryFilesOnSignals();

// Stores message in *error unless error is null: every media function takes an optional error.
void SetError(std::string* error, const std::string& message);

}  // namespace media
