// Host-only controls of the binder: service death, pool synchronisation, counters, and the
// folder through which processes find each other's services.
//
// Only tests, the reference service and tools include this header; code that must also build on
// a device never does.
//
// Across processes:
// - AServiceManager_addService of a binder of this process also publishes the instance, once the
//   process's binder pool serves calls (ABinderProcess_startThreadPool or joinThreadPool; services
//   registered earlier are published then), as a Unix socket (0600) in the service folder:
//   $BINDER_HOST_DIR if set, else $XDG_RUNTIME_DIR/binder-host, else /tmp/binder-host-<uid>. The
//   folder is created 0700 when missing; one that is a symbolic link, belongs to another user or is
//   open to other users is refused (one log line, and the service stays registered for this process
//   only). Names that do not fit a socket address are shortened with a hash. A live socket of
//   another process under the same name is left alone; a stale one (no listener) is replaced.
// - AServiceManager_checkService/getService/waitForService look in this process first, then in
//   the folder. Peers of another uid are refused on both ends.
// - Binders received from another process are proxies (AIBinder_isRemote); generated fromBinder
//   gives the Bp class for them. A connection to a peer process carries each call on a socket
//   of its own (opened on demand, up to the number of binder threads the peer's pool may run,
//   ABinderProcess_setThreadPoolMaxThreadCount + 1; extra ones close when idle): the calling
//   thread reads its own reply, and runs the nested calls the peer makes on the call's behalf;
//   an incoming call runs on the binder thread that read it. A connection holds three
//   descriptors while in use (more while calls overlap). When the peer process goes away its
//   proxies die at once, as with ABinderHost_declareBinderDead.
// - Limits per transaction: 1 MiB of data and 253 descriptors (STATUS_FAILED_TRANSACTION).
// - A parcel received from another process hands each descriptor to its reader itself, once
//   (AParcel_readParcelFileDescriptor gives the caller that descriptor to own; a second read of
//   the same one fails with STATUS_BAD_VALUE), where a device gives a duplicate on every read:
//   two system calls fewer per descriptor on each call.
//
// Test convention: every test process uses a service folder of its own, so that test processes
// running in parallel (ctest -j) never find each other's services. Every executable under tests/
// links the CMake object library hostbinder_private_dir (tests/CMakeLists.txt does it for all),
// which calls ABinderHost_usePrivateServiceDir before main, unless the process inherited a private
// folder from the test process that started it: children share their parent test's folder.
//
// Host differences from a device that the functions below rely on:
// - AIBinder_linkToDeath on a binder of this process is accepted (STATUS_OK), so that an
//   in-process service can stand in for a remote one. Its recipients fire when the binder is
//   declared dead with ABinderHost_declareDead / ABinderHost_declareBinderDead.
// - Death notifications run on binder pool threads, never on the caller's thread, and only once
//   ABinderProcess_startThreadPool has been called (earlier deaths are delivered when it is).
// - Calls that reach a local implementation through fromBinder() are direct virtual calls, which
//   the binder layer cannot intercept. A service implementation that wants to behave like a dead
//   remote object checks ABinderHost_isDead(asBinder().get()) and answers
//   ScopedAStatus::fromStatus(STATUS_DEAD_OBJECT) itself.
#pragma once

#include <android/binder_ibinder.h>
#include <android/binder_status.h>
#include <stdbool.h>
#include <stdint.h>
#include <sys/cdefs.h>

__BEGIN_DECLS

// Declares the service registered under instance dead and removes it from the registry. Every
// death link on it is delivered once on a pool thread: onBinderDied(cookie), then the link is
// removed and onUnlinked(cookie) runs. Afterwards AIBinder_isAlive is false, AIBinder_ping and
// AIBinder_transact give STATUS_DEAD_OBJECT and new links fail with STATUS_DEAD_OBJECT.
// Returns STATUS_UNEXPECTED_NULL for NULL, STATUS_NAME_NOT_FOUND if nothing is registered there,
// STATUS_DEAD_OBJECT if the binder was already dead.
binder_status_t ABinderHost_declareDead(const char* instance);

// Same for any binder, registered or not (a registered one stays registered).
binder_status_t ABinderHost_declareBinderDead(AIBinder* binder);

// Whether the binder was declared dead. false for NULL.
bool ABinderHost_isDead(const AIBinder* binder);

// Unregisters instance; the registry's reference is released. STATUS_NAME_NOT_FOUND if absent.
binder_status_t ABinderHost_removeService(const char* instance);

// Runs fn(arg) on a pool thread (queued until the pool is started).
void ABinderHost_postToPool(void (*fn)(void* arg), void* arg);

// Waits until every task queued on the pool so far, death notifications included, has finished.
// STATUS_WOULD_BLOCK (without waiting) if tasks are queued but the pool has not been started;
// STATUS_INVALID_OPERATION when called on a pool thread, which would wait for itself.
binder_status_t ABinderHost_flushPool(void);

// Whether the calling thread is a binder pool thread.
bool ABinderHost_isPoolThread(void);

// Number of pool threads running now.
uint32_t ABinderHost_getPoolThreadCount(void);

// Number of AServiceManager_checkService calls since start or the last reset.
uint64_t ABinderHost_getCheckServiceCount(void);

// Number of ABinderProcess_startThreadPool calls since start or the last reset.
uint64_t ABinderHost_getStartThreadPoolCallCount(void);

// How often the pool was started since start or the last reset: 0 or 1. After a reset the pool
// keeps running, and the next ABinderProcess_startThreadPool call counts as the start again.
uint32_t ABinderHost_getThreadPoolStartCount(void);

// Polling of AServiceManager_getService while the service is absent (device: 1000 ms, 5000 ms).
void ABinderHost_setGetServicePolling(uint32_t intervalMs, uint32_t limitMs);

// Empties the service registry (releasing its references), resets the counters above and the
// getService polling. The pool, if started, keeps running.
void ABinderHost_resetForTesting(void);

// Ends every connection to other processes in order, for a process about to exit: each peer
// is told first and closes its side (its proxies into this process die), then this side closes.
// Waits up to timeoutMs in all.
void ABinderHost_closeConnections(uint32_t timeoutMs);

// Loopback mode: with the environment variable BINDER_HOST_LOOPBACK set (to anything but "" or
// "0"), AServiceManager_getService/checkService/waitForService hand out a service registered in
// this process as a proxy through a socket connection to this process (one per instance), so
// that every call and callback is a transaction with descriptors passed as across processes.
// ABinderHost_declareDead takes the instance's connection down (its proxies die as with a
// service process's exit) and ABinderHost_resetForTesting closes every loopback connection.
// Returns the object of this process that a loopback proxy stands for (+1), or NULL for any
// other binder; tests use it to inspect a service they reach through loopback.
AIBinder* ABinderHost_getLoopbackLocal(AIBinder* proxy);

// Creates a fresh private service folder under the per-user default and points BINDER_HOST_DIR
// (and BINDER_HOST_PRIVATE_DIR, which marks it as a test's) at it; children inherit both. The
// folder is removed when this process exits. Returns STATUS_PERMISSION_DENIED when the per-user
// folder is unusable.
binder_status_t ABinderHost_usePrivateServiceDir(void);

__END_DECLS

#ifdef __cplusplus
#include <functional>
#include <utility>

namespace ndk_host {

// Runs any callable on a pool thread.
inline void postToPool(std::function<void()> task) {
    auto* heap = new std::function<void()>(std::move(task));
    ABinderHost_postToPool(
        [](void* arg) {
            auto* fn = static_cast<std::function<void()>*>(arg);
            (*fn)();
            delete fn;
        },
        heap);
}

}  // namespace ndk_host
#endif
