// Per-thread state of the transport: the incoming calls a thread is serving (for nested-call
// routing and the calling identity), and the process's connections.
#pragma once

#include <android/binder_ibinder.h>
#include <sys/types.h>

#include <cstdint>
#include <memory>

namespace binder_host::rpc {

class Connection;
struct Channel;

// The channel a call on connection should go out on: the one carrying the innermost call this
// thread serves from that connection, whose caller waits on it and runs nested calls (NULL:
// none, any free channel of the connection will do).
Channel* nestedChannelFor(const Connection* connection);

// Marks this thread as serving an incoming call for its lifetime. channel: where the caller
// waits (NULL for a oneway call, whose caller does not).
class ServingScope {
  public:
    ServingScope(const Connection* connection, Channel* channel, pid_t pid, uid_t uid);
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
