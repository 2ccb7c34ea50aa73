// Internal state of the host binder: object layouts shared by the implementation files.
#pragma once

#include <android/binder_ibinder.h>
#include <android/binder_shell.h>
#include <android/binder_status.h>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

struct AStatus {
    binder_exception_t exception = EX_NONE;
    // Service-specific code for EX_SERVICE_SPECIFIC, transport status for EX_TRANSACTION_FAILED.
    int32_t errorCode = 0;
    std::string message;
};

struct AIBinder_Class {
    std::string descriptor;
    AIBinder_Class_onCreate onCreate = nullptr;
    AIBinder_Class_onDestroy onDestroy = nullptr;
    AIBinder_Class_onTransact onTransact = nullptr;
    std::atomic<AIBinder_onDump> onDump{nullptr};
    std::atomic<AIBinder_handleShellCommand> handleShellCommand{nullptr};
    std::atomic<bool> writeHeader{true};
};

namespace binder_host {

namespace rpc {
struct ProxyState;
}  // namespace rpc

// Identity shared by a binder and its weak handles; outlives the binder itself.
struct BinderIdentity {
    std::mutex mutex;
    AIBinder* binder = nullptr;  // NULL once the binder is being destroyed
    uint64_t id = 0;             // unique for the life of the process
};

struct RecipientCore;

// One (binder, cookie) link of a recipient.
struct DeathLink {
    std::weak_ptr<RecipientCore> recipient;
    const AIBinder* binder = nullptr;  // identity only, never dereferenced through the link
    void* cookie = nullptr;
    AIBinder_DeathRecipient_onBinderUnlinked onUnlinked = nullptr;
};

// Shared state of a death recipient, kept alive by deliveries in flight.
struct RecipientCore {
    AIBinder_DeathRecipient_onBinderDied onBinderDied = nullptr;
    std::atomic<AIBinder_DeathRecipient_onBinderUnlinked> onUnlinked{nullptr};

    std::mutex mutex;
    std::condition_variable deliveryDone;
    // The recipient's links, oldest first. Removing an entry from here is what makes each link
    // end exactly once (death, unlink, recipient deletion or binder destruction).
    std::vector<std::shared_ptr<DeathLink>> links;
    // Threads running a callback of this recipient right now.
    std::vector<std::thread::id> delivering;
    bool deleted = false;
};

binder_status_t pruneStatus(binder_status_t status);
binder_exception_t pruneException(binder_exception_t exception);

// Writes one line to the system log.
void logMessage(int priority, const char* format, ...) __attribute__((format(printf, 2, 3)));

// Queues a task for the pool (run once the pool has started).
void postToPool(std::function<void()> task);

// Whether the pool has been started or joined: only then can this process serve other ones.
bool poolServing();

// How many threads the pool may run: the first and the extra ones it may add.
uint32_t poolThreadLimit();

// Marks the calling thread as a binder thread: a transport thread that runs the incoming calls
// it reads, as a pool thread does.
void becomePoolThread();

// Brackets an incoming call run outside the pool's queue, so that ABinderHost_flushPool waits
// for it as for a queued task.
void beginPoolWork();
void endPoolWork();

// Publishes every service registered so far (called when the pool starts serving).
void publishRegisteredServices();

// Zeroes the pool's start counters (the pool itself keeps running).
void resetPoolCounters();

// Marks binder dead and queues the delivery of its death links.
binder_status_t markDead(AIBinder* binder);

// Adds a strong reference unless the count already reached zero (the binder is being destroyed).
bool tryIncStrong(AIBinder* binder);

// Runs a local binder's stub on this thread: token check, then the class's onTransact.
binder_status_t transactLocal(AIBinder* binder, transaction_code_t code, const AParcel* in,
                              AParcel* out);

// A new proxy binder (strong count 1) for a remote object.
AIBinder* newProxyBinder(std::shared_ptr<rpc::ProxyState> state);

// The service registered in this process under instance: +1, or NULL.
AIBinder* findLocalService(const std::string& instance);

}  // namespace binder_host

struct AIBinder {
    const AIBinder_Class* clazz = nullptr;
    void* userData = nullptr;
    std::atomic<int32_t> strong{1};
    std::atomic<bool> dead{false};
    std::shared_ptr<binder_host::BinderIdentity> identity;
    // Set for a proxy: a binder whose object lives in another process. A proxy's class is NULL
    // until AIBinder_associateClass gives it one.
    std::shared_ptr<binder_host::rpc::ProxyState> proxy;

    std::mutex mutex;  // guards the members below; taken before any recipient's mutex
    std::vector<std::weak_ptr<binder_host::DeathLink>> links;
    AIBinder* extension = nullptr;
};

struct AIBinder_Weak {
    std::shared_ptr<binder_host::BinderIdentity> identity;
};

struct AIBinder_DeathRecipient {
    std::shared_ptr<binder_host::RecipientCore> core;
};
