// Output file written under a temporary name in its folder and renamed into place on commit.
#include "media/atomic_file.h"

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <signal.h>
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

// Temporary files the signal handler removes. Fixed storage: the handler may only read memory
// and call async-signal-safe functions (unlink, _exit).
constexpr int kCleanupSlots = 16;
struct CleanupSlot {
    std::atomic<bool> used{false};
    std::atomic<bool> active{false};
    char path[PATH_MAX];
};
CleanupSlot gCleanup[kCleanupSlots];

int RegisterCleanup(const std::string& path) {
    if (path.size() >= PATH_MAX) return -1;
    for (int i = 0; i < kCleanupSlots; ++i) {
        bool expected = false;
        if (gCleanup[i].used.compare_exchange_strong(expected, true)) {
            memcpy(gCleanup[i].path, path.c_str(), path.size() + 1);
            gCleanup[i].active.store(true);
            return i;
        }
    }
    return -1;
}

void UnregisterCleanup(int slot) {
    if (slot < 0) return;
    gCleanup[slot].active.store(false);
    gCleanup[slot].used.store(false);
}

void RemoveAndExit(int signal) {
    for (CleanupSlot& slot : gCleanup) {
        if (slot.active.load()) unlink(slot.path);
    }
    _exit(128 + signal);
}

}  // namespace

void SetError(std::string* error, const std::string& message) {
    if (error != nullptr) *error = message;
}

void RemoveTemporaryFilesOnSignals() {
    struct sigaction action;
    memset(&action, 0, sizeof(action));
    action.sa_handler = RemoveAndExit;
    sigemptyset(&action.sa_mask);
    for (int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) sigaddset(&action.sa_mask, signal);
    for (int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) sigaction(signal, &action, nullptr);
    ::signal(SIGXFSZ, SIG_IGN);
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
        std::string temp = dir;
        temp.append("/.").append(base).append(".tmp-").append(std::to_string(getpid()));
        temp.append("-").append(std::to_string(counter.fetch_add(1)));
        // Registered before it exists, so that no signal can come between creation and
        // registration; removing a name that was never created does no harm.
        const int slot = RegisterCleanup(temp);
        UniqueFd fd(open(temp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
        if (fd.valid()) {
            fd_ = std::move(fd);
            tempPath_ = temp;
            cleanupSlot_ = slot;
            return true;
        }
        const int err = errno;
        UnregisterCleanup(slot);
        if (err != EEXIST) {
            std::string message = "cannot write '" + path;
            message.append("': cannot create a file in folder '").append(dir).append("': ");
            SetError(error, message + ErrnoText(err));
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
    if (!fd_.valid()) return Fail("cannot write '" + path_ + "': the file is not open", error);
    const char* p = static_cast<const char*>(data);
    while (size > 0) {
        ssize_t n = write(fd_.get(), p, size);
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

void AtomicFile::RemoveTemporary() {
    if (!tempPath_.empty()) {
        unlink(tempPath_.c_str());
        tempPath_.clear();
    }
    UnregisterCleanup(cleanupSlot_);
    cleanupSlot_ = -1;
}

bool AtomicFile::Commit(std::string* error) {
    if (!failure_.empty()) {
        Discard();
        return Fail(failure_, error);
    }
    if (!fd_.valid()) return Fail("cannot write '" + path_ + "': the file is not open", error);
    // Flush before the rename so that a crash never leaves a renamed but empty file.
    if (fsync(fd_.get()) != 0 && errno != EINVAL && errno != EROFS) {
        std::string message = "cannot write '" + path_ + "': " + ErrnoText(errno);
        Discard();
        return Fail(message, error);
    }
    if (fd_.reset() != 0) {
        std::string message = "cannot write '" + path_ + "': " + ErrnoText(errno);
        RemoveTemporary();
        return Fail(message, error);
    }
    if (rename(tempPath_.c_str(), path_.c_str()) != 0) {
        std::string message = "cannot write '" + path_ + "': " + ErrnoText(errno);
        RemoveTemporary();
        return Fail(message, error);
    }
    tempPath_.clear();
    UnregisterCleanup(cleanupSlot_);
    cleanupSlot_ = -1;
    return true;
}

void AtomicFile::Discard() {
    fd_.reset();
    RemoveTemporary();
}

}  // namespace media
