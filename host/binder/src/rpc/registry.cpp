// The process side of the transport: thread state, one connection per peer process, the folder
// of service sockets with its listeners, and lookups of services other processes publish.
#include <android/binder_auto_utils.h>
#include <android/binder_ibinder.h>
#include <binder_host/binder_host.h>
#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <string.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <map>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "../binder_internal.h"
#include "connection.h"
#include "rpc.h"
#include "thread_state.h"

namespace binder_host::rpc {

// ---- Thread state ----

namespace {

struct Frame {
    const Connection* connection;
    Channel* channel;
    pid_t pid;
    uid_t uid;
};

thread_local std::vector<Frame> tFrames;

}  // namespace

Channel* nestedChannelFor(const Connection* connection) {
    for (auto it = tFrames.rbegin(); it != tFrames.rend(); ++it) {
        if (it->connection == connection) return it->channel;
    }
    return nullptr;
}

ServingScope::ServingScope(const Connection* connection, Channel* channel, pid_t pid, uid_t uid) {
    tFrames.push_back({connection, channel, pid, uid});
}

ServingScope::~ServingScope() {
    tFrames.pop_back();
}

bool callingIdentity(pid_t* pid, uid_t* uid) {
    if (tFrames.empty()) return false;
    *pid = tFrames.back().pid;
    *uid = tFrames.back().uid;
    return true;
}

// ---- Connections by peer ----

namespace {

struct Connections {
    std::mutex mutex;
    std::map<pid_t, std::weak_ptr<Connection>> byPid;
};

Connections& connections() {
    static Connections* const instance = new Connections();
    return *instance;
}

}  // namespace

void rememberConnection(const std::shared_ptr<Connection>& connection) {
    Connections& c = connections();
    std::lock_guard<std::mutex> lock(c.mutex);
    std::weak_ptr<Connection>& slot = c.byPid[connection->peerPid()];
    std::shared_ptr<Connection> existing = slot.lock();
    if (existing == nullptr || !existing->usable()) slot = connection;
}

void forgetConnection(const Connection* connection) {
    Connections& c = connections();
    std::lock_guard<std::mutex> lock(c.mutex);
    auto it = c.byPid.find(connection->peerPid());
    if (it == c.byPid.end()) return;
    std::shared_ptr<Connection> existing = it->second.lock();
    if (existing == nullptr || existing.get() == connection) c.byPid.erase(it);
}

std::shared_ptr<Connection> findConnection(pid_t pid) {
    Connections& c = connections();
    std::lock_guard<std::mutex> lock(c.mutex);
    auto it = c.byPid.find(pid);
    if (it == c.byPid.end()) return nullptr;
    std::shared_ptr<Connection> existing = it->second.lock();
    return existing != nullptr && existing->usable() ? existing : nullptr;
}

void closeConnections(uint32_t timeoutMs) {
    std::vector<std::shared_ptr<Connection>> all;
    {
        Connections& c = connections();
        std::lock_guard<std::mutex> lock(c.mutex);
        all.reserve(c.byPid.size());
        for (auto& entry : c.byPid) {
            if (std::shared_ptr<Connection> connection = entry.second.lock()) {
                all.push_back(std::move(connection));
            }
        }
    }
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    for (const std::shared_ptr<Connection>& connection : all) connection->closeAndWait(deadline);
}

// ---- Calls on proxies ----

binder_status_t transact(AIBinder* proxy, transaction_code_t code, const AParcel* in, AParcel** out,
                         binder_flags_t flags) {
    return proxy->proxy->connection->transact(proxy->proxy->handle, code, in, out, flags);
}

binder_status_t remoteDescriptor(AIBinder* proxy, std::string* descriptor) {
    ProxyState& state = *proxy->proxy;
    {
        std::lock_guard<std::mutex> lock(state.mutex);
        if (state.descriptorKnown) {
            *descriptor = state.descriptor;
            return STATUS_OK;
        }
    }
    ParcelPtr in(AParcel_create());
    AParcel* out = nullptr;
    binder_status_t status =
        state.connection->transact(state.handle, INTERFACE_TRANSACTION, in.get(), &out, 0);
    if (status != STATUS_OK) return status;
    ParcelPtr reply(out);
    std::string text;
    status = AParcel_readString(reply.get(), &text, [](void* data, int32_t length, char** buffer) {
        if (length <= 0) return false;
        auto* s = static_cast<std::string*>(data);
        s->resize(static_cast<size_t>(length));
        *buffer = &(*s)[0];
        return true;
    });
    if (status != STATUS_OK) return status;
    text.pop_back();  // the terminating NUL
    std::lock_guard<std::mutex> lock(state.mutex);
    state.descriptor = text;
    state.descriptorKnown = true;
    *descriptor = text;
    return STATUS_OK;
}

binder_status_t ping(AIBinder* proxy) {
    ParcelPtr in(AParcel_create());
    AParcel* out = nullptr;
    binder_status_t status = proxy->proxy->connection->transact(
        proxy->proxy->handle, PING_TRANSACTION, in.get(), &out, 0);
    if (status == STATUS_OK) AParcel_delete(out);
    return status;
}

binder_status_t dump(AIBinder* proxy, int fd, const char** args, uint32_t numArgs) {
    ParcelPtr in(AParcel_create());
    binder_status_t status = AParcel_writeParcelFileDescriptor(in.get(), fd);
    if (status == STATUS_OK) status = AParcel_writeInt32(in.get(), static_cast<int32_t>(numArgs));
    for (uint32_t i = 0; status == STATUS_OK && i < numArgs; ++i) {
        status = AParcel_writeString(in.get(), args[i], static_cast<int32_t>(strlen(args[i])));
    }
    if (status != STATUS_OK) return status;
    AParcel* out = nullptr;
    status = proxy->proxy->connection->transact(proxy->proxy->handle, DUMP_TRANSACTION, in.get(),
                                                &out, 0);
    if (status == STATUS_OK) AParcel_delete(out);
    return status;
}

binder_status_t serveDump(AIBinder* target, const AParcel* in) {
    int raw = -1;
    binder_status_t status = AParcel_readParcelFileDescriptor(in, &raw);
    ndk::ScopedFileDescriptor fd(raw);
    int32_t count = 0;
    if (status == STATUS_OK) status = AParcel_readInt32(in, &count);
    if (status != STATUS_OK) return status;
    if (count < 0 || count > 1024) return STATUS_BAD_VALUE;
    std::vector<std::string> args(static_cast<size_t>(count));
    for (std::string& arg : args) {
        status = AParcel_readString(in, &arg, [](void* data, int32_t length, char** buffer) {
            if (length <= 0) return false;
            auto* s = static_cast<std::string*>(data);
            s->resize(static_cast<size_t>(length));
            *buffer = &(*s)[0];
            return true;
        });
        if (status != STATUS_OK) return status;
    }
    std::vector<const char*> argv;
    argv.reserve(args.size());
    for (const std::string& arg : args) argv.push_back(arg.c_str());
    return AIBinder_dump(target, fd.get(), argv.data(), static_cast<uint32_t>(argv.size()));
}

void proxyDestroyed(AIBinder* proxy) {
    proxy->proxy->connection->proxyDestroyed(proxy);
}

// ---- The folder of service sockets ----

namespace {

constexpr size_t kMaxSocketPath = sizeof(sockaddr_un::sun_path) - 1;  // 107 on Linux

std::string defaultFolder() {
    const char* runtime = getenv("XDG_RUNTIME_DIR");
    if (runtime != nullptr && runtime[0] == '/') return std::string(runtime) + "/binder-host";
    return "/tmp/binder-host-" + std::to_string(getuid());
}

// Logs a folder problem once per folder and reason.
void reportFolder(const std::string& folder, const char* problem) {
    static std::mutex* const mutex = new std::mutex();
    static std::set<std::string>* const reported = new std::set<std::string>();
    std::lock_guard<std::mutex> lock(*mutex);
    if (reported->insert(folder + problem).second) {
        logMessage(LOG_ERR, "Binder service folder %s: %s", folder.c_str(), problem);
    }
}

// Creates folder 0700 if absent, then checks it is a private directory of ours.
bool checkPrivateFolder(const std::string& folder) {
    if (mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) {
        reportFolder(folder, strerror(errno));
        return false;
    }
    struct stat st;
    if (lstat(folder.c_str(), &st) != 0) {
        reportFolder(folder, strerror(errno));
        return false;
    }
    if (S_ISLNK(st.st_mode) || !S_ISDIR(st.st_mode)) {
        reportFolder(folder, "not a directory (symbolic links are refused)");
        return false;
    }
    if (st.st_uid != getuid()) {
        reportFolder(folder, "owned by another user");
        return false;
    }
    if ((st.st_mode & 077) != 0) {
        reportFolder(folder, "open to other users (must be 0700)");
        return false;
    }
    return true;
}

uint64_t fnv1a(const std::string& text) {
    uint64_t hash = 0xcbf29ce484222325ULL;
    for (unsigned char c : text) {
        hash ^= c;
        hash *= 0x100000001b3ULL;
    }
    return hash;
}

bool fillAddress(const std::string& path, sockaddr_un* address) {
    if (path.size() > kMaxSocketPath) return false;
    memset(address, 0, sizeof(*address));
    address->sun_family = AF_UNIX;
    memcpy(address->sun_path, path.c_str(), path.size() + 1);
    return true;
}

// A connected socket to path, or -1 (errno kept).
int connectTo(const std::string& path) {
    sockaddr_un address;
    if (!fillAddress(path, &address)) {
        errno = ENAMETOOLONG;
        return -1;
    }
    ndk::ScopedFileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (socket.get() < 0) return -1;
    int result;
    do {
        result = connect(socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof(address));
    } while (result != 0 && errno == EINTR);
    return result == 0 ? socket.release() : -1;
}

bool peerCredentials(int socket, ucred* peer) {
    socklen_t size = sizeof(*peer);
    return getsockopt(socket, SOL_SOCKET, SO_PEERCRED, peer, &size) == 0;
}

}  // namespace

bool serviceFolder(std::string* folder) {
    const char* configured = getenv("BINDER_HOST_DIR");
    *folder = configured != nullptr && configured[0] != '\0' ? configured : defaultFolder();
    return checkPrivateFolder(*folder);
}

bool socketPath(const std::string& folder, const std::string& instance, std::string* path) {
    // Letters, digits, '.', '_' and '-' stay; anything else (and a leading '.') becomes %XX.
    std::string name;
    for (size_t i = 0; i < instance.size(); ++i) {
        auto c = static_cast<unsigned char>(instance[i]);
        bool plain = isalnum(c) || c == '_' || c == '-' || (c == '.' && i > 0);
        if (plain) {
            name += static_cast<char>(c);
        } else {
            char escaped[4];
            snprintf(escaped, sizeof(escaped), "%%%02X", c);
            name += escaped;
        }
    }
    if (name.empty()) name = "%";
    const size_t room = folder.size() + 1 < kMaxSocketPath ? kMaxSocketPath - folder.size() - 1 : 0;
    if (name.size() > room) {
        // Too long for a socket address: a prefix and a hash of the whole name. The peer checks
        // the full name on lookup, so a collision finds nothing rather than the wrong service.
        constexpr size_t kHashPart = 17;  // '~' and 16 hex digits
        if (room < kHashPart + 1) {
            reportFolder(folder, "path too long for service sockets");
            return false;
        }
        char hash[kHashPart + 1];
        snprintf(hash, sizeof(hash), "~%016llx", static_cast<unsigned long long>(fnv1a(instance)));
        name = name.substr(0, room - kHashPart) + hash;
    }
    *path = folder + "/" + name;
    return true;
}

// ---- Publishing ----

namespace {

struct Listener {
    std::string path;
    dev_t device = 0;
    ino_t inode = 0;
    ndk::ScopedFileDescriptor socket;
    ndk::ScopedFileDescriptor wake;
    std::thread thread;
};

struct Listeners {
    std::mutex mutex;
    std::map<std::string, std::unique_ptr<Listener>> byInstance;
};

Listeners& listeners() {
    static Listeners* const instance = new Listeners();
    return *instance;
}

void acceptLoop(Listener* listener) {
    for (;;) {
        pollfd fds[2] = {{listener->socket.get(), POLLIN, 0}, {listener->wake.get(), POLLIN, 0}};
        if (poll(fds, 2, -1) < 0) {
            if (errno == EINTR) continue;
            return;
        }
        if (fds[1].revents != 0) return;
        ndk::ScopedFileDescriptor socket(
            accept4(listener->socket.get(), nullptr, nullptr, SOCK_CLOEXEC));
        if (socket.get() < 0) continue;
        ucred peer{};
        if (!peerCredentials(socket.get(), &peer)) continue;
        if (peer.uid != getuid()) {
            logMessage(LOG_WARNING, "Refused a binder connection from pid %d of uid %u", peer.pid,
                       peer.uid);
            continue;
        }
        rememberConnection(Connection::start(std::move(socket), peer, false));
    }
}

std::unique_ptr<Listener> takeListener(const std::string& instance) {
    Listeners& l = listeners();
    std::lock_guard<std::mutex> lock(l.mutex);
    auto it = l.byInstance.find(instance);
    if (it == l.byInstance.end()) return nullptr;
    std::unique_ptr<Listener> listener = std::move(it->second);
    l.byInstance.erase(it);
    return listener;
}

void stopListener(std::unique_ptr<Listener> listener) {
    // Remove the socket file only if it is still ours (another process may have replaced it).
    struct stat st;
    if (lstat(listener->path.c_str(), &st) == 0 && st.st_dev == listener->device &&
        st.st_ino == listener->inode) {
        unlink(listener->path.c_str());
    }
    uint64_t one = 1;
    ssize_t written = write(listener->wake.get(), &one, sizeof(one));
    (void)written;
    listener->thread.join();
}

}  // namespace

// Publishing and withdrawing are serialised: the pool's start and a registration may both publish.
std::mutex& publishMutex() {
    static std::mutex* const mutex = new std::mutex();
    return *mutex;
}

void publishService(const std::string& instance) {
    std::lock_guard<std::mutex> publishing(publishMutex());
    std::string folder;
    std::string path;
    if (!serviceFolder(&folder) || !socketPath(folder, instance, &path)) {
        logMessage(LOG_WARNING, "Service '%s' is registered for this process only",
                   instance.c_str());
        return;
    }
    {
        Listeners& l = listeners();
        std::lock_guard<std::mutex> lock(l.mutex);
        auto it = l.byInstance.find(instance);
        if (it != l.byInstance.end() && it->second->path == path) return;  // already published
    }
    if (auto previous = takeListener(instance)) stopListener(std::move(previous));

    auto listener = std::make_unique<Listener>();
    listener->path = path;
    listener->socket.set(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address;
    fillAddress(path, &address);
    auto* addr = reinterpret_cast<sockaddr*>(&address);
    if (listener->socket.get() < 0) {
        logMessage(LOG_ERR, "Cannot publish service '%s': %s", instance.c_str(), strerror(errno));
        return;
    }
    if (bind(listener->socket.get(), addr, sizeof(address)) != 0) {
        if (errno != EADDRINUSE) {
            logMessage(LOG_ERR, "Cannot publish service '%s' at %s: %s", instance.c_str(),
                       path.c_str(), strerror(errno));
            return;
        }
        // A live socket belongs to another process; one without a listener is stale.
        ndk::ScopedFileDescriptor probe(connectTo(path));
        if (probe.get() >= 0) {
            logMessage(LOG_WARNING,
                       "Service '%s' is already published by another process; registered for "
                       "this process only",
                       instance.c_str());
            return;
        }
        unlink(path.c_str());
        if (bind(listener->socket.get(), addr, sizeof(address)) != 0) {
            logMessage(LOG_ERR, "Cannot publish service '%s' at %s: %s", instance.c_str(),
                       path.c_str(), strerror(errno));
            return;
        }
    }
    struct stat st;
    if (chmod(path.c_str(), 0600) != 0 || lstat(path.c_str(), &st) != 0 ||
        listen(listener->socket.get(), 64) != 0) {
        logMessage(LOG_ERR, "Cannot publish service '%s' at %s: %s", instance.c_str(), path.c_str(),
                   strerror(errno));
        unlink(path.c_str());
        return;
    }
    listener->device = st.st_dev;
    listener->inode = st.st_ino;
    listener->wake.set(eventfd(0, EFD_CLOEXEC));
    if (listener->wake.get() < 0) {
        unlink(path.c_str());
        return;
    }
    Listener* raw = listener.get();
    listener->thread = std::thread([raw]() { acceptLoop(raw); });
    Listeners& l = listeners();
    std::lock_guard<std::mutex> lock(l.mutex);
    l.byInstance[instance] = std::move(listener);
}

void unpublishService(const std::string& instance) {
    std::lock_guard<std::mutex> publishing(publishMutex());
    if (auto listener = takeListener(instance)) stopListener(std::move(listener));
}

void unpublishAll() {
    std::lock_guard<std::mutex> publishing(publishMutex());
    std::map<std::string, std::unique_ptr<Listener>> all;
    {
        Listeners& l = listeners();
        std::lock_guard<std::mutex> lock(l.mutex);
        all.swap(l.byInstance);
    }
    for (auto& entry : all) stopListener(std::move(entry.second));
}

// ---- Lookups ----

namespace {

// A usable connection to the process listening at path, or NULL when nobody does.
std::shared_ptr<Connection> connectToService(const std::string& path, bool reuse) {
    ndk::ScopedFileDescriptor socket(connectTo(path));
    if (socket.get() < 0) return nullptr;  // absent, or stale (no listener)
    ucred peer{};
    if (!peerCredentials(socket.get(), &peer)) return nullptr;
    if (peer.uid != getuid()) {
        logMessage(LOG_WARNING, "Refused the service at %s: it runs as uid %u", path.c_str(),
                   peer.uid);
        return nullptr;
    }
    if (peer.pid == getpid()) return nullptr;  // our own socket; the local registry answers
    if (reuse) {
        if (std::shared_ptr<Connection> existing = findConnection(peer.pid)) return existing;
    }
    std::shared_ptr<Connection> connection = Connection::start(std::move(socket), peer, true);
    rememberConnection(connection);
    return connection;
}

}  // namespace

AIBinder* lookupService(const std::string& instance) {
    std::string folder;
    std::string path;
    if (!serviceFolder(&folder) || !socketPath(folder, instance, &path)) return nullptr;
    // A reused connection may be closing down right now: then once more on a fresh one.
    for (int attempt = 0; attempt < 2; ++attempt) {
        std::shared_ptr<Connection> connection = connectToService(path, attempt == 0);
        if (connection == nullptr) return nullptr;
        AIBinder* binder = nullptr;
        binder_status_t status = connection->getService(instance, &binder);
        if (status == STATUS_OK) {
            connection->waitUntilComplete();
            return binder;
        }
        if (status != STATUS_DEAD_OBJECT) return nullptr;
    }
    return nullptr;
}

// ---- Loopback ----

namespace {

// Both sides of a loopback connection: the client's, which holds the proxies, and the server's,
// which stands for the service's process.
struct LoopbackPair {
    std::string instance;
    std::weak_ptr<Connection> client;
    std::weak_ptr<Connection> server;
};

// Every loopback connection not yet taken down, the newest of an instance last; one that closed
// for being idle stays listed until both its sides are gone, so that a reset can wait for it.
struct Loopbacks {
    std::mutex mutex;
    std::vector<LoopbackPair> pairs;
};

Loopbacks& loopbacks() {
    static Loopbacks* const instance = new Loopbacks();
    return *instance;
}

// How many calls the service side of a loopback connection serves at once: a service process
// with a pool of its own, whatever the size of this process's pool.
constexpr uint32_t kLoopbackServerThreads = 8;

std::vector<LoopbackPair> takeLoopbacks(const std::string* instance) {
    Loopbacks& l = loopbacks();
    std::lock_guard<std::mutex> lock(l.mutex);
    std::vector<LoopbackPair> taken;
    for (auto it = l.pairs.begin(); it != l.pairs.end();) {
        if (instance != nullptr && it->instance != *instance) {
            ++it;
            continue;
        }
        taken.push_back(std::move(*it));
        it = l.pairs.erase(it);
    }
    return taken;
}

void dropPairs(const std::vector<LoopbackPair>& pairs) {
    // The service side first, as when its process dies; then the client side, so that its
    // proxies are dead and both sides' sockets closed once this returns.
    for (const LoopbackPair& pair : pairs) {
        if (std::shared_ptr<Connection> server = pair.server.lock()) server->drop();
        if (std::shared_ptr<Connection> client = pair.client.lock()) client->drop();
    }
}

// The client side of instance's loopback connection, made if there is none in use: NULL when
// no socket pair can be had.
std::shared_ptr<Connection> loopbackClient(const std::string& instance) {
    Loopbacks& l = loopbacks();
    std::lock_guard<std::mutex> lock(l.mutex);
    for (auto it = l.pairs.begin(); it != l.pairs.end();) {
        if (it->client.expired() && it->server.expired()) {
            it = l.pairs.erase(it);
        } else {
            ++it;
        }
    }
    for (auto it = l.pairs.rbegin(); it != l.pairs.rend(); ++it) {
        if (it->instance != instance) continue;
        std::shared_ptr<Connection> client = it->client.lock();
        if (client != nullptr && client->usable()) return client;
        break;
    }
    int fds[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, fds) != 0) {
        logMessage(LOG_ERR, "Cannot open a loopback connection for '%s': %s", instance.c_str(),
                   strerror(errno));
        return nullptr;
    }
    const ucred self{getpid(), getuid(), getgid()};
    LoopbackPair pair;
    pair.instance = instance;
    pair.server =
        Connection::start(ndk::ScopedFileDescriptor(fds[1]), self, false, kLoopbackServerThreads);
    std::shared_ptr<Connection> client =
        Connection::start(ndk::ScopedFileDescriptor(fds[0]), self, true);
    pair.client = client;
    l.pairs.push_back(std::move(pair));
    return client;
}

}  // namespace

bool loopbackEnabled() {
    const char* value = getenv("BINDER_HOST_LOOPBACK");
    return value != nullptr && value[0] != '\0' && strcmp(value, "0") != 0;
}

AIBinder* loopbackService(const std::string& instance) {
    // A connection in use is reused; one closing down (idle) is replaced, once.
    for (int attempt = 0; attempt < 2; ++attempt) {
        std::shared_ptr<Connection> client = loopbackClient(instance);
        if (client == nullptr) return nullptr;
        AIBinder* binder = nullptr;
        binder_status_t status = client->getService(instance, &binder);
        if (status == STATUS_OK) {
            client->waitUntilComplete();
            return binder;
        }
        if (status != STATUS_DEAD_OBJECT) return nullptr;
    }
    return nullptr;
}

void loopbackServiceDied(const std::string& instance) {
    dropPairs(takeLoopbacks(&instance));
}

void closeLoopbacks() {
    dropPairs(takeLoopbacks(nullptr));
}

AIBinder* loopbackLocal(AIBinder* proxy) {
    if (proxy == nullptr || proxy->proxy == nullptr) return nullptr;
    std::shared_ptr<Connection> server;
    {
        Loopbacks& l = loopbacks();
        std::lock_guard<std::mutex> lock(l.mutex);
        for (const LoopbackPair& pair : l.pairs) {
            if (pair.client.lock() == proxy->proxy->connection) {
                server = pair.server.lock();
                break;
            }
        }
    }
    return server == nullptr ? nullptr : server->exportedBinder(proxy->proxy->handle);
}

}  // namespace binder_host::rpc

// ---- Host controls ----

namespace {

pid_t gPrivateFolderOwner = 0;
std::string* gPrivateFolder = nullptr;

// Removes the folder with the sockets left in it, ours and those of children that were killed.
void removePrivateFolder() {
    if (getpid() != gPrivateFolderOwner || gPrivateFolder == nullptr) return;
    binder_host::rpc::unpublishAll();
    if (DIR* dir = opendir(gPrivateFolder->c_str())) {
        while (dirent* entry = readdir(dir)) {
            struct stat st;
            if (fstatat(dirfd(dir), entry->d_name, &st, AT_SYMLINK_NOFOLLOW) == 0 &&
                S_ISSOCK(st.st_mode)) {
                unlinkat(dirfd(dir), entry->d_name, 0);
            }
        }
        closedir(dir);
    }
    rmdir(gPrivateFolder->c_str());
}

}  // namespace

void ABinderHost_closeConnections(uint32_t timeoutMs) {
    binder_host::rpc::closeConnections(timeoutMs);
}

AIBinder* ABinderHost_getLoopbackLocal(AIBinder* proxy) {
    return binder_host::rpc::loopbackLocal(proxy);
}

binder_status_t ABinderHost_usePrivateServiceDir() {
    const std::string base = binder_host::rpc::defaultFolder();
    if (!binder_host::rpc::checkPrivateFolder(base)) return STATUS_PERMISSION_DENIED;
    std::string pattern = base + "/private-XXXXXX";
    if (mkdtemp(&pattern[0]) == nullptr) return STATUS_UNKNOWN_ERROR;
    if (setenv("BINDER_HOST_DIR", pattern.c_str(), 1) != 0 ||
        setenv("BINDER_HOST_PRIVATE_DIR", pattern.c_str(), 1) != 0) {
        return STATUS_NO_MEMORY;
    }
    if (gPrivateFolder == nullptr) {
        gPrivateFolder = new std::string(pattern);
        gPrivateFolderOwner = getpid();
        atexit(removePrivateFolder);
    } else {
        *gPrivateFolder = pattern;
    }
    return STATUS_OK;
}
