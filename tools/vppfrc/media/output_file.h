// Where a converted video goes: a regular file written atomically, or a stream written in place.
#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <string>

#include "media/atomic_file.h"
#include "media/unique_fd.h"

namespace media {

// "-" is standard output. A path naming a pipe, FIFO, socket or character device is opened and
// written in place as a stream, never replaced. Anything else is a regular file, written through
// an AtomicFile; an existing one is only replaced when overwrite is true.
class OutputFile {
  public:
    OutputFile() = default;
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    ~OutputFile() = default;  // an uncommitted regular file is removed

    bool Open(const std::string& path, bool overwrite, std::string* error);
    bool Write(const void* data, size_t size, std::string* error);
    // Renames a regular file into place; a stream has nothing to do.
    bool Commit(std::string* error);
    // Removes an uncommitted regular file; a stream is closed, keeping what was written.
    void Discard();

    bool isStream() const { return stream_.valid(); }
    const std::string& path() const { return path_; }

  private:
    std::string path_;
    UniqueFd stream_;
    AtomicFile file_;
    std::string failure_;
};

// An identity for "is this the same file": device and inode when the path exists (links
// followed), else the absolute form of its folder and name. "-" is the standard stream given.
struct FileIdentity {
    bool exists = false;
    dev_t device = 0;
    ino_t inode = 0;
    std::string name;  // when it does not exist
};
FileIdentity IdentityOf(const std::string& path, int standardFd);
bool SameFile(const FileIdentity& a, const FileIdentity& b);

}  // namespace media
