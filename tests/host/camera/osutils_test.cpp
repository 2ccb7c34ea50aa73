// Tests of the host OS utilities: mutexes, conditions, threads, failure injection and counters.
#include <atomic>
#include <chrono>
#include <cstring>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "camera_host/camera_host.h"
#include "gtest/gtest.h"
#include "pavoosutils.h"

namespace {

using Pavo::Condition;
using Pavo::Mutex;
using Pavo::OsUtils;
using Clock = std::chrono::steady_clock;

int64_t MillisecondsSince(Clock::time_point start) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
}

// Every test must leave no live object and no injection behind.
class OsUtilsTest : public ::testing::Test {
  protected:
    void SetUp() override {
        m_mutexes = camera_host::LiveMutexCount();
        m_conditions = camera_host::LiveConditionCount();
    }
    void TearDown() override {
        camera_host::ResetFailureInjection();
        EXPECT_EQ(camera_host::LiveMutexCount(), m_mutexes);
        EXPECT_EQ(camera_host::LiveConditionCount(), m_conditions);
        EXPECT_EQ(camera_host::LiveThreadCount(), 0);
    }

    int m_mutexes = 0;
    int m_conditions = 0;
};

// A mutex, a condition and a flag, as a node's flush handshake uses them.
struct Handshake {
    Mutex* pMutex = Mutex::Create("HandshakeLock");
    Condition* pCondition = Condition::Create("HandshakeDone");
    bool done = false;  // guarded by pMutex

    ~Handshake() {
        pCondition->Destroy();
        pMutex->Destroy();
    }
    void Complete() {
        pMutex->Lock();
        done = true;
        pCondition->Signal();
        pMutex->Unlock();
    }
};

TEST_F(OsUtilsTest, TimedWaitTimesOutAfterTheGivenTime) {
    Handshake handshake;
    handshake.pMutex->Lock();
    const auto start = Clock::now();
    EXPECT_EQ(handshake.pCondition->TimedWait(handshake.pMutex->GetNativeHandle(), 30),
              LumResultETimeout);
    const int64_t elapsed = MillisecondsSince(start);
    EXPECT_GE(elapsed, 30);
    EXPECT_LT(elapsed, 5000);
    EXPECT_EQ(handshake.pCondition->TimedWait(handshake.pMutex->GetNativeHandle(), 0),
              LumResultETimeout);
    // The mutex is held again after a timed-out wait.
    EXPECT_EQ(handshake.pMutex->TryLock(), LumResultEBusy);
    handshake.pMutex->Unlock();
}

TEST_F(OsUtilsTest, TimedWaitReturnsSuccessWhenSignalled) {
    Handshake handshake;
    handshake.pMutex->Lock();
    // The signaller needs the mutex, so it signals while the wait below holds none.
    std::thread signaller([&handshake] { handshake.Complete(); });
    const auto start = Clock::now();
    while (!handshake.done) {
        // A timeout with a sub-second part beyond the current second checks the deadline's
        // carry into seconds; a malformed deadline fails at once instead of waiting.
        ASSERT_EQ(handshake.pCondition->TimedWait(handshake.pMutex->GetNativeHandle(), 20999),
                  LumResultSuccess);
    }
    EXPECT_LT(MillisecondsSince(start), 20000);
    handshake.pMutex->Unlock();
    signaller.join();
}

TEST_F(OsUtilsTest, WaitAndBroadcastWakeEveryWaiter) {
    Handshake handshake;
    std::atomic<int> woken{0};
    std::vector<std::thread> waiters;
    for (int i = 0; i < 3; ++i) {
        waiters.emplace_back([&] {
            handshake.pMutex->Lock();
            while (!handshake.done) {
                EXPECT_EQ(handshake.pCondition->Wait(handshake.pMutex->GetNativeHandle()),
                          LumResultSuccess);
            }
            handshake.pMutex->Unlock();
            ++woken;
        });
    }
    handshake.pMutex->Lock();
    handshake.done = true;
    handshake.pCondition->Broadcast();
    handshake.pMutex->Unlock();
    for (std::thread& waiter : waiters) {
        waiter.join();
    }
    EXPECT_EQ(woken.load(), 3);
}

TEST_F(OsUtilsTest, MutexExcludesAndKeepsItsName) {
    Mutex* pMutex = Mutex::Create("VppSessionCountLock");
    ASSERT_NE(pMutex, nullptr);
    EXPECT_STREQ(pMutex->Name(), "VppSessionCountLock");
    EXPECT_EQ(camera_host::LiveMutexCount(), m_mutexes + 1);
    EXPECT_EQ(pMutex->TryLock(), LumResultSuccess);
    std::thread other([pMutex] { EXPECT_EQ(pMutex->TryLock(), LumResultEBusy); });
    other.join();
    pMutex->Unlock();

    // Many threads incrementing under the lock lose no update.
    int counter = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([pMutex, &counter] {
            for (int i = 0; i < 1000; ++i) {
                pMutex->Lock();
                ++counter;
                pMutex->Unlock();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(counter, 4000);
    pMutex->Destroy();

    const std::string longName(100, 'n');
    Mutex* pLong = Mutex::Create(longName.c_str());
    Condition* pUnnamed = Condition::Create(nullptr);
    ASSERT_NE(pLong, nullptr);
    ASSERT_NE(pUnnamed, nullptr);
    EXPECT_EQ(std::string(pLong->Name()), longName.substr(0, 63));
    EXPECT_STREQ(pUnnamed->Name(), "");
    pLong->Destroy();
    pUnnamed->Destroy();
}

TEST_F(OsUtilsTest, CreationFailsByNameUntilReset) {
    std::vector<std::string> mutexNames;
    camera_host::SetMutexCreateFailure([&mutexNames](const char* pName) {
        mutexNames.push_back(pName);
        return strcmp(pName, "VPPFlushSessionLock") == 0;
    });
    camera_host::SetConditionCreateFailure(
        [](const char* pName) { return strcmp(pName, "VPPWaitFlushSessionDone") == 0; });

    EXPECT_EQ(Mutex::Create("VPPFlushSessionLock"), nullptr);
    EXPECT_EQ(Condition::Create("VPPWaitFlushSessionDone"), nullptr);
    EXPECT_EQ(camera_host::LiveMutexCount(), m_mutexes);
    EXPECT_EQ(camera_host::LiveConditionCount(), m_conditions);
    Mutex* pOther = Mutex::Create("VppSessionCountLock");
    Condition* pOtherCondition = Condition::Create("Other");
    ASSERT_NE(pOther, nullptr);
    ASSERT_NE(pOtherCondition, nullptr);
    EXPECT_EQ(mutexNames, (std::vector<std::string>{"VPPFlushSessionLock", "VppSessionCountLock"}));
    pOther->Destroy();
    pOtherCondition->Destroy();

    camera_host::ResetFailureInjection();
    Mutex* pMutex = Mutex::Create("VPPFlushSessionLock");
    Condition* pCondition = Condition::Create("VPPWaitFlushSessionDone");
    EXPECT_NE(pMutex, nullptr);
    EXPECT_NE(pCondition, nullptr);
    pMutex->Destroy();
    pCondition->Destroy();
}

// A predicate may itself use the utilities it controls without deadlocking them.
TEST_F(OsUtilsTest, InjectionPredicateMayCreateObjects) {
    camera_host::SetMutexCreateFailure([](const char* pName) {
        if (strcmp(pName, "inner") == 0) {
            return false;
        }
        Mutex* pInner = Mutex::Create("inner");
        EXPECT_NE(pInner, nullptr);
        pInner->Destroy();
        return true;
    });
    EXPECT_EQ(Mutex::Create("outer"), nullptr);
    camera_host::SetMutexCreateFailure(nullptr);
    Mutex* pMutex = Mutex::Create("outer");
    EXPECT_NE(pMutex, nullptr);
    pMutex->Destroy();
}

void* Increment(void* pArg) {
    ++*static_cast<int*>(pArg);  // read by the creator after ThreadWait: the join orders it
    return nullptr;
}

TEST_F(OsUtilsTest, ThreadsRunAndAreJoinedById) {
    int first = 0;
    int second = 0;
    Pavo::OSThreadHandle firstId = 0;
    Pavo::OSThreadHandle secondId = 0;
    ASSERT_EQ(OsUtils::ThreadCreate(Increment, &first, &firstId), LumResultSuccess);
    ASSERT_EQ(OsUtils::ThreadCreate(Increment, &second, &secondId), LumResultSuccess);
    EXPECT_NE(firstId, 0);
    EXPECT_NE(secondId, 0);
    EXPECT_NE(firstId, secondId);
    EXPECT_EQ(camera_host::LiveThreadCount(), 2);

    EXPECT_EQ(OsUtils::ThreadWait(secondId), LumResultSuccess);
    EXPECT_EQ(second, 1);
    EXPECT_EQ(camera_host::LiveThreadCount(), 1);
    EXPECT_EQ(OsUtils::ThreadWait(firstId), LumResultSuccess);
    EXPECT_EQ(first, 1);

    EXPECT_EQ(OsUtils::ThreadWait(firstId), LumResultEInvalidArg) << "already joined";
    EXPECT_EQ(OsUtils::ThreadWait(0), LumResultEInvalidArg);
    EXPECT_EQ(OsUtils::ThreadCreate(nullptr, nullptr, &firstId), LumResultEInvalidPointer);
    EXPECT_EQ(OsUtils::ThreadCreate(Increment, &first, nullptr), LumResultEInvalidPointer);
}

TEST_F(OsUtilsTest, InjectedThreadFailureWritesNothingAndRunsNothing) {
    int runs = 0;
    camera_host::SetThreadCreateFailure([] { return LumResultENoMemory; });
    Pavo::OSThreadHandle id = 12345;
    EXPECT_EQ(OsUtils::ThreadCreate(Increment, &runs, &id), LumResultENoMemory);
    EXPECT_EQ(id, 12345);
    EXPECT_EQ(camera_host::LiveThreadCount(), 0);

    camera_host::SetThreadCreateFailure([] { return LumResultSuccess; });
    ASSERT_EQ(OsUtils::ThreadCreate(Increment, &runs, &id), LumResultSuccess);
    EXPECT_EQ(OsUtils::ThreadWait(id), LumResultSuccess);
    EXPECT_EQ(runs, 1);

    camera_host::SetThreadCreateFailure([] { return LumResultEFailed; });
    camera_host::ResetFailureInjection();
    ASSERT_EQ(OsUtils::ThreadCreate(Increment, &runs, &id), LumResultSuccess);
    EXPECT_EQ(OsUtils::ThreadWait(id), LumResultSuccess);
    EXPECT_EQ(runs, 2);
}

// Threads made and joined from several threads at once get distinct ids and are all released.
TEST_F(OsUtilsTest, ConcurrentCreateAndWait) {
    constexpr int kCreators = 4;
    constexpr int kPerCreator = 50;
    std::vector<std::vector<Pavo::OSThreadHandle>> ids(kCreators);
    std::vector<std::thread> creators;
    for (int c = 0; c < kCreators; ++c) {
        creators.emplace_back([c, &ids] {
            for (int i = 0; i < kPerCreator; ++i) {
                int value = 0;
                Pavo::OSThreadHandle id = 0;
                ASSERT_EQ(OsUtils::ThreadCreate(Increment, &value, &id), LumResultSuccess);
                ASSERT_EQ(OsUtils::ThreadWait(id), LumResultSuccess);
                EXPECT_EQ(value, 1);
                ids[c].push_back(id);
            }
        });
    }
    for (std::thread& creator : creators) {
        creator.join();
    }
    std::set<Pavo::OSThreadHandle> unique;
    for (const auto& list : ids) {
        unique.insert(list.begin(), list.end());
    }
    EXPECT_EQ(unique.size(), static_cast<size_t>(kCreators * kPerCreator));
    EXPECT_EQ(unique.count(0), 0u);
}

TEST_F(OsUtilsTest, SleepAndMonotonicTime) {
    const uint64_t before = OsUtils::GetNanoTime();
    OsUtils::SleepMicroseconds(20000);
    const uint64_t after = OsUtils::GetNanoTime();
    EXPECT_GE(after - before, 20000000u);
    EXPECT_LT(after - before, 5000000000u);
    EXPECT_LE(after, OsUtils::GetNanoTime());
}

}  // namespace
