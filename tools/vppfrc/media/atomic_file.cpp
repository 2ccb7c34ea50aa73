// Output file written under a temporary name in its folder and renamed into place on commit.
#include "atomic_file.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>

namespace media {
namespace {

std::string ErrnoText(int err) {
    return strerror(err);
}

// Splits "dir/name" into its folder ("." when there is none) and file name.
void SplitPath(const std::string& path, std::string* dir, std::string* base) {
    size_t slash = path.find_last_of('/');
    if (slash == std::string::npos) {
        *dir = ".";
        *base = path;
    } else {
        *dir = slash == 0 ? "/" : path.substr(0, slash);
        *base = path.substr(slash + 1);
    }
}

}  // namespace

void SetError(std::string* error, const std::string& message) {
    if (error != nullptr) *error = message;
}

AtomicFile::~AtomicFile() {
    Discard();
}

bool AtomicFile::Open(const std::string& path, std::string* error) {
    Discard();
    failure_.clear();
    path_ = path;
    std::string dir, base;
    SplitPath(path, &dir, &base);
    if (base.empty() || base == "." || base == "..") {
        SetError(error, "cannot write '" + path + "': the path does not name a file");
        return false;
    }
    struct stat st;
    if (stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode)) {
        SetError(error, "cannot write '" + path + "': it is a folder");
        return false;
    }
    // The temporary name is unique per process and call; O_EXCL guards against anything else
    // that happens to use the same name. Mode 0666 lets the umask decide the final permissions.
    static std::atomic<unsigned> counter{0};
    for (int attempt = 0; attempt < 100; ++attempt) {
        std::string temp = dir + "/." + base + ".tmp-" + std::to_string(getpid()) + "-" +
                           std::to_string(counter.fetch_add(1));
        int fd = open(temp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd >= 0) {
            fd_ = fd;
            tempPath_ = temp;
            return true;
        }
        if (errno != EEXIST) {
            int err = errno;
            SetError(error, "cannot write '" + path + "': cannot create a file in folder '" + dir +
                                "': " + ErrnoText(err));
            return false;
        }
    }
    SetError(error, "cannot write '" + path + "': no free temporary name in folder '" + dir + "'");
    return false;
}

bool AtomicFile::Fail(const std::string& message, std::string* error) {
    if (failure_.empty()) failure_ = message;
    SetError(error, failure_);
    return false;
}

bool AtomicFile::Write(const void* data, size_t size, std::string* error) {
    if (!failure_.empty()) return Fail(failure_, error);
    if (fd_ < 0) return Fail("cannot write '" + path_ + "': the file is not open", error);
    const char* p = static_cast<const char*>(data);
    while (size > 0) {
        ssize_t n = write(fd_, p, size);
        if (n < 0) {
            if (errno == EINTR) continue;
            return Fail("cannot write '" + path_ + "': " + ErrnoText(errno), error);
        }
        if (n == 0) return Fail("cannot write '" + path_ + "': nothing was written", error);
        p += n;
        size -= static_cast<size_t>(n);
    }
    return true;
}

bool AtomicFile::Commit(std::string* error) {
    if (!failure_.empty()) {
        Discard();
        return Fail(failure_, error);
    }
    if (fd_ < 0) return Fail("cannot write '" + path_ + "': the file is not open", error);
    // Flush before the rename so that a crash never leaves a renamed but empty file.
    if (fsync(fd_) != 0 && errno != EINVAL && errno != EROFS) {
        std::string message = "cannot write '" + path_ + "': " + ErrnoText(errno);
        Discard();
        return Fail(message, error);
    }
    int fd = fd_;
    fd_ = -1;
    if (close(fd) != 0) {
        std::string message = "cannot write '" + path_ + "': " + ErrnoText(errno);
        unlink(tempPath_.c_str());
        tempPath_.clear();
        return Fail(message, error);
    }
    if (rename(tempPath_.c_str(), path_.c_str()) != 0) {
        std::string message = "cannot write '" + path_ + "': " + ErrnoText(errno);
        unlink(tempPath_.c_str());
        tempPath_.clear();
        return Fail(message, error);
    }
    tempPath_.clear();
    return true;
}

void AtomicFile::Discard() {
    if (fd_ >= 0) {
        close(fd_);
        fd_ = -1;
    }
    if (!tempPath_.empty()) {
        unlink(tempPath_.c_str());
        tempPath_.clear();
    }
}

}  // namespace media
