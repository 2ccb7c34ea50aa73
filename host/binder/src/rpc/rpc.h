// Cross-process binder: what the binder objects and the service manager use of the transport.
#pragma once

#include <android/binder_ibinder.h>
#include <android/binder_parcel.h>
#include <sys/types.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

namespace binder_host::rpc {

class Connection;

// What makes an AIBinder a proxy: the connection to the owner and the owner's handle.
struct ProxyState {
    std::shared_ptr<Connection> connection;
    uint64_t handle = 0;
    // References received for this proxy and not yet given back (guarded by the connection).
    uint64_t received = 0;

    std::mutex mutex;  // guards the cached descriptor
    bool descriptorKnown = false;
    std::string descriptor;
};

// Sends a transaction to the proxy's owner and waits for the reply (nested calls addressed to
// this thread run here meanwhile). On success *out is the reply (empty for oneway).
binder_status_t transact(AIBinder* proxy, transaction_code_t code, const AParcel* in, AParcel** out,
                         binder_flags_t flags);

// A remote object's interface descriptor (asked once, then cached).
binder_status_t remoteDescriptor(AIBinder* proxy, std::string* descriptor);

binder_status_t ping(AIBinder* proxy);

// Asks the remote object to dump itself into fd.
binder_status_t dump(AIBinder* proxy, int fd, const char** args, uint32_t numArgs);

// Called when a proxy's last strong reference is gone, before it is freed.
void proxyDestroyed(AIBinder* proxy);

// The peer of the transaction this thread is serving, if it serves one from another process.
bool callingIdentity(pid_t* pid, uid_t* uid);

// Publishes a locally registered service in the service folder (a warning when that fails: the
// local registration stands).
void publishService(const std::string& instance);
void unpublishService(const std::string& instance);
void unpublishAll();

// The folder of service sockets (BINDER_HOST_DIR or the per-user default), created if needed
// and checked: a directory, not a symbolic link, ours, closed to other users. false (after one
// log line) when it is unusable.
bool serviceFolder(std::string* folder);

// The socket path for instance in folder, shortened with a hash to fit a socket address.
bool socketPath(const std::string& folder, const std::string& instance, std::string* path);

// Ends every connection to another process in order (see ABinderHost_closeConnections).
void closeConnections(uint32_t timeoutMs);

// The service registered under instance by another process: +1 proxy, or NULL.
AIBinder* lookupService(const std::string& instance);

// Loopback (BINDER_HOST_LOOPBACK set to anything but "" or "0"): a service registered in this
// process is handed out as a proxy through a socket connection to this process, one connection
// per instance, so that every call on it is a transaction as if the service ran elsewhere.
bool loopbackEnabled();
// A +1 proxy for instance through its loopback connection (made if needed), or NULL.
AIBinder* loopbackService(const std::string& instance);
// Takes instance's loopback connection down, as when a service process dies: its proxies die.
void loopbackServiceDied(const std::string& instance);
// Takes every loopback connection down and waits until their sockets are closed.
void closeLoopbacks();
// The object of this process a loopback proxy stands for: +1, or NULL for any other binder.
AIBinder* loopbackLocal(AIBinder* proxy);

}  // namespace binder_host::rpc
