// One connection to a peer process: its channels (sockets), the handle tables of the objects each
// side holds of the other, and death when the peer goes away.
#pragma once

#include <android/binder_auto_utils.h>
#include <android/binder_ibinder.h>
#include <sys/socket.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "../parcel_internal.h"
#include "wire.h"

namespace binder_host::rpc {

// Built-in code on the connection's root object: the service registered under a name.
constexpr transaction_code_t kGetServiceTransaction = 0x5f535643;  // "_SVC"

struct ParcelDeleter {
    void operator()(AParcel* parcel) const { AParcel_delete(parcel); }
};
using ParcelPtr = std::unique_ptr<AParcel, ParcelDeleter>;

// What has been read from a channel and not yet taken as messages. One read takes whatever
// the socket holds (often a whole message, sometimes more); descriptors arrive with the first
// byte of their message, so they are matched to messages in order.
struct ReceiveBuffer {
    std::vector<uint8_t> bytes;
    size_t begin = 0;                            // first byte not yet taken
    size_t end = 0;                              // one past the last byte read
    std::vector<ndk::ScopedFileDescriptor> fds;  // received and not yet taken, oldest first
    size_t fdBegin = 0;
};

// One socket of a connection. An outgoing channel carries this side's calls, one at a time: the
// calling thread sends and then reads until its reply. An incoming one has a thread of its own
// that reads the peer's calls and runs them. Nested calls go back on the channel of the call
// they serve, to the thread waiting on it. Either way one thread at a time reads a channel, so
// its receive buffer needs no lock.
struct Channel {
    explicit Channel(int fd, bool outgoing) : socket(fd), outgoing(outgoing) {}

    ndk::ScopedFileDescriptor socket;  // closed when the last user lets go
    std::mutex sendMutex;              // one message at a time
    const bool outgoing;
    std::chrono::steady_clock::time_point freedAt;  // outgoing: when its last call ended
    ReceiveBuffer received;
};

class Connection : public std::enable_shared_from_this<Connection> {
  public:
    // Takes over a connected socket whose peer passed the uid check and starts serving it.
    // connector: this side connected (it closes the connection once nothing uses it).
    // serverLimit (0: none): the side of a loopback connection that stands for a service
    // process: it serves that many call channels, whether or not this process's pool serves.
    static std::shared_ptr<Connection> start(ndk::ScopedFileDescriptor socket, const ucred& peer,
                                             bool connector, uint32_t serverLimit = 0);

    pid_t peerPid() const { return peer_.pid; }
    uid_t peerUid() const { return peer_.uid; }

    // Whether new calls may use this connection.
    bool usable();

    // Waits (briefly) until the peer's first call channel has arrived, so that a connection
    // handed out holds all the descriptors it keeps while in use.
    void waitUntilComplete();

    // Ends the connection in order: the peer closes its side first, then this side, so that
    // once this returns (or timeout passes) neither process holds its sockets.
    void closeAndWait(std::chrono::steady_clock::time_point deadline);

    // A call to the peer's object handle (0: the root). See rpc::transact.
    binder_status_t transact(uint64_t handle, transaction_code_t code, const AParcel* in,
                             AParcel** out, binder_flags_t flags);

    // The peer's service registered under instance: +1 proxy or NULL in *binder.
    binder_status_t getService(const std::string& instance, AIBinder** binder);

    void proxyDestroyed(AIBinder* proxy);

    // This side's object the peer knows by handle: +1, or NULL.
    AIBinder* exportedBinder(uint64_t handle);

    // Takes the connection down at once, as if the peer had gone away, and returns once every
    // proxy into the peer is dead and this side's sockets are closed (or one second passed).
    void drop();

    ~Connection();

  private:
    struct Incoming {
        WireHeader header{};
        ParcelPtr parcel;
        ndk::SpAIBinder target;  // transactions: the local object called (NULL: the root)
    };
    struct Export {
        AIBinder* binder = nullptr;  // one strong reference while the peer may hold proxies
        uint64_t sent = 0;           // references sent and not yet given back
        uint64_t usesSeen = 0;       // calls to it and homecomings received from the peer
        uint64_t usesAnnounced = 0;  // the same, as counted by the peer's releases
    };
    struct Outgoing {
        std::vector<WireObject> objects;
        std::vector<int> fds;  // borrowed from the parcel being sent
    };
    enum class Read { kMessage, kEnd, kBad };

    Connection(ndk::ScopedFileDescriptor socket, const ucred& peer, bool connector,
               uint32_t serverLimit);

    // Adds a call channel to the tables; an incoming one gets its serving thread.
    void addChannel(const std::shared_ptr<Channel>& channel);
    // Thread bodies: the control channel's reader, and an incoming call channel's server.
    void controlLoop();
    void serveChannel(const std::shared_ptr<Channel>& channel);
    // A free outgoing channel, a new one if the peer serves more, or NULL once unusable.
    std::shared_ptr<Channel> acquireChannel();
    std::shared_ptr<Channel> openChannel();
    // Closes outgoing channels beyond the first that no call used for a while. Returns how long
    // to wait before trying again (-1: nothing to trim).
    int trimChannels();
    void removeChannelLocked(const Channel* channel);
    void releaseChannel(std::shared_ptr<Channel> channel);

    // Reads messages from channel, handling control messages, until a call or a reply, the end
    // of the stream, or a bad message (error says why).
    Read readCallOrReply(Channel& channel, Incoming* incoming, std::string* error);
    Read readMessage(Channel& channel, Incoming* incoming,
                     std::vector<ndk::ScopedFileDescriptor>* fds, std::string* error);
    bool buildParcel(const DecodedBody& body, std::vector<ndk::ScopedFileDescriptor>* fds,
                     AParcel* parcel, std::string* error);
    bool control(const WireHeader& header, std::vector<ndk::ScopedFileDescriptor>* fds,
                 std::string* error);
    bool resolveTarget(Incoming* incoming, std::string* error);
    // Runs a call read from channel on this thread and answers it there.
    void serve(Channel& channel, Incoming incoming);
    bool serveBuiltin(Channel& channel, Incoming* incoming);
    void reply(Channel& channel, const Incoming& incoming, binder_status_t status,
               const AParcel* reply);
    binder_status_t encodeLocked(const AParcel* parcel, Outgoing* out);
    bool send(Channel& channel, const WireHeader& header, const Outgoing& body, const uint8_t* data,
              size_t dataSize);
    AIBinder* proxyForLocked(uint64_t handle);
    // Counts a use of an export the peer made; *release: its reference, when that was the last.
    void useExportLocked(std::map<uint64_t, Export>::iterator it, AIBinder** release);
    // Drops the connection: after a protocol error (logged), or when a channel ended.
    void fail(const std::string& error);
    void die();
    void closeIfIdle();
    void shutdownChannelsLocked();
    // Thread bookkeeping: a connection that goes down waits (briefly) for its threads to let
    // their sockets go, so that its descriptors are closed when death is announced or the last
    // proxy is gone.
    void threadEnded();
    void waitForThreadsLocked(std::unique_lock<std::mutex>& lock);
    void closeControl();

    const ucred peer_;
    const bool connector_;
    // How many incoming channels this side serves (its binder threads for this peer).
    const uint32_t incomingLimit_;
    // Incoming calls run without waiting for this process's pool (a loopback service side).
    const bool servesWithoutPool_;

    // The control channel: created with the connection, never replaced (its socket is shut
    // down, not closed, until the connection goes).
    const std::shared_ptr<Channel> control_;

    std::mutex mutex_;  // guards everything below
    std::condition_variable channelFreed_;
    std::condition_variable threadsEnded_;
    int threads_ = 0;           // incoming channel threads running
    int busyThreads_ = 0;       // those of them running a call
    bool controlDone_ = false;  // the control thread has closed the control socket
    bool dead_ = false;
    bool closing_ = false;
    uint64_t nextId_ = 1;
    int activeCalls_ = 0;
    int serving_ = 0;
    uint32_t peerLimit_ = 1;                              // how many call channels the peer serves
    uint32_t outgoingCount_ = 0;                          // outgoing call channels open
    uint32_t incomingCount_ = 0;                          // incoming call channels received
    std::vector<std::shared_ptr<Channel>> channels_;      // call channels, for shutdown
    std::vector<std::shared_ptr<Channel>> freeOutgoing_;  // outgoing channels no call holds
    std::map<uint64_t, AIBinder*> proxies_;  // peer handle -> our proxy (not a reference)
    std::map<uint64_t, Export> exports_;     // our object's id -> what the peer holds of it
    std::map<uint64_t, uint64_t> usesSent_;  // peer handle -> uses since its last release
};

}  // namespace binder_host::rpc
