// Host-only controls of the in-process binder: service death, pool synchronisation, counters.
//
// Only tests, the reference service and tools include this header; code that must also build on
// a device never does.
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
