// One connection to a peer process: sending and receiving messages with their descriptors,
// translating binder objects to handles and back, reply routing with nested calls, and death.
#include "connection.h"

#include <android/binder_parcel.h>
#include <errno.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <syslog.h>
#include <unistd.h>

#include <atomic>
#include <thread>

#include "../binder_internal.h"
#include "rpc.h"
#include "thread_state.h"

namespace binder_host::rpc {

namespace {

// Reads exactly size bytes, collecting the descriptors that arrive with them. Returns size, 0 at
// a clean end of stream before any byte, or -1 (errno kept) on an error or a cut message.
ssize_t receiveAll(int socket, uint8_t* buffer, size_t size,
                   std::vector<ndk::ScopedFileDescriptor>* fds, bool* truncated) {
    size_t got = 0;
    while (got < size) {
        iovec iov{buffer + got, size - got};
        alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int) * kMaxFds)];
        msghdr msg{};
        msg.msg_iov = &iov;
        msg.msg_iovlen = 1;
        msg.msg_control = control;
        msg.msg_controllen = sizeof(control);
        ssize_t n = recvmsg(socket, &msg, MSG_CMSG_CLOEXEC);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) return -1;
        for (cmsghdr* c = CMSG_FIRSTHDR(&msg); c != nullptr; c = CMSG_NXTHDR(&msg, c)) {
            if (c->cmsg_level != SOL_SOCKET || c->cmsg_type != SCM_RIGHTS) continue;
            size_t count = (c->cmsg_len - CMSG_LEN(0)) / sizeof(int);
            const auto* data = reinterpret_cast<const int*>(CMSG_DATA(c));
            for (size_t i = 0; i < count; ++i) {
                int fd;
                memcpy(&fd, data + i, sizeof(fd));
                fds->emplace_back(fd);
            }
        }
        if ((msg.msg_flags & MSG_CTRUNC) != 0) *truncated = true;
        if (n == 0) {
            if (got == 0) return 0;
            errno = EPROTO;
            return -1;
        }
        got += static_cast<size_t>(n);
    }
    return static_cast<ssize_t>(size);
}

}  // namespace

std::shared_ptr<Connection> Connection::start(ndk::ScopedFileDescriptor socket, const ucred& peer,
                                              bool connector) {
    std::shared_ptr<Connection> connection(new Connection(std::move(socket), peer, connector));
    std::thread([connection]() { connection->readLoop(); }).detach();
    return connection;
}

Connection::Connection(ndk::ScopedFileDescriptor socket, const ucred& peer, bool connector)
    : peer_(peer), connector_(connector), socket_(std::move(socket)) {}

Connection::~Connection() = default;

bool Connection::usable() {
    std::lock_guard<std::mutex> lock(mutex_);
    return !dead_ && !closing_;
}

// ---- Sending ----

binder_status_t Connection::encodeLocked(const AParcel* parcel, Outgoing* out) {
    if (parcel->data.size() > kMaxDataSize) {
        logMessage(LOG_ERR, "Transaction of %zu bytes exceeds the %zu-byte limit",
                   parcel->data.size(), kMaxDataSize);
        return STATUS_FAILED_TRANSACTION;
    }
    size_t fdCount = 0;
    for (const ParcelObject& object : parcel->objects) {
        if (object.fd.get() >= 0) ++fdCount;
        AIBinder* binder = object.binder.get();
        if (binder != nullptr && binder->proxy != nullptr &&
            binder->proxy->connection.get() != this) {
            logMessage(LOG_ERR, "Cannot pass a binder of another process (pid %d) to pid %d",
                       binder->proxy->connection->peerPid(), peer_.pid);
            return STATUS_BAD_VALUE;
        }
    }
    if (fdCount > kMaxFds) {
        logMessage(LOG_ERR, "Transaction carries %zu descriptors, more than the limit of %zu",
                   fdCount, kMaxFds);
        return STATUS_FAILED_TRANSACTION;
    }
    out->objects.reserve(parcel->objects.size());
    out->fds.reserve(fdCount);
    for (const ParcelObject& object : parcel->objects) {
        WireObject wire{};
        wire.offset = static_cast<uint32_t>(object.offset);
        AIBinder* binder = object.binder.get();
        if (object.fd.get() >= 0) {
            wire.kind = kWireFd;
            wire.handle = out->fds.size();
            out->fds.push_back(object.fd.get());
        } else if (binder != nullptr && binder->proxy != nullptr) {
            wire.kind = kWireReceiverBinder;
            wire.handle = binder->proxy->handle;
        } else if (binder != nullptr) {
            wire.kind = kWireSenderBinder;
            wire.handle = binder->identity->id;
            Export& entry = exports_[wire.handle];
            if (entry.binder == nullptr) {
                entry.binder = binder;
                AIBinder_incStrong(binder);
            }
            ++entry.sent;
        } else {
            continue;
        }
        out->objects.push_back(wire);
    }
    return STATUS_OK;
}

bool Connection::send(const WireHeader& header, const Outgoing& body, const AParcel* parcel) {
    iovec iov[3];
    size_t count = 0;
    iov[count++] = {const_cast<WireHeader*>(&header), sizeof(header)};
    if (!body.objects.empty()) {
        iov[count++] = {const_cast<WireObject*>(body.objects.data()),
                        body.objects.size() * sizeof(WireObject)};
    }
    if (parcel != nullptr && !parcel->data.empty()) {
        iov[count++] = {const_cast<uint8_t*>(parcel->data.data()), parcel->data.size()};
    }
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int) * kMaxFds)];
    std::lock_guard<std::mutex> lock(sendMutex_);
    if (socket_.get() < 0) return false;
    bool first = true;
    iovec* next = iov;
    while (count > 0) {
        msghdr msg{};
        msg.msg_iov = next;
        msg.msg_iovlen = count;
        if (first && !body.fds.empty()) {
            msg.msg_control = control;
            msg.msg_controllen = CMSG_SPACE(sizeof(int) * body.fds.size());
            cmsghdr* c = CMSG_FIRSTHDR(&msg);
            c->cmsg_level = SOL_SOCKET;
            c->cmsg_type = SCM_RIGHTS;
            c->cmsg_len = CMSG_LEN(sizeof(int) * body.fds.size());
            memcpy(CMSG_DATA(c), body.fds.data(), sizeof(int) * body.fds.size());
        }
        ssize_t n = sendmsg(socket_.get(), &msg, MSG_NOSIGNAL);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) {
            // The reader sees the end of the stream and declares the peer dead.
            ::shutdown(socket_.get(), SHUT_RDWR);
            return false;
        }
        first = false;
        auto left = static_cast<size_t>(n);
        while (count > 0 && left >= next->iov_len) {
            left -= next->iov_len;
            ++next;
            --count;
        }
        if (count > 0) {
            next->iov_base = static_cast<uint8_t*>(next->iov_base) + left;
            next->iov_len -= left;
        }
    }
    return true;
}

binder_status_t Connection::transact(uint64_t handle, transaction_code_t code, const AParcel* in,
                                     AParcel** out, binder_flags_t flags) {
    const bool oneway = (flags & FLAG_ONEWAY) != 0;
    const uint64_t token = threadToken();
    WireHeader header{};
    header.magic = kWireMagic;
    header.type = kMessageTransact;
    header.target = handle;
    header.routeToken = nestedRouteFor(this);
    header.senderToken = token;
    header.code = code;
    header.flags = flags;
    Outgoing body;
    Waiter* waiter = nullptr;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (dead_ || closing_) return STATUS_DEAD_OBJECT;
        binder_status_t status = encodeLocked(in, &body);
        if (status != STATUS_OK) return status;
        header.id = nextId_++;
        ++activeCalls_;
        if (!oneway) {
            std::unique_ptr<Waiter>& slot = waiters_[token];
            if (slot == nullptr) slot = std::make_unique<Waiter>();
            waiter = slot.get();
            ++waiter->depth;
        }
    }
    header.objectCount = static_cast<uint32_t>(body.objects.size());
    header.fdCount = static_cast<uint32_t>(body.fds.size());
    header.dataSize = static_cast<uint32_t>(in->data.size());
    bool sent = send(header, body, in);

    binder_status_t status = sent ? STATUS_OK : STATUS_DEAD_OBJECT;
    ParcelPtr reply;
    bool protocolError = false;
    {
        std::unique_lock<std::mutex> lock(mutex_);
        while (sent && !oneway) {
            waiter->wake.wait(lock, [&]() { return dead_ || !waiter->queue.empty(); });
            if (waiter->queue.empty()) {
                status = STATUS_DEAD_OBJECT;
                break;
            }
            Incoming incoming = std::move(waiter->queue.front());
            waiter->queue.pop_front();
            if (incoming.header.type == kMessageReply) {
                if (incoming.header.id != header.id) {
                    protocolError = true;
                    status = STATUS_DEAD_OBJECT;
                } else {
                    status = static_cast<binder_status_t>(incoming.header.code);
                    reply = std::move(incoming.parcel);
                }
                break;
            }
            if (dead_) continue;  // nobody is left to answer a nested call
            // A nested call from the thread serving ours: run it here, then wait on.
            lock.unlock();
            serve(std::move(incoming));
            lock.lock();
        }
        if (waiter != nullptr && --waiter->depth == 0) {
            waiters_.erase(token);
        }
        --activeCalls_;
    }
    if (protocolError) {
        logMessage(LOG_ERR, "Dropping connection to pid %d: reply out of order", peer_.pid);
        shutdownSocket();
    }
    closeIfIdle();
    if (status != STATUS_OK) return pruneStatus(status);
    if (reply == nullptr) reply.reset(newParcelFor(nullptr));
    reply->position = 0;
    *out = reply.release();
    return STATUS_OK;
}

binder_status_t Connection::getService(const std::string& instance, AIBinder** binder) {
    ParcelPtr in(AParcel_create());
    binder_status_t status =
        AParcel_writeString(in.get(), instance.c_str(), static_cast<int32_t>(instance.size()));
    if (status != STATUS_OK) return status;
    AParcel* out = nullptr;
    status = transact(0, kGetServiceTransaction, in.get(), &out, 0);
    if (status != STATUS_OK) return status;
    ParcelPtr reply(out);
    return AParcel_readStrongBinder(reply.get(), binder);
}

void Connection::reply(const Incoming& incoming, binder_status_t status, const AParcel* parcel) {
    WireHeader header{};
    header.magic = kWireMagic;
    header.type = kMessageReply;
    header.id = incoming.header.id;
    header.routeToken = incoming.header.senderToken;
    Outgoing body;
    if (status == STATUS_OK) {
        std::lock_guard<std::mutex> lock(mutex_);
        if (dead_) return;
        status = encodeLocked(parcel, &body);
    }
    if (status != STATUS_OK) {
        body = Outgoing();
        parcel = nullptr;
    }
    header.code = static_cast<uint32_t>(status);
    header.objectCount = static_cast<uint32_t>(body.objects.size());
    header.fdCount = static_cast<uint32_t>(body.fds.size());
    header.dataSize = parcel == nullptr ? 0 : static_cast<uint32_t>(parcel->data.size());
    send(header, body, parcel);
}

// ---- Receiving ----

void Connection::readLoop() {
    std::string error;
    for (;;) {
        Incoming incoming;
        if (!readMessage(&incoming, &error)) break;
        if (!dispatch(std::move(incoming), &error)) break;
    }
    if (!error.empty()) {
        logMessage(LOG_ERR, "Dropping connection to pid %d: %s", peer_.pid, error.c_str());
    }
    die();
}

bool Connection::readMessage(Incoming* incoming, std::string* error) {
    std::vector<ndk::ScopedFileDescriptor> fds;
    bool truncated = false;
    uint8_t headerBytes[sizeof(WireHeader)];
    ssize_t n = receiveAll(socket_.get(), headerBytes, sizeof(headerBytes), &fds, &truncated);
    if (n == 0) return false;  // the peer closed the connection
    if (n < 0) {
        // A reset or our own shutdown: the peer is gone either way.
        if (errno == EPROTO) *error = "message cut short";
        return false;
    }
    size_t bodySize = 0;
    if (!decodeHeader(headerBytes, sizeof(headerBytes), &incoming->header, &bodySize, error)) {
        return false;
    }
    std::vector<uint8_t> body(bodySize);
    if (bodySize > 0 && receiveAll(socket_.get(), body.data(), bodySize, &fds, &truncated) <= 0) {
        *error = "message cut short";
        return false;
    }
    if (truncated) {
        *error = "too many descriptors";
        return false;
    }
    DecodedBody decoded;
    if (!decodeBody(incoming->header, body.data(), body.size(), fds.size(), &decoded, error)) {
        return false;
    }
    if (incoming->header.type == kMessageDecRef) return true;
    incoming->parcel.reset(newParcelFor(nullptr));
    return buildParcel(incoming->header, decoded, &fds, incoming->parcel.get(), error);
}

AIBinder* Connection::proxyForLocked(uint64_t handle) {
    auto it = proxies_.find(handle);
    if (it != proxies_.end() && tryIncStrong(it->second)) {
        ++it->second->proxy->received;
        return it->second;
    }
    // None yet, or the last one is being destroyed (it gives its own references back).
    auto state = std::make_shared<ProxyState>();
    state->connection = shared_from_this();
    state->handle = handle;
    state->received = 1;
    AIBinder* proxy = newProxyBinder(std::move(state));
    proxies_[handle] = proxy;
    return proxy;
}

bool Connection::buildParcel(const WireHeader& header, const DecodedBody& body,
                             std::vector<ndk::ScopedFileDescriptor>* fds, AParcel* parcel,
                             std::string* error) {
    (void)header;
    parcel->data.assign(body.data, body.data + body.dataSize);
    parcel->objects.reserve(body.objects.size());
    std::lock_guard<std::mutex> lock(mutex_);
    for (const WireObject& wire : body.objects) {
        ParcelObject object;
        object.offset = wire.offset;
        int32_t kind = kObjectBinder;
        if (wire.kind == kWireFd) {
            kind = kObjectFd;
            object.fd = std::move((*fds)[wire.handle]);
        } else if (wire.kind == kWireSenderBinder) {
            object.binder.set(proxyForLocked(wire.handle));
        } else {
            auto it = exports_.find(wire.handle);
            if (it == exports_.end()) {
                *error = "unknown object handle";
                return false;
            }
            AIBinder_incStrong(it->second.binder);
            object.binder.set(it->second.binder);
        }
        // The record in the data says what the table says, whatever the peer wrote there.
        int32_t record[2] = {kind, static_cast<int32_t>(parcel->objects.size())};
        memcpy(parcel->data.data() + wire.offset, record, sizeof(record));
        parcel->objects.push_back(std::move(object));
    }
    return true;
}

bool Connection::dispatch(Incoming incoming, std::string* error) {
    const WireHeader& header = incoming.header;
    if (header.type == kMessageDecRef) {
        AIBinder* release = nullptr;
        {
            std::lock_guard<std::mutex> lock(mutex_);
            auto it = exports_.find(header.target);
            if (it == exports_.end() || header.code > it->second.sent) {
                *error = "release of a reference never sent";
                return false;
            }
            it->second.sent -= header.code;
            if (it->second.sent == 0) {
                release = it->second.binder;
                exports_.erase(it);
            }
        }
        if (release != nullptr) AIBinder_decStrong(release);
        closeIfIdle();
        return true;
    }
    if (header.type == kMessageReply) {
        std::lock_guard<std::mutex> lock(mutex_);
        auto it = waiters_.find(header.routeToken);
        if (it == waiters_.end()) {
            *error = "reply nobody waits for";
            return false;
        }
        it->second->queue.push_back(std::move(incoming));
        it->second->wake.notify_one();
        return true;
    }
    if (header.target != 0) {
        std::lock_guard<std::mutex> lock(mutex_);
        auto it = exports_.find(header.target);
        if (it == exports_.end()) {
            *error = "call to an unknown object";
            return false;
        }
        AIBinder_incStrong(it->second.binder);
        incoming.target.set(it->second.binder);
    }
    if (serveBuiltin(&incoming)) return true;
    const bool oneway = (header.flags & FLAG_ONEWAY) != 0;
    if (!oneway && header.routeToken != 0) {
        std::lock_guard<std::mutex> lock(mutex_);
        auto it = waiters_.find(header.routeToken);
        if (it != waiters_.end()) {
            it->second->queue.push_back(std::move(incoming));
            it->second->wake.notify_one();
            return true;
        }
    }
    {
        std::lock_guard<std::mutex> lock(mutex_);
        ++serving_;
    }
    auto self = shared_from_this();
    auto shared = std::make_shared<Incoming>(std::move(incoming));
    postToPool([self, shared]() {
        self->serve(std::move(*shared));
        {
            std::lock_guard<std::mutex> lock(self->mutex_);
            --self->serving_;
        }
        self->closeIfIdle();
    });
    return true;
}

// Codes the transport answers itself, on the reading thread: no user code runs for them.
bool Connection::serveBuiltin(Incoming* incoming) {
    const WireHeader& header = incoming->header;
    AIBinder* target = incoming->target.get();
    ParcelPtr out(newParcelFor(nullptr));
    binder_status_t status = STATUS_OK;
    if (target == nullptr) {
        if (header.code == kGetServiceTransaction) {
            std::string name;
            status = AParcel_readString(incoming->parcel.get(), &name,
                                        [](void* data, int32_t length, char** buffer) {
                                            if (length <= 0) return false;
                                            auto* s = static_cast<std::string*>(data);
                                            s->resize(static_cast<size_t>(length));
                                            *buffer = &(*s)[0];
                                            return true;
                                        });
            if (status == STATUS_OK) {
                if (!name.empty()) name.pop_back();  // the terminating NUL
                ndk::SpAIBinder service(findLocalService(name));
                status = AParcel_writeStrongBinder(out.get(), service.get());
            }
        } else {
            status = STATUS_UNKNOWN_TRANSACTION;
        }
    } else if (header.code == INTERFACE_TRANSACTION) {
        const std::string& descriptor = target->clazz->descriptor;
        status = AParcel_writeString(out.get(), descriptor.c_str(),
                                     static_cast<int32_t>(descriptor.size()));
    } else if (header.code == PING_TRANSACTION) {
        status = target->dead.load() ? STATUS_DEAD_OBJECT : STATUS_OK;
    } else {
        return false;
    }
    if ((header.flags & FLAG_ONEWAY) == 0) reply(*incoming, status, out.get());
    return true;
}

void Connection::serve(Incoming incoming) {
    const bool oneway = (incoming.header.flags & FLAG_ONEWAY) != 0;
    ParcelPtr out(newParcelFor(nullptr));
    binder_status_t status;
    {
        ServingScope scope(this, oneway ? 0 : incoming.header.senderToken, oneway ? 0 : peer_.pid,
                           peer_.uid);
        AIBinder* target = incoming.target.get();
        if (target->dead.load()) {
            status = STATUS_DEAD_OBJECT;
        } else if (incoming.header.code == DUMP_TRANSACTION) {
            status = serveDump(target, incoming.parcel.get());
        } else {
            status = transactLocal(target, incoming.header.code, incoming.parcel.get(), out.get());
        }
    }
    // The call's own references and descriptors go before the caller hears back.
    incoming.parcel.reset();
    incoming.target.set(nullptr);
    if (!oneway) reply(incoming, status, out.get());
}

// ---- Lifetime ----

void Connection::proxyDestroyed(AIBinder* proxy) {
    WireHeader header{};
    header.magic = kWireMagic;
    header.type = kMessageDecRef;
    header.target = proxy->proxy->handle;
    uint64_t count = 0;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        auto it = proxies_.find(header.target);
        if (it != proxies_.end() && it->second == proxy) proxies_.erase(it);
        count = proxy->proxy->received;
        if (dead_) count = 0;
    }
    while (count > 0) {
        header.code = count > UINT32_MAX ? UINT32_MAX : static_cast<uint32_t>(count);
        count -= header.code;
        if (!send(header, Outgoing(), nullptr)) break;
    }
    closeIfIdle();
}

void Connection::shutdownSocket() {
    std::lock_guard<std::mutex> lock(sendMutex_);
    if (socket_.get() >= 0) ::shutdown(socket_.get(), SHUT_RDWR);
}

void Connection::closeIfIdle() {
    if (!connector_) return;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (dead_ || closing_ || !proxies_.empty() || !exports_.empty() || activeCalls_ > 0 ||
            serving_ > 0 || !waiters_.empty()) {
            return;
        }
        closing_ = true;
    }
    forgetConnection(this);
    shutdownSocket();
}

void Connection::die() {
    std::vector<AIBinder*> proxies;
    std::vector<AIBinder*> exported;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        dead_ = true;
        for (auto& entry : proxies_) {
            if (tryIncStrong(entry.second)) proxies.push_back(entry.second);
        }
        proxies_.clear();
        for (auto& entry : exports_) exported.push_back(entry.second.binder);
        exports_.clear();
        for (auto& entry : waiters_) entry.second->wake.notify_all();
    }
    forgetConnection(this);
    {
        std::lock_guard<std::mutex> lock(sendMutex_);
        socket_.set(-1);
    }
    for (AIBinder* proxy : proxies) {
        markDead(proxy);
        AIBinder_decStrong(proxy);
    }
    for (AIBinder* binder : exported) AIBinder_decStrong(binder);
}

}  // namespace binder_host::rpc
