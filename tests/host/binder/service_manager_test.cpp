// Tests of the service registry, lookups, host counters and the process thread pool.
#include <android/binder_auto_utils.h>
#include <android/binder_manager.h>
#include <android/binder_process.h>
#include <binder_host/binder_host.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "test_support.h"

namespace {

using binder_test::Counted;

class ServiceManagerTest : public ::testing::Test {
  protected:
    void SetUp() override { ABinderHost_resetForTesting(); }
    void TearDown() override { ABinderHost_resetForTesting(); }
};

TEST_F(ServiceManagerTest, RegistryHoldsOneReferenceUntilReplacedRemovedOrReset) {
    const int liveBefore = Counted::live();
    ndk::SpAIBinder service(AIBinder_new(Counted::clazz(), nullptr));
    EXPECT_EQ(AServiceManager_addService(nullptr, "x"), EX_ILLEGAL_ARGUMENT);
    EXPECT_EQ(AServiceManager_addService(service.get(), nullptr), EX_ILLEGAL_ARGUMENT);
    ASSERT_EQ(AServiceManager_addService(service.get(), "test.sm/a"), EX_NONE);
    EXPECT_EQ(AIBinder_debugGetRefCount(service.get()), 2);
    AIBinder* found = AServiceManager_checkService("test.sm/a");
    EXPECT_EQ(found, service.get());
    EXPECT_EQ(AIBinder_debugGetRefCount(service.get()), 3);  // the caller's +1
    AIBinder_decStrong(found);
    EXPECT_EQ(AServiceManager_checkService("test.sm/missing"), nullptr);
    EXPECT_EQ(AServiceManager_checkService(nullptr), nullptr);
    EXPECT_EQ(ABinderHost_getCheckServiceCount(), 3u);
    EXPECT_TRUE(AServiceManager_isDeclared("test.sm/a"));
    EXPECT_FALSE(AServiceManager_isDeclared("test.sm/missing") ||
                 AServiceManager_isDeclared(nullptr));

    service.set(nullptr);
    EXPECT_EQ(Counted::live(), liveBefore + 1);  // kept alive by the registry
    {
        ndk::SpAIBinder second(AIBinder_new(Counted::clazz(), nullptr));
        ASSERT_EQ(AServiceManager_addService(second.get(), "test.sm/a"), EX_NONE);
    }
    EXPECT_EQ(Counted::live(), liveBefore + 1);  // the first one was released
    EXPECT_EQ(ABinderHost_removeService("test.sm/a"), STATUS_OK);
    EXPECT_EQ(Counted::live(), liveBefore);
    EXPECT_EQ(ABinderHost_removeService("test.sm/a"), STATUS_NAME_NOT_FOUND);
    EXPECT_EQ(ABinderHost_removeService(nullptr), STATUS_UNEXPECTED_NULL);

    {
        ndk::SpAIBinder third(AIBinder_new(Counted::clazz(), nullptr));
        ASSERT_EQ(AServiceManager_addService(third.get(), "test.sm/a"), EX_NONE);
    }
    ABinderHost_resetForTesting();
    EXPECT_EQ(Counted::live(), liveBefore);
    EXPECT_EQ(ABinderHost_getCheckServiceCount(), 0u);
    EXPECT_EQ(ndk::SpAIBinder(AServiceManager_checkService("test.sm/a")).get(), nullptr);
}

TEST_F(ServiceManagerTest, GetServicePollsAndWaitForServiceBlocksUntilRegistered) {
    ABinderHost_setGetServicePolling(5, 50);
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(AServiceManager_getService("test.sm/absent"), nullptr);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(50));
    EXPECT_EQ(AServiceManager_getService(nullptr), nullptr);
    EXPECT_EQ(AServiceManager_waitForService(nullptr), nullptr);

    // Services registered while a getService polls and a waitForService waits are returned.
    ABinderHost_setGetServicePolling(5, 10000);
    ndk::SpAIBinder polled(AIBinder_new(Counted::clazz(), nullptr));
    ndk::SpAIBinder waited(AIBinder_new(Counted::clazz(), nullptr));
    std::atomic<bool> returned{false};
    std::thread waiter([&]() {
        EXPECT_EQ(ndk::SpAIBinder(AServiceManager_waitForService("test.sm/wait")).get(),
                  waited.get());
        returned = true;
    });
    std::thread registrar([&]() {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        EXPECT_EQ(AServiceManager_addService(polled.get(), "test.sm/late"), EX_NONE);
        EXPECT_FALSE(returned.load());
        EXPECT_EQ(AServiceManager_addService(waited.get(), "test.sm/wait"), EX_NONE);
    });
    EXPECT_EQ(ndk::SpAIBinder(AServiceManager_getService("test.sm/late")).get(), polled.get());
    registrar.join();
    waiter.join();
}

TEST_F(ServiceManagerTest, ThreadPoolStartsOnceAndRunsPostedWork) {
    ABinderProcess_startThreadPool();
    ABinderProcess_startThreadPool();
    EXPECT_TRUE(ABinderProcess_isThreadPoolStarted());
    EXPECT_EQ(ABinderHost_getThreadPoolStartCount(), 1u);
    EXPECT_EQ(ABinderHost_getStartThreadPoolCallCount(), 2u);
    EXPECT_GE(ABinderHost_getPoolThreadCount(), 1u);

    std::atomic<int> ran{0};
    std::atomic<bool> onPool{true};
    std::atomic<binder_status_t> nestedFlush{STATUS_OK};
    // A task blocked until a later one runs must not starve it.
    std::atomic<bool> release{false};
    ndk_host::postToPool([&]() {
        while (!release.load()) std::this_thread::yield();
    });
    for (int i = 0; i < 10; ++i) {
        ndk_host::postToPool([&]() {
            onPool = onPool && ABinderHost_isPoolThread();
            nestedFlush = ABinderHost_flushPool();
            ran++;
            release = true;
        });
    }
    EXPECT_EQ(ABinderHost_flushPool(), STATUS_OK);
    EXPECT_EQ(ran.load(), 10);
    EXPECT_TRUE(onPool.load() && !ABinderHost_isPoolThread());
    EXPECT_EQ(nestedFlush.load(), STATUS_INVALID_OPERATION);  // would wait for itself

    // A reset zeroes the counters; the running pool counts as started by the next call.
    ABinderHost_resetForTesting();
    EXPECT_EQ(ABinderHost_getThreadPoolStartCount(), 0u);
    EXPECT_TRUE(ABinderProcess_isThreadPoolStarted());
    ABinderProcess_startThreadPool();
    EXPECT_EQ(ABinderHost_getThreadPoolStartCount(), 1u);
}

}  // namespace
