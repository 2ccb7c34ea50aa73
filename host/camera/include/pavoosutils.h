// OS utilities of the camera framework: named mutexes and conditions, joinable threads.
#pragma once

#include <pthread.h>

#include <cstdint>

#include "ixotypes.h"

namespace Pavo {

// Entry function of a thread made by OsUtils::ThreadCreate; its return value is the thread's
// exit value.
typedef void* (*OSThreadFunc)(void* pArg);

// Id of a joinable thread; never 0 for a thread that was created.
typedef int64_t OSThreadHandle;

class Mutex {
  public:
    // Returns a new mutex, or null when it cannot be made. The name is for diagnostics.
    static Mutex* Create(const char* pName);
    // Frees the mutex; it must not be held.
    void Destroy();
    void Lock();
    void Unlock();
    // LumResultSuccess when taken, LumResultEBusy when held (also by the caller).
    LumResult TryLock();
    pthread_mutex_t* GetNativeHandle();
    const char* Name() const;

  private:
    Mutex() = default;
    ~Mutex() = default;
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    pthread_mutex_t m_mutex;
    char m_name[64];
};

class Condition {
  public:
    // Returns a new condition, or null when it cannot be made. The name is for diagnostics.
    static Condition* Create(const char* pName);
    void Destroy();
    // Waits until signalled; the caller holds pMutex.
    LumResult Wait(pthread_mutex_t* pMutex);
    // Waits until signalled or until timeoutMilliseconds have passed; the caller holds pMutex.
    // LumResultSuccess when signalled, LumResultETimeout when the time ran out, LumResultEFailed
    // on any other failure. The time is measured on the monotonic clock. One wait, no loop: a
    // spurious wake-up also returns LumResultSuccess, so callers re-check their predicate.
    LumResult TimedWait(pthread_mutex_t* pMutex, uint32_t timeoutMilliseconds);
    void Signal();
    void Broadcast();
    const char* Name() const;

  private:
    Condition() = default;
    ~Condition() = default;
    Condition(const Condition&) = delete;
    Condition& operator=(const Condition&) = delete;

    pthread_cond_t m_condition;
    char m_name[64];
};

class OsUtils {
  public:
    // Starts a joinable thread running pFunc(pArg) and writes its id to *phThread.
    // LumResultSuccess, or a failure code (LumResultEFailed, LumResultENoMemory, ...; an
    // injected failure's code; LumResultEInvalidPointer for a null function or id pointer), in
    // which case *phThread is not written.
    static LumResult ThreadCreate(OSThreadFunc pFunc, void* pArg, OSThreadHandle* phThread);
    // Blocks until the thread has ended and releases it. LumResultEInvalidArg for an id that is
    // not a created, not yet waited-for thread.
    static LumResult ThreadWait(OSThreadHandle hThread);
    // Sleeps for at least the given number of microseconds.
    static void SleepMicroseconds(uint32_t microseconds);
    // Nanoseconds of the monotonic clock (not wall time).
    static uint64_t GetNanoTime();
};

}  // namespace Pavo
