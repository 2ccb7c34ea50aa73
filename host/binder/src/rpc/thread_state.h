// Per-thread state of the transport: the thread's token on the wire and the incoming calls it is
// serving (for nested-call routing and the calling identity), and the process's connections.
#pragma once

#include <android/binder_ibinder.h>
#include <sys/types.h>

#include <cstdint>
#include <memory>

namespace binder_host::rpc {

class Connection;

// This thread's token: peers address replies and nested calls to it.
uint64_t threadToken();

// The peer thread a call on connection should go to: the one waiting for the innermost call
// this thread serves from that connection (0: none, the peer's pool takes it).
uint64_t nestedRouteFor(const Connection* connection);

// Marks this thread as serving an incoming call for its lifetime.
class ServingScope {
  public:
    ServingScope(const Connection* connection, uint64_t peerToken, pid_t pid, uid_t uid);
    ~ServingScope();
    ServingScope(const ServingScope&) = delete;
    ServingScope& operator=(const ServingScope&) = delete;
};

// Connections by peer pid, so that there is one per peer process.
void rememberConnection(const std::shared_ptr<Connection>& connection);
void forgetConnection(const Connection* connection);
std::shared_ptr<Connection> findConnection(pid_t pid);

// Runs a dump request received from a peer: the descriptor and arguments from the parcel.
binder_status_t serveDump(AIBinder* target, const AParcel* in);

}  // namespace binder_host::rpc
