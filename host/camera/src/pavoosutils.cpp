// Host OS utilities of the camera framework: pthread mutexes, monotonic conditions, joinable
// threads known by 64-bit ids, failure injection and live-object counters.
#include "pavoosutils.h"

#include <time.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <functional>
#include <mutex>
#include <new>
#include <unordered_map>

#include "camera_host/camera_host.h"

namespace {

// Failure injection predicates and the thread registry, guarded by one lock. Predicates are
// copied out and called without the lock so that they may themselves use these utilities.
struct HostState {
    std::mutex mutex;
    std::function<bool(const char*)> mutexFailure;
    std::function<bool(const char*)> conditionFailure;
    std::function<LumResult()> threadFailure;
    std::unordered_map<Pavo::OSThreadHandle, pthread_t> threads;
    Pavo::OSThreadHandle nextThreadId = 1;  // ids are never reused, so a stale id is refused
};

HostState& State() {
    static HostState* const pState = new HostState();  // never destroyed: threads may outlive main
    return *pState;
}

std::atomic<int> g_liveMutexes{0};
std::atomic<int> g_liveConditions{0};

void CopyName(char (&destination)[64], const char* pName) {
    snprintf(destination, sizeof(destination), "%s", pName != nullptr ? pName : "");
}

bool ShouldFailCreation(std::function<bool(const char*)> HostState::*pMember, const char* pName) {
    std::function<bool(const char*)> predicate;
    {
        HostState& state = State();
        std::lock_guard<std::mutex> lock(state.mutex);
        predicate = state.*pMember;
    }
    return predicate && predicate(pName);
}

LumResult ErrnoToResult(int error) {
    switch (error) {
        case 0:
            return LumResultSuccess;
        case EAGAIN:
        case ENOMEM:
            return LumResultENoMemory;
        case EINVAL:
            return LumResultEInvalidArg;
        case EBUSY:
            return LumResultEBusy;
        default:
            return LumResultEFailed;
    }
}

}  // namespace

namespace Pavo {

Mutex* Mutex::Create(const char* pName) {
    if (ShouldFailCreation(&HostState::mutexFailure, pName)) {
        return nullptr;
    }
    Mutex* pMutex = new (std::nothrow) Mutex();
    if (pMutex == nullptr) {
        return nullptr;
    }
    if (pthread_mutex_init(&pMutex->m_mutex, nullptr) != 0) {
        delete pMutex;
        return nullptr;
    }
    CopyName(pMutex->m_name, pName);
    g_liveMutexes.fetch_add(1, std::memory_order_relaxed);
    return pMutex;
}

void Mutex::Destroy() {
    pthread_mutex_destroy(&m_mutex);
    g_liveMutexes.fetch_sub(1, std::memory_order_relaxed);
    delete this;
}

void Mutex::Lock() {
    pthread_mutex_lock(&m_mutex);
}

void Mutex::Unlock() {
    pthread_mutex_unlock(&m_mutex);
}

LumResult Mutex::TryLock() {
    return ErrnoToResult(pthread_mutex_trylock(&m_mutex));
}

pthread_mutex_t* Mutex::GetNativeHandle() {
    return &m_mutex;
}

const char* Mutex::Name() const {
    return m_name;
}

Condition* Condition::Create(const char* pName) {
    if (ShouldFailCreation(&HostState::conditionFailure, pName)) {
        return nullptr;
    }
    Condition* pCondition = new (std::nothrow) Condition();
    if (pCondition == nullptr) {
        return nullptr;
    }
    // Timed waits measure against the monotonic clock so that wall-clock jumps do not stretch
    // or cut them.
    pthread_condattr_t attributes;
    bool made = pthread_condattr_init(&attributes) == 0;
    if (made) {
        made = pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC) == 0 &&
               pthread_cond_init(&pCondition->m_condition, &attributes) == 0;
        pthread_condattr_destroy(&attributes);
    }
    if (!made) {
        delete pCondition;
        return nullptr;
    }
    CopyName(pCondition->m_name, pName);
    g_liveConditions.fetch_add(1, std::memory_order_relaxed);
    return pCondition;
}

void Condition::Destroy() {
    pthread_cond_destroy(&m_condition);
    g_liveConditions.fetch_sub(1, std::memory_order_relaxed);
    delete this;
}

LumResult Condition::Wait(pthread_mutex_t* pMutex) {
    return pthread_cond_wait(&m_condition, pMutex) == 0 ? LumResultSuccess : LumResultEFailed;
}

LumResult Condition::TimedWait(pthread_mutex_t* pMutex, uint32_t timeoutMilliseconds) {
    timespec deadline;
    if (clock_gettime(CLOCK_MONOTONIC, &deadline) != 0) {
        return LumResultEFailed;
    }
    deadline.tv_sec += static_cast<time_t>(timeoutMilliseconds / 1000);
    deadline.tv_nsec += static_cast<long>(timeoutMilliseconds % 1000) * 1000000L;
    if (deadline.tv_nsec >= 1000000000L) {
        deadline.tv_sec += 1;
        deadline.tv_nsec -= 1000000000L;
    }
    // A single wait: a spurious wake-up counts as signalled, as on the device.
    const int error = pthread_cond_timedwait(&m_condition, pMutex, &deadline);
    if (error == 0) {
        return LumResultSuccess;
    }
    return error == ETIMEDOUT ? LumResultETimeout : LumResultEFailed;
}

void Condition::Signal() {
    pthread_cond_signal(&m_condition);
}

void Condition::Broadcast() {
    pthread_cond_broadcast(&m_condition);
}

const char* Condition::Name() const {
    return m_name;
}

LumResult OsUtils::ThreadCreate(OSThreadFunc pFunc, void* pArg, OSThreadHandle* phThread) {
    if (pFunc == nullptr || phThread == nullptr) {
        return LumResultEInvalidPointer;
    }
    HostState& state = State();
    std::function<LumResult()> failWith;
    {
        std::lock_guard<std::mutex> lock(state.mutex);
        failWith = state.threadFailure;
    }
    if (failWith) {
        const LumResult injected = failWith();
        if (injected != LumResultSuccess) {
            return injected;
        }
    }
    pthread_t thread;
    const int error = pthread_create(&thread, nullptr, pFunc, pArg);
    if (error != 0) {
        return ErrnoToResult(error) == LumResultENoMemory ? LumResultENoMemory : LumResultEFailed;
    }
    OSThreadHandle id;
    {
        std::lock_guard<std::mutex> lock(state.mutex);
        id = state.nextThreadId++;
        state.threads.emplace(id, thread);
    }
    *phThread = id;
    return LumResultSuccess;
}

LumResult OsUtils::ThreadWait(OSThreadHandle hThread) {
    HostState& state = State();
    pthread_t thread;
    {
        std::lock_guard<std::mutex> lock(state.mutex);
        auto found = state.threads.find(hThread);
        if (found == state.threads.end()) {
            return LumResultEInvalidArg;
        }
        thread = found->second;
        state.threads.erase(found);
    }
    const int error = pthread_join(thread, nullptr);
    if (error != 0) {
        // Not joined (e.g. a thread waiting for itself): keep it so that another can join it.
        std::lock_guard<std::mutex> lock(state.mutex);
        state.threads.emplace(hThread, thread);
        return LumResultEFailed;
    }
    return LumResultSuccess;
}

void OsUtils::SleepMicroseconds(uint32_t microseconds) {
    timespec remaining;
    remaining.tv_sec = static_cast<time_t>(microseconds / 1000000U);
    remaining.tv_nsec = static_cast<long>(microseconds % 1000000U) * 1000L;
    while (nanosleep(&remaining, &remaining) != 0 && errno == EINTR) {
    }
}

uint64_t OsUtils::GetNanoTime() {
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint64_t>(now.tv_sec) * 1000000000ULL + static_cast<uint64_t>(now.tv_nsec);
}

}  // namespace Pavo

namespace camera_host {

void SetMutexCreateFailure(std::function<bool(const char* pName)> shouldFail) {
    HostState& state = State();
    std::lock_guard<std::mutex> lock(state.mutex);
    state.mutexFailure = std::move(shouldFail);
}

void SetConditionCreateFailure(std::function<bool(const char* pName)> shouldFail) {
    HostState& state = State();
    std::lock_guard<std::mutex> lock(state.mutex);
    state.conditionFailure = std::move(shouldFail);
}

void SetThreadCreateFailure(std::function<LumResult()> failWith) {
    HostState& state = State();
    std::lock_guard<std::mutex> lock(state.mutex);
    state.threadFailure = std::move(failWith);
}

void ResetFailureInjection() {
    HostState& state = State();
    std::lock_guard<std::mutex> lock(state.mutex);
    state.mutexFailure = nullptr;
    state.conditionFailure = nullptr;
    state.threadFailure = nullptr;
}

int LiveMutexCount() {
    return g_liveMutexes.load(std::memory_order_relaxed);
}

int LiveConditionCount() {
    return g_liveConditions.load(std::memory_order_relaxed);
}

int LiveThreadCount() {
    HostState& state = State();
    std::lock_guard<std::mutex> lock(state.mutex);
    return static_cast<int>(state.threads.size());
}

}  // namespace camera_host
