// The process's binder thread pool: runs death notifications and any work posted to it.
#include <android/binder_process.h>
#include <binder_host/binder_host.h>
#include <syslog.h>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

#include "binder_internal.h"

namespace {

thread_local bool tIsPoolThread = false;

// Intentionally leaked: pool threads may still run while static destructors execute at exit.
struct Pool {
    std::mutex mutex;
    std::condition_variable workAvailable;
    std::condition_variable drained;
    std::deque<std::function<void()>> queue;
    bool started = false;
    uint32_t threads = 0;
    uint32_t idle = 0;
    uint32_t running = 0;
    // Threads the pool may add on demand beyond the first, as on a device.
    uint32_t maxExtraThreads = 15;

    // Whether the pool serves calls (started or joined): services are published from then on.
    std::atomic<bool> serving{false};

    // Host counters, reset by ABinderHost_resetForTesting.
    uint64_t startCalls = 0;
    uint32_t startsSinceReset = 0;

    void spawnLocked() {
        ++threads;
        std::thread([this]() { serve(); }).detach();
    }

    // Pool thread body: takes tasks until the process exits.
    void serve() {
        tIsPoolThread = true;
        std::unique_lock<std::mutex> lock(mutex);
        for (;;) {
            ++idle;
            workAvailable.wait(lock, [this]() { return !queue.empty(); });
            --idle;
            std::function<void()> task = std::move(queue.front());
            queue.pop_front();
            ++running;
            lock.unlock();
            task();
            task = nullptr;  // captured state is released outside the pool lock
            lock.lock();
            --running;
            if (queue.empty() && running == 0) {
                drained.notify_all();
            }
        }
    }
};

Pool& pool() {
    static Pool* const instance = new Pool();
    return *instance;
}

}  // namespace

namespace binder_host {

void postToPool(std::function<void()> task) {
    Pool& p = pool();
    std::lock_guard<std::mutex> lock(p.mutex);
    p.queue.push_back(std::move(task));
    // Grow when every thread is busy, so that a blocking task cannot starve the others.
    if (p.started && p.idle < p.queue.size() && p.threads < 1 + p.maxExtraThreads) {
        p.spawnLocked();
    }
    p.workAvailable.notify_one();
}

bool poolServing() {
    return pool().serving.load();
}

uint32_t poolThreadLimit() {
    Pool& p = pool();
    std::lock_guard<std::mutex> lock(p.mutex);
    return 1 + p.maxExtraThreads;
}

void becomePoolThread() {
    tIsPoolThread = true;
}

void beginPoolWork() {
    Pool& p = pool();
    std::lock_guard<std::mutex> lock(p.mutex);
    ++p.running;
}

void endPoolWork() {
    Pool& p = pool();
    std::lock_guard<std::mutex> lock(p.mutex);
    --p.running;
    if (p.queue.empty() && p.running == 0) p.drained.notify_all();
}

void resetPoolCounters() {
    Pool& p = pool();
    std::lock_guard<std::mutex> lock(p.mutex);
    p.startCalls = 0;
    p.startsSinceReset = 0;
}

}  // namespace binder_host

void ABinderProcess_startThreadPool() {
    Pool& p = pool();
    {
        std::lock_guard<std::mutex> lock(p.mutex);
        ++p.startCalls;
        p.startsSinceReset = 1;
        if (p.started) {
            return;
        }
    }
    // Services are reachable from other processes before the first pool task runs.
    if (!p.serving.exchange(true)) {
        binder_host::publishRegisteredServices();
    }
    std::lock_guard<std::mutex> lock(p.mutex);
    if (p.started) {
        return;
    }
    p.started = true;
    p.spawnLocked();
    // Work queued before the start (e.g. deaths declared earlier) may need more threads.
    while (p.threads < 1 + p.maxExtraThreads && p.threads < p.queue.size()) {
        p.spawnLocked();
    }
}

bool ABinderProcess_setThreadPoolMaxThreadCount(uint32_t numThreads) {
    Pool& p = pool();
    std::lock_guard<std::mutex> lock(p.mutex);
    if (p.started && numThreads < p.maxExtraThreads) {
        binder_host::logMessage(LOG_ERR, "Cannot shrink the binder thread pool once started");
        return false;
    }
    p.maxExtraThreads = numThreads;
    return true;
}

bool ABinderProcess_isThreadPoolStarted() {
    Pool& p = pool();
    std::lock_guard<std::mutex> lock(p.mutex);
    return p.started;
}

void ABinderProcess_joinThreadPool() {
    Pool& p = pool();
    {
        std::lock_guard<std::mutex> lock(p.mutex);
        ++p.threads;
    }
    if (!p.serving.exchange(true)) {
        binder_host::publishRegisteredServices();
    }
    p.serve();
}

void ABinderHost_postToPool(void (*fn)(void* arg), void* arg) {
    binder_host::postToPool([fn, arg]() { fn(arg); });
}

binder_status_t ABinderHost_flushPool() {
    if (tIsPoolThread) {
        return STATUS_INVALID_OPERATION;
    }
    Pool& p = pool();
    std::unique_lock<std::mutex> lock(p.mutex);
    if (p.threads == 0) {
        return p.queue.empty() ? STATUS_OK : STATUS_WOULD_BLOCK;
    }
    p.drained.wait(lock, [&p]() { return p.queue.empty() && p.running == 0; });
    return STATUS_OK;
}

bool ABinderHost_isPoolThread() {
    return tIsPoolThread;
}

uint32_t ABinderHost_getPoolThreadCount() {
    Pool& p = pool();
    std::lock_guard<std::mutex> lock(p.mutex);
    return p.threads;
}

uint64_t ABinderHost_getStartThreadPoolCallCount() {
    Pool& p = pool();
    std::lock_guard<std::mutex> lock(p.mutex);
    return p.startCalls;
}

uint32_t ABinderHost_getThreadPoolStartCount() {
    Pool& p = pool();
    std::lock_guard<std::mutex> lock(p.mutex);
    return p.startsSinceReset;
}
