// One connection to a peer process: its channels, sending and receiving messages with their
// descriptors, translating binder objects to handles and back, calls that read their own replies
// and run the nested calls made on their behalf, incoming calls run by the thread that read
// them, and death.
#include "connection.h"

#include <android/binder_parcel.h>
#include <errno.h>
#include <poll.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "../binder_internal.h"
#include "rpc.h"
#include "thread_state.h"

namespace binder_host::rpc {

namespace {

// The connection whose incoming channel thread this is, if any.
thread_local const void* tChannelThread = nullptr;
// The connection whose control thread this is, if any.
thread_local const void* tControlThread = nullptr;

// How long an extra outgoing channel stays open with no call on it. The first one stays.
constexpr std::chrono::milliseconds kIdleChannelLife{200};

#if defined(__SANITIZE_THREAD__)
#define BINDER_HOST_TSAN 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define BINDER_HOST_TSAN 1
#endif
#endif

#ifdef BINDER_HOST_TSAN
extern "C" void __tsan_acquire(void* addr);
extern "C" void __tsan_release(void* addr);
// A message is a happens-before edge from its sender to its receiver. The thread sanitizer
// cannot see it when both ends are in this process (loopback) and the receiving end came
// through SCM_RIGHTS, so every send releases and every receive acquires one shared object.
char gWireOrder;
void wireSent() {
    __tsan_release(&gWireOrder);
}
void wireReceived() {
    __tsan_acquire(&gWireOrder);
}
#else
void wireSent() {}
void wireReceived() {}
#endif

// A channel's buffer starts at this size and goes back to it after a larger message.
constexpr size_t kReceiveBufferBytes = 16 * 1024;

// One read of whatever the socket holds into the free end of buffer, with the descriptors that
// came with it. Returns the bytes read, 0 at the end of the stream, -1 (errno kept) on an error.
ssize_t receiveSome(int socket, ReceiveBuffer* buffer, bool* truncated) {
    for (;;) {
        iovec iov{buffer->bytes.data() + buffer->end, buffer->bytes.size() - buffer->end};
        alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int) * kMaxFds)];
        msghdr msg{};
        msg.msg_iov = &iov;
        msg.msg_iovlen = 1;
        msg.msg_control = control;
        msg.msg_controllen = sizeof(control);
        ssize_t n = recvmsg(socket, &msg, MSG_CMSG_CLOEXEC);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) return -1;
        wireReceived();
        for (cmsghdr* c = CMSG_FIRSTHDR(&msg); c != nullptr; c = CMSG_NXTHDR(&msg, c)) {
            if (c->cmsg_level != SOL_SOCKET || c->cmsg_type != SCM_RIGHTS) continue;
            size_t count = (c->cmsg_len - CMSG_LEN(0)) / sizeof(int);
            const auto* data = reinterpret_cast<const int*>(CMSG_DATA(c));
            for (size_t i = 0; i < count; ++i) {
                int fd;
                memcpy(&fd, data + i, sizeof(fd));
                buffer->fds.emplace_back(fd);
            }
        }
        if ((msg.msg_flags & MSG_CTRUNC) != 0) *truncated = true;
        buffer->end += static_cast<size_t>(n);
        return n;
    }
}

// Waits until socket has something to read (or has ended). A thread asleep in recvmsg is also
// woken each time the peer takes data this side sent (the socket's room to write grows), which
// on a server that answers and then waits for the next call is a wake-up for nothing, and two
// context switches, on every call; poll waits for input only.
void waitReadable(int socket) {
    pollfd ready{socket, POLLIN, 0};
    while (poll(&ready, 1, -1) < 0 && errno == EINTR) {
    }
}

// Makes room for a message of total bytes from begin on: moves the unread bytes to the front,
// and grows the buffer if the message is larger than it.
void makeRoom(ReceiveBuffer* buffer, size_t total) {
    if (buffer->begin > 0) {
        const size_t unread = buffer->end - buffer->begin;
        memmove(buffer->bytes.data(), buffer->bytes.data() + buffer->begin, unread);
        buffer->begin = 0;
        buffer->end = unread;
    }
    if (buffer->bytes.size() < total) buffer->bytes.resize(total);
}

}  // namespace

std::shared_ptr<Connection> Connection::start(ndk::ScopedFileDescriptor socket, const ucred& peer,
                                              bool connector, uint32_t serverLimit) {
    std::shared_ptr<Connection> connection(
        new Connection(std::move(socket), peer, connector, serverLimit));
    // The peer learns how many call channels we serve before anything else.
    WireHeader limit{};
    limit.magic = kWireMagic;
    limit.type = kMessageLimit;
    limit.code = connection->incomingLimit_;
    connection->send(*connection->control_, limit, Outgoing(), nullptr, 0);
    // One call channel each way from the start: a connection in use keeps a steady count of
    // descriptors, and the first call pays no set-up.
    if (std::shared_ptr<Channel> first = connection->openChannel()) {
        connection->releaseChannel(std::move(first));
    }
    std::thread([connection]() {
        tControlThread = connection.get();
        connection->controlLoop();
    }).detach();
    return connection;
}

Connection::Connection(ndk::ScopedFileDescriptor socket, const ucred& peer, bool connector,
                       uint32_t serverLimit)
    : peer_(peer),
      connector_(connector),
      incomingLimit_(serverLimit != 0 ? serverLimit : poolThreadLimit()),
      servesWithoutPool_(serverLimit != 0),
      control_(std::make_shared<Channel>(socket.release(), false)) {}

Connection::~Connection() = default;

bool Connection::usable() {
    std::lock_guard<std::mutex> lock(mutex_);
    return !dead_ && !closing_;
}

void Connection::waitUntilComplete() {
    std::unique_lock<std::mutex> lock(mutex_);
    channelFreed_.wait_for(lock, std::chrono::seconds(1),
                           [&]() { return dead_ || incomingCount_ > 0; });
}

// ---- Channels ----

void Connection::addChannel(const std::shared_ptr<Channel>& channel) {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        channels_.push_back(channel);
        if (channel->outgoing) {
            ++outgoingCount_;
        } else {
            ++incomingCount_;
        }
        // Added while the connection goes down: its reader must not wait for the peer.
        if (dead_) ::shutdown(channel->socket.get(), SHUT_RDWR);
        if (!channel->outgoing) ++threads_;
    }
    if (!channel->outgoing) channelFreed_.notify_all();
    if (!channel->outgoing) {
        auto self = shared_from_this();
        std::thread([self, owned = channel]() mutable {
            tChannelThread = self.get();
            self->serveChannel(owned);
            owned.reset();
            self->threadEnded();
        }).detach();
    }
}

std::shared_ptr<Channel> Connection::acquireChannel() {
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
        if (dead_ || closing_) return nullptr;
        if (!freeOutgoing_.empty()) {
            std::shared_ptr<Channel> channel = std::move(freeOutgoing_.back());
            freeOutgoing_.pop_back();
            return channel;
        }
        if (outgoingCount_ < peerLimit_) break;
        // Every channel the peer serves carries a call: wait for one to come back.
        channelFreed_.wait(lock);
    }
    lock.unlock();
    return openChannel();
}

std::shared_ptr<Channel> Connection::openChannel() {
    int pair[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) != 0) {
        logMessage(LOG_ERR, "Cannot open a channel to pid %d: %s", peer_.pid, strerror(errno));
        return nullptr;
    }
    auto channel = std::make_shared<Channel>(pair[0], true);
    ndk::ScopedFileDescriptor farEnd(pair[1]);
    addChannel(channel);
    WireHeader header{};
    header.magic = kWireMagic;
    header.type = kMessageChannel;
    header.objectCount = 1;
    header.fdCount = 1;
    header.dataSize = kObjectRecordBytes;
    Outgoing body;
    body.objects.push_back({0, kWireFd, 0});
    body.fds.push_back(farEnd.get());
    const uint8_t record[kObjectRecordBytes] = {};
    if (!send(*control_, header, body, record, sizeof(record))) return nullptr;
    return channel;
}

void Connection::releaseChannel(std::shared_ptr<Channel> channel) {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (dead_) return;
        channel->freedAt = std::chrono::steady_clock::now();
        freeOutgoing_.push_back(std::move(channel));
    }
    channelFreed_.notify_one();
}

int Connection::trimChannels() {
    std::vector<std::shared_ptr<Channel>> closing;
    int waitMs = -1;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        const auto now = std::chrono::steady_clock::now();
        // The oldest free channels go first; the most recently used ones stay warm.
        for (auto it = freeOutgoing_.begin(); it != freeOutgoing_.end() && outgoingCount_ > 1;) {
            const auto idle = now - (*it)->freedAt;
            if (idle < kIdleChannelLife) {
                const auto left =
                    std::chrono::duration_cast<std::chrono::milliseconds>(kIdleChannelLife - idle);
                waitMs = static_cast<int>(left.count()) + 1;
                break;
            }
            // Its reader in the peer sees the end and lets the channel go.
            ::shutdown((*it)->socket.get(), SHUT_RDWR);
            removeChannelLocked(it->get());
            --outgoingCount_;
            closing.push_back(std::move(*it));
            it = freeOutgoing_.erase(it);
        }
        if (waitMs < 0 && outgoingCount_ > 1) waitMs = static_cast<int>(kIdleChannelLife.count());
    }
    return waitMs;
}

void Connection::removeChannelLocked(const Channel* channel) {
    for (auto it = channels_.begin(); it != channels_.end(); ++it) {
        if (it->get() == channel) {
            channels_.erase(it);
            return;
        }
    }
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
            ++usesSent_[wire.handle];
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

bool Connection::send(Channel& channel, const WireHeader& header, const Outgoing& body,
                      const uint8_t* data, size_t dataSize) {
    iovec iov[3];
    size_t count = 0;
    iov[count++] = {const_cast<WireHeader*>(&header), sizeof(header)};
    if (!body.objects.empty()) {
        iov[count++] = {const_cast<WireObject*>(body.objects.data()),
                        body.objects.size() * sizeof(WireObject)};
    }
    if (dataSize > 0) iov[count++] = {const_cast<uint8_t*>(data), dataSize};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int) * kMaxFds)];
    std::lock_guard<std::mutex> lock(channel.sendMutex);
    if (channel.socket.get() < 0) return false;
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
        wireSent();
        ssize_t n = sendmsg(channel.socket.get(), &msg, MSG_NOSIGNAL);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) {
            // The readers of this process see the end of the stream and declare the peer dead.
            ::shutdown(channel.socket.get(), SHUT_RDWR);
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
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (dead_ || closing_) return STATUS_DEAD_OBJECT;
        ++activeCalls_;
    }
    // A call made while serving one of the peer's goes back to the thread waiting for it; any
    // other takes a channel of its own (a oneway call has nobody waiting to run it).
    Channel* channel = oneway ? nullptr : nestedChannelFor(this);
    std::shared_ptr<Channel> held;
    if (channel == nullptr) {
        held = acquireChannel();
        channel = held.get();
    }
    WireHeader header{};
    header.magic = kWireMagic;
    header.type = kMessageTransact;
    header.target = handle;
    header.code = code;
    header.flags = flags;
    Outgoing body;
    binder_status_t status = STATUS_DEAD_OBJECT;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (channel != nullptr && !dead_ && !closing_) status = encodeLocked(in, &body);
        if (status == STATUS_OK && handle != 0) ++usesSent_[handle];
        header.id = nextId_++;
    }
    if (status != STATUS_OK) {
        if (held != nullptr) releaseChannel(std::move(held));
        {
            std::lock_guard<std::mutex> lock(mutex_);
            --activeCalls_;
        }
        closeIfIdle();
        return status;
    }
    header.objectCount = static_cast<uint32_t>(body.objects.size());
    header.fdCount = static_cast<uint32_t>(body.fds.size());
    header.dataSize = static_cast<uint32_t>(in->data.size());
    const bool sent = send(*channel, header, body, in->data.data(), in->data.size());

    status = sent ? STATUS_OK : STATUS_DEAD_OBJECT;
    ParcelPtr reply;
    while (sent && !oneway) {
        Incoming incoming;
        std::string error;
        Read read = readCallOrReply(*channel, &incoming, &error);
        if (read != Read::kMessage) {
            fail(error);
            status = STATUS_DEAD_OBJECT;
            break;
        }
        if (incoming.header.type == kMessageTransact) {
            // A nested call from the thread serving ours: run it here, then wait on.
            serve(*channel, std::move(incoming));
            continue;
        }
        if (incoming.header.id != header.id) {
            fail("reply out of order");
            status = STATUS_DEAD_OBJECT;
            break;
        }
        status = static_cast<binder_status_t>(incoming.header.code);
        reply = std::move(incoming.parcel);
        break;
    }
    if (!sent) die();
    if (held != nullptr) releaseChannel(std::move(held));
    {
        std::lock_guard<std::mutex> lock(mutex_);
        --activeCalls_;
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

void Connection::reply(Channel& channel, const Incoming& incoming, binder_status_t status,
                       const AParcel* parcel) {
    WireHeader header{};
    header.magic = kWireMagic;
    header.type = kMessageReply;
    header.id = incoming.header.id;
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
    send(channel, header, body, parcel == nullptr ? nullptr : parcel->data.data(), header.dataSize);
}

// ---- Receiving ----

void Connection::controlLoop() {
    std::string error;
    for (;;) {
        // Between control messages, extra call channels that fell idle are closed.
        pollfd ready{control_->socket.get(), POLLIN, 0};
        const int waitMs = trimChannels();
        if (waitMs >= 0) {
            const int polled = poll(&ready, 1, waitMs);
            if (polled == 0 || (polled < 0 && errno == EINTR)) continue;
        }
        Incoming incoming;
        std::vector<ndk::ScopedFileDescriptor> fds;
        if (readMessage(*control_, &incoming, &fds, &error) != Read::kMessage) break;
        const uint32_t type = incoming.header.type;
        if (type == kMessageTransact || type == kMessageReply) {
            error = "call or reply on the control channel";
            break;
        }
        if (!control(incoming.header, &fds, &error)) break;
        if (control_->socket.get() < 0) break;  // closed here, the connection being idle
    }
    fail(error);
    closeControl();
    std::lock_guard<std::mutex> lock(mutex_);
    controlDone_ = true;
    threadsEnded_.notify_all();
}

void Connection::closeControl() {
    // Only the control thread reads the control socket, so only it closes it.
    std::lock_guard<std::mutex> lock(control_->sendMutex);
    control_->socket.set(-1);
}

void Connection::closeAndWait(std::chrono::steady_clock::time_point deadline) {
    {
        std::lock_guard<std::mutex> lock(control_->sendMutex);
        if (control_->socket.get() >= 0) ::shutdown(control_->socket.get(), SHUT_WR);
    }
    std::unique_lock<std::mutex> lock(mutex_);
    threadsEnded_.wait_until(lock, deadline, [&]() { return controlDone_; });
}

void Connection::threadEnded() {
    std::lock_guard<std::mutex> lock(mutex_);
    --threads_;
    threadsEnded_.notify_all();
}

void Connection::waitForThreadsLocked(std::unique_lock<std::mutex>& lock) {
    // Threads reading a socket end at once; one running a call keeps its socket until the call
    // returns, however long user code takes.
    const int own = tChannelThread == this ? 1 : 0;
    threadsEnded_.wait_for(lock, std::chrono::seconds(1),
                           [&]() { return threads_ - busyThreads_ <= own; });
}

void Connection::serveChannel(const std::shared_ptr<Channel>& channel) {
    becomePoolThread();
    std::string error;
    for (;;) {
        Incoming incoming;
        if (readCallOrReply(*channel, &incoming, &error) != Read::kMessage) break;
        if (incoming.header.type == kMessageReply) {
            error = "reply nobody waits for";
            break;
        }
        // Calls run on binder threads: none before this process starts or joins its pool.
        while (!servesWithoutPool_ && !poolServing() && usable()) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        {
            std::lock_guard<std::mutex> lock(mutex_);
            ++busyThreads_;
        }
        serve(*channel, std::move(incoming));
        {
            std::lock_guard<std::mutex> lock(mutex_);
            --busyThreads_;
        }
        threadsEnded_.notify_all();
    }
    if (!error.empty()) {
        fail(error);
        return;
    }
    // The peer closed this channel (the connection's end shows on the control channel).
    std::lock_guard<std::mutex> lock(mutex_);
    if (dead_) return;
    removeChannelLocked(channel.get());
    --incomingCount_;
}

Connection::Read Connection::readCallOrReply(Channel& channel, Incoming* incoming,
                                             std::string* error) {
    for (;;) {
        std::vector<ndk::ScopedFileDescriptor> fds;
        Read read = readMessage(channel, incoming, &fds, error);
        if (read != Read::kMessage) return read;
        const uint32_t type = incoming->header.type;
        if (type == kMessageReply) return Read::kMessage;
        if (type == kMessageTransact) {
            return resolveTarget(incoming, error) ? Read::kMessage : Read::kBad;
        }
        if (!control(incoming->header, &fds, error)) return Read::kBad;
        *incoming = Incoming();
    }
}

Connection::Read Connection::readMessage(Channel& channel, Incoming* incoming,
                                         std::vector<ndk::ScopedFileDescriptor>* fds,
                                         std::string* error) {
    ReceiveBuffer& buffer = channel.received;
    if (buffer.bytes.empty()) buffer.bytes.resize(kReceiveBufferBytes);
    bool truncated = false;
    size_t total = 0;  // of the message at begin, once its header is in
    for (;;) {
        const size_t unread = buffer.end - buffer.begin;
        if (total == 0 && unread >= sizeof(WireHeader)) {
            size_t bodySize = 0;
            if (!decodeHeader(buffer.bytes.data() + buffer.begin, sizeof(WireHeader),
                              &incoming->header, &bodySize, error)) {
                return Read::kBad;
            }
            total = sizeof(WireHeader) + bodySize;
        }
        if (total != 0 && unread >= total) break;
        const size_t needed = total != 0 ? total : sizeof(WireHeader);
        if (buffer.bytes.size() - buffer.begin < needed) makeRoom(&buffer, needed);
        waitReadable(channel.socket.get());
        const ssize_t n = receiveSome(channel.socket.get(), &buffer, &truncated);
        if (truncated) {
            *error = "too many descriptors";
            return Read::kBad;
        }
        if (n > 0) continue;
        if (n == 0 && buffer.end == buffer.begin) return Read::kEnd;  // the peer closed it
        if (n == 0) {
            *error = "message cut short";
            return Read::kBad;
        }
        return Read::kEnd;  // a reset or our own shutdown: the peer is gone either way
    }
    // The message's descriptors came with its first byte, so they are all here by now.
    const WireHeader& header = incoming->header;
    const uint8_t* body = buffer.bytes.data() + buffer.begin + sizeof(WireHeader);
    const size_t bodySize = total - sizeof(WireHeader);
    buffer.begin += total;
    if (buffer.fds.size() - buffer.fdBegin < header.fdCount) {
        *error = "descriptor count mismatch";
        return Read::kBad;
    }
    for (uint32_t i = 0; i < header.fdCount; ++i) {
        fds->push_back(std::move(buffer.fds[buffer.fdBegin++]));
    }
    if (buffer.begin == buffer.end) {
        // Everything read is taken: a descriptor left over came with no message.
        if (buffer.fdBegin != buffer.fds.size()) {
            *error = "descriptors without a message";
            return Read::kBad;
        }
        buffer.fds.clear();
        buffer.fdBegin = 0;
    } else if (buffer.fdBegin == buffer.fds.size()) {
        buffer.fds.clear();
        buffer.fdBegin = 0;
    }
    DecodedBody decoded;
    if (!decodeBody(header, body, bodySize, fds->size(), &decoded, error)) return Read::kBad;
    const uint32_t type = header.type;
    bool built = true;
    if (type == kMessageTransact || type == kMessageReply) {
        incoming->parcel.reset(newParcelFor(nullptr));
        incoming->parcel->received = true;
        built = buildParcel(decoded, fds, incoming->parcel.get(), error);
    }
    if (buffer.begin == buffer.end) {
        buffer.begin = buffer.end = 0;
        // A large message's room is given back once it has been taken.
        if (buffer.bytes.size() > kReceiveBufferBytes) {
            buffer.bytes.resize(kReceiveBufferBytes);
            buffer.bytes.shrink_to_fit();
        }
    }
    return built ? Read::kMessage : Read::kBad;
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

bool Connection::buildParcel(const DecodedBody& body, std::vector<ndk::ScopedFileDescriptor>* fds,
                             AParcel* parcel, std::string* error) {
    parcel->data.assign(body.data, body.data + body.dataSize);
    parcel->objects.reserve(body.objects.size());
    std::vector<AIBinder*> releases;
    std::unique_lock<std::mutex> lock(mutex_);
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
            AIBinder* release = nullptr;
            useExportLocked(it, &release);
            if (release != nullptr) releases.push_back(release);
        }
        // The record in the data says what the table says, whatever the peer wrote there.
        int32_t record[2] = {kind, static_cast<int32_t>(parcel->objects.size())};
        memcpy(parcel->data.data() + wire.offset, record, sizeof(record));
        parcel->objects.push_back(std::move(object));
    }
    lock.unlock();
    for (AIBinder* binder : releases) AIBinder_decStrong(binder);
    return true;
}

void Connection::useExportLocked(std::map<uint64_t, Export>::iterator it, AIBinder** release) {
    Export& entry = it->second;
    ++entry.usesSeen;
    if (entry.sent == 0 && entry.usesSeen >= entry.usesAnnounced) {
        *release = entry.binder;
        exports_.erase(it);
    }
}

bool Connection::control(const WireHeader& header, std::vector<ndk::ScopedFileDescriptor>* fds,
                         std::string* error) {
    if (header.type == kMessageLimit) {
        std::lock_guard<std::mutex> lock(mutex_);
        peerLimit_ = header.code;
        channelFreed_.notify_all();
        return true;
    }
    if (header.type == kMessageChannel) {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            if (incomingCount_ >= incomingLimit_) {
                *error = "more channels than this side serves";
                return false;
            }
        }
        addChannel(std::make_shared<Channel>((*fds)[0].release(), false));
        return true;
    }
    // A reference release.
    AIBinder* release = nullptr;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        auto it = exports_.find(header.target);
        if (it == exports_.end() || header.code > it->second.sent) {
            *error = "release of a reference never sent";
            return false;
        }
        Export& entry = it->second;
        entry.sent -= header.code;
        entry.usesAnnounced += header.id;
        // Uses the peer made before this release may still be on their way on a call channel.
        if (entry.sent == 0 && entry.usesSeen >= entry.usesAnnounced) {
            release = entry.binder;
            exports_.erase(it);
        }
    }
    if (release != nullptr) AIBinder_decStrong(release);
    closeIfIdle();
    return true;
}

bool Connection::resolveTarget(Incoming* incoming, std::string* error) {
    if (incoming->header.target == 0) return true;
    AIBinder* release = nullptr;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        auto it = exports_.find(incoming->header.target);
        if (it == exports_.end()) {
            *error = "call to an unknown object";
            return false;
        }
        AIBinder_incStrong(it->second.binder);
        incoming->target.set(it->second.binder);
        useExportLocked(it, &release);
    }
    if (release != nullptr) AIBinder_decStrong(release);
    return true;
}

// Codes the transport answers itself: no user code runs for them.
bool Connection::serveBuiltin(Channel& channel, Incoming* incoming) {
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
    if ((header.flags & FLAG_ONEWAY) == 0) reply(channel, *incoming, status, out.get());
    return true;
}

void Connection::serve(Channel& channel, Incoming incoming) {
    if (serveBuiltin(channel, &incoming)) return;
    const bool oneway = (incoming.header.flags & FLAG_ONEWAY) != 0;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        ++serving_;
    }
    beginPoolWork();
    ParcelPtr out(newParcelFor(nullptr));
    binder_status_t status;
    {
        ServingScope scope(this, oneway ? nullptr : &channel, oneway ? 0 : peer_.pid, peer_.uid);
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
    if (!oneway) reply(channel, incoming, status, out.get());
    endPoolWork();
    {
        std::lock_guard<std::mutex> lock(mutex_);
        --serving_;
    }
    closeIfIdle();
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
        auto uses = usesSent_.find(header.target);
        if (uses != usesSent_.end()) {
            header.id = uses->second;
            usesSent_.erase(uses);
        }
    }
    while (count > 0) {
        header.code = count > UINT32_MAX ? UINT32_MAX : static_cast<uint32_t>(count);
        count -= header.code;
        if (!send(*control_, header, Outgoing(), nullptr, 0)) break;
        header.id = 0;
    }
    closeIfIdle();
}

AIBinder* Connection::exportedBinder(uint64_t handle) {
    std::lock_guard<std::mutex> lock(mutex_);
    auto it = exports_.find(handle);
    if (it == exports_.end()) return nullptr;
    AIBinder_incStrong(it->second.binder);
    return it->second.binder;
}

void Connection::drop() {
    die();
    // Another thread may be the one taking it down: wait for the control thread and every
    // channel thread (but this one) to have let their sockets go.
    const int own = tChannelThread == this ? 1 : 0;
    std::unique_lock<std::mutex> lock(mutex_);
    threadsEnded_.wait_for(lock, std::chrono::seconds(1),
                           [&]() { return controlDone_ && threads_ <= own; });
}

void Connection::shutdownChannelsLocked() {
    for (const std::shared_ptr<Channel>& channel : channels_) {
        ::shutdown(channel->socket.get(), SHUT_RDWR);
    }
}

void Connection::closeIfIdle() {
    if (!connector_) return;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (dead_ || closing_ || !proxies_.empty() || !exports_.empty() || activeCalls_ > 0 ||
            serving_ > 0) {
            return;
        }
        closing_ = true;
        channelFreed_.notify_all();
    }
    forgetConnection(this);
    if (tControlThread == this) {
        // Call channels first, the control socket last: once the peer sees the end, nothing of
        // this connection is open here.
        die();
        return;
    }
    {
        // The control thread sees the end and takes the connection down in the same order.
        std::lock_guard<std::mutex> control(control_->sendMutex);
        if (control_->socket.get() >= 0) ::shutdown(control_->socket.get(), SHUT_RDWR);
    }
    std::unique_lock<std::mutex> lock(mutex_);
    threadsEnded_.wait_for(lock, std::chrono::seconds(1), [&]() { return controlDone_; });
}

void Connection::fail(const std::string& error) {
    bool first;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        first = !dead_;
    }
    if (first && !error.empty()) {
        logMessage(LOG_ERR, "Dropping connection to pid %d: %s", peer_.pid, error.c_str());
    }
    die();
}

void Connection::die() {
    std::vector<AIBinder*> proxies;
    std::vector<AIBinder*> exported;
    std::vector<std::shared_ptr<Channel>> channels;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (dead_) return;
        dead_ = true;
        for (auto& entry : proxies_) {
            if (tryIncStrong(entry.second)) proxies.push_back(entry.second);
        }
        proxies_.clear();
        for (auto& entry : exports_) exported.push_back(entry.second.binder);
        exports_.clear();
        // Every thread reading a channel of this connection sees its end now; each socket is
        // closed when the last thread using it lets go.
        shutdownChannelsLocked();
        channels.swap(channels_);
        freeOutgoing_.clear();
        channelFreed_.notify_all();
    }
    forgetConnection(this);
    channels.clear();
    {
        std::unique_lock<std::mutex> lock(mutex_);
        waitForThreadsLocked(lock);
    }
    // The control socket goes last: the peer sees this side end once the call channels have.
    if (tControlThread == this) {
        closeControl();
    } else {
        std::lock_guard<std::mutex> lock(control_->sendMutex);
        if (control_->socket.get() >= 0) ::shutdown(control_->socket.get(), SHUT_RDWR);
    }
    for (AIBinder* proxy : proxies) {
        markDead(proxy);
        AIBinder_decStrong(proxy);
    }
    for (AIBinder* binder : exported) AIBinder_decStrong(binder);
}

}  // namespace binder_host::rpc
