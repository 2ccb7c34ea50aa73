// One connection to a peer process: its socket, the handle tables of the objects each side
// holds of the other, the threads waiting for replies, and death when the socket closes.
#pragma once

#include <android/binder_auto_utils.h>
#include <android/binder_ibinder.h>
#include <sys/socket.h>

#include <condition_variable>
#include <cstdint>
#include <deque>
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

class Connection : public std::enable_shared_from_this<Connection> {
  public:
    // Takes over a connected socket whose peer passed the uid check and starts reading it.
    // connector: this side connected (it closes the connection once nothing uses it).
    static std::shared_ptr<Connection> start(ndk::ScopedFileDescriptor socket, const ucred& peer,
                                             bool connector);

    pid_t peerPid() const { return peer_.pid; }
    uid_t peerUid() const { return peer_.uid; }

    // Whether new calls may use this connection.
    bool usable();

    // A call to the peer's object handle (0: the root). See rpc::transact.
    binder_status_t transact(uint64_t handle, transaction_code_t code, const AParcel* in,
                             AParcel** out, binder_flags_t flags);

    // The peer's service registered under instance: +1 proxy or NULL in *binder.
    binder_status_t getService(const std::string& instance, AIBinder** binder);

    void proxyDestroyed(AIBinder* proxy);

    ~Connection();

  private:
    struct Incoming {
        WireHeader header{};
        ParcelPtr parcel;
        ndk::SpAIBinder target;  // transactions: the local object called (NULL: the root)
    };
    struct Waiter {
        std::condition_variable wake;
        std::deque<Incoming> queue;  // replies and nested transactions for this thread
        int depth = 0;
    };
    struct Export {
        AIBinder* binder = nullptr;  // one strong reference while the peer may hold proxies
        uint64_t sent = 0;           // references sent and not yet given back
    };
    struct Outgoing {
        std::vector<WireObject> objects;
        std::vector<int> fds;  // borrowed from the parcel being sent
    };

    Connection(ndk::ScopedFileDescriptor socket, const ucred& peer, bool connector);

    void readLoop();
    // Reads one message. false at the end of the stream (error empty) or on a bad message.
    bool readMessage(Incoming* incoming, std::string* error);
    bool buildParcel(const WireHeader& header, const DecodedBody& body,
                     std::vector<ndk::ScopedFileDescriptor>* fds, AParcel* parcel,
                     std::string* error);
    bool dispatch(Incoming incoming, std::string* error);
    void serve(Incoming incoming);
    bool serveBuiltin(Incoming* incoming);
    void reply(const Incoming& incoming, binder_status_t status, const AParcel* reply);
    binder_status_t encodeLocked(const AParcel* parcel, Outgoing* out);
    bool send(const WireHeader& header, const Outgoing& body, const AParcel* parcel);
    AIBinder* proxyForLocked(uint64_t handle);
    void die();
    void closeIfIdle();
    void shutdownSocket();

    const ucred peer_;
    const bool connector_;

    std::mutex sendMutex_;  // one message at a time on the socket; guards socket_
    ndk::ScopedFileDescriptor socket_;

    std::mutex mutex_;  // guards everything below
    bool dead_ = false;
    bool closing_ = false;
    uint64_t nextId_ = 1;
    int activeCalls_ = 0;
    int serving_ = 0;
    std::map<uint64_t, AIBinder*> proxies_;  // peer handle -> our proxy (not a reference)
    std::map<uint64_t, Export> exports_;     // our object's id -> what the peer holds of it
    std::map<uint64_t, std::unique_ptr<Waiter>> waiters_;  // by thread token
};

}  // namespace binder_host::rpc
