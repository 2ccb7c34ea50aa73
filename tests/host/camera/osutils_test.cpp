// Tests of the host OS utilities: conditions, mutexes, threads, failure injection and counters.
#include <chrono>
#include <set>
#include <thread>
#include <vector>

#include "camera_host/camera_host.h"
#include "gtest/gtest.h"
#include "pavoosutils.h"

namespace {

using Pavo::Condition;
using Pavo::Mutex;
using Pavo::OsUtils;

int64_t MillisecondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() -
                                                                 start)
        .count();
}

void* Increment(void* pArg) {
    ++*static_cast<int*>(pArg);  // read by the creator after ThreadWait: the join orders it
    return nullptr;
}

// Every test must leave no live object and no injection behind.
class OsUtilsTest : public ::testing::Test {
  protected:
    void TearDown() override {
        camera_host::ResetFailureInjection();
        EXPECT_EQ(camera_host::LiveMutexCount(), m_mutexes);
        EXPECT_EQ(camera_host::LiveConditionCount(), m_conditions);
        EXPECT_EQ(camera_host::LiveThreadCount(), 0);
    }

    const int m_mutexes = camera_host::LiveMutexCount();
    const int m_conditions = camera_host::LiveConditionCount();
};

// A handshake as a node's flush uses it: a flag guarded by the mutex, and the condition.
TEST_F(OsUtilsTest, TimedWaitTimesOutOrReturnsWhenSignalled) {
    Mutex* pMutex = Mutex::Create("HandshakeLock");
    Condition* pCondition = Condition::Create("HandshakeDone");
    bool done = false;
    pMutex->Lock();
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(pCondition->TimedWait(pMutex->GetNativeHandle(), 30), LumResultETimeout);
    EXPECT_GE(MillisecondsSince(start), 30);
    EXPECT_EQ(pCondition->TimedWait(pMutex->GetNativeHandle(), 0), LumResultETimeout);

    // The signaller needs the mutex, so it can only signal while the wait below releases it.
    std::thread signaller([&] {
        pMutex->Lock();
        done = true;
        pCondition->Signal();
        pMutex->Unlock();
    });
    start = std::chrono::steady_clock::now();
    while (!done) {
        // The 999 ms part carries into the deadline's seconds most of the time; a malformed
        // deadline would fail at once instead of waiting.
        ASSERT_EQ(pCondition->TimedWait(pMutex->GetNativeHandle(), 20999), LumResultSuccess);
    }
    EXPECT_LT(MillisecondsSince(start), 20000);
    pMutex->Unlock();
    signaller.join();
    pCondition->Destroy();
    pMutex->Destroy();

    const uint64_t before = OsUtils::GetNanoTime();
    OsUtils::SleepMicroseconds(20000);
    EXPECT_GE(OsUtils::GetNanoTime() - before, 20000000u);
}

// Threads made and joined from several threads at once get distinct ids and are all released;
// an id is joined once.
TEST_F(OsUtilsTest, ThreadsRunAndAreJoinedOnceById) {
    std::vector<std::vector<Pavo::OSThreadHandle>> ids(4);
    std::vector<std::thread> creators;
    for (auto& list : ids) {
        creators.emplace_back([&list] {
            for (int i = 0; i < 50; ++i) {
                int value = 0;
                Pavo::OSThreadHandle id = 0;
                ASSERT_EQ(OsUtils::ThreadCreate(Increment, &value, &id), LumResultSuccess);
                ASSERT_EQ(OsUtils::ThreadWait(id), LumResultSuccess);
                EXPECT_EQ(value, 1);
                list.push_back(id);
            }
        });
    }
    std::set<Pavo::OSThreadHandle> unique;
    for (size_t c = 0; c < creators.size(); ++c) {
        creators[c].join();
        unique.insert(ids[c].begin(), ids[c].end());
    }
    EXPECT_EQ(unique.size(), 200u);
    EXPECT_EQ(unique.count(0), 0u);

    int value = 0;
    Pavo::OSThreadHandle id = 0;
    ASSERT_EQ(OsUtils::ThreadCreate(Increment, &value, &id), LumResultSuccess);
    EXPECT_EQ(camera_host::LiveThreadCount(), 1);
    EXPECT_EQ(OsUtils::ThreadWait(id), LumResultSuccess);
    EXPECT_EQ(OsUtils::ThreadWait(id), LumResultEInvalidArg) << "already joined";
    EXPECT_EQ(OsUtils::ThreadWait(0), LumResultEInvalidArg);
    EXPECT_EQ(OsUtils::ThreadCreate(nullptr, nullptr, &id), LumResultEInvalidPointer);
}

}  // namespace
