// Where a converted video goes: a regular file written atomically, or a stream written in place.
#include "media/output_file.h"

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

namespace media {
namespace {

std::string Quote(const std::string& path) {
    return "'" + path + "'";
}

bool IsStreamMode(mode_t mode) {
    return S_ISFIFO(mode) || S_ISCHR(mode) || S_ISSOCK(mode);
}

}  // namespace

FileIdentity IdentityOf(const std::string& path, int standardFd) {
    FileIdentity id;
    struct stat st;
    const bool found = path == "-" ? fstat(standardFd, &st) == 0 : stat(path.c_str(), &st) == 0;
    if (found) {
        id.exists = true;
        id.device = st.st_dev;
        id.inode = st.st_ino;
        return id;
    }
    const size_t slash = path.find_last_of('/');
    const std::string dir = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    const std::string base = slash == std::string::npos ? path : path.substr(slash + 1);
    char resolved[PATH_MAX];
    id.name =
        (realpath(dir.c_str(), resolved) != nullptr ? std::string(resolved) : dir) + "/" + base;
    return id;
}

bool SameFile(const FileIdentity& a, const FileIdentity& b) {
    if (a.exists != b.exists) return false;
    if (a.exists) return a.device == b.device && a.inode == b.inode;
    return a.name == b.name;
}

bool OutputFile::Open(const std::string& path, bool overwrite, std::string* error) {
    Discard();
    failure_.clear();
    path_ = path;
    if (path == "-") {
        stream_.reset(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3));
        if (!stream_.valid()) {
            SetError(error, std::string("cannot write to standard output: ") + strerror(errno));
            return false;
        }
        path_ = "standard output";
        return true;
    }
    struct stat st;
    if (stat(path.c_str(), &st) == 0) {
        if (IsStreamMode(st.st_mode)) {
            // Written in place: never truncated, created or replaced.
            stream_.reset(open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY));
            if (!stream_.valid()) {
                SetError(error, "cannot write " + Quote(path) + ": " + strerror(errno));
                return false;
            }
            return true;
        }
        if (S_ISREG(st.st_mode) && !overwrite) {
            SetError(error, Quote(path) + " already exists (add -y to overwrite it)");
            return false;
        }
    }
    return file_.Open(path, error);
}

bool OutputFile::Write(const void* data, size_t size, std::string* error) {
    if (!stream_.valid()) return file_.Write(data, size, error);
    if (!failure_.empty()) {
        SetError(error, failure_);
        return false;
    }
    const char* p = static_cast<const char*>(data);
    while (size > 0) {
        const ssize_t n = write(stream_.get(), p, size);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) {
            failure_ = "cannot write " + Quote(path_) + ": " +
                       (n < 0 ? strerror(errno) : "nothing was written");
            SetError(error, failure_);
            return false;
        }
        p += n;
        size -= static_cast<size_t>(n);
    }
    return true;
}

bool OutputFile::Commit(std::string* error) {
    if (!stream_.valid()) return file_.Commit(error);
    if (!failure_.empty()) {
        SetError(error, failure_);
        return false;
    }
    if (stream_.reset() != 0 && errno != EINTR) {
        SetError(error, "cannot write " + Quote(path_) + ": " + strerror(errno));
        return false;
    }
    return true;
}

void OutputFile::Discard() {
    stream_.reset();
    file_.Discard();
}

}  // namespace media
