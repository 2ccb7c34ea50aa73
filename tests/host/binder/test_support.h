// Helpers shared by the host binder tests: descriptor counting, waiting for a condition, a
// minimal counted binder class and a fixture for tests that use the thread pool.
#pragma once

#include <android/binder_auto_utils.h>
#include <android/binder_ibinder.h>
#include <android/binder_manager.h>
#include <android/binder_process.h>
#include <binder_host/binder_host.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "descriptors.h"

namespace binder_test {

// The process's open descriptors, by the counter every test area shares.
inline int openFdCount() {
    return testsupport::OpenDescriptorCount();
}

// Polls condition for up to `seconds`.
template <typename Condition>
bool waitFor(const Condition& condition, int seconds = 2) {
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

// A binder class whose user data counts live instances.
struct Counted {
    static std::atomic<int>& live() {
        static std::atomic<int> count{0};
        return count;
    }
    static void* onCreate(void* args) {
        live()++;
        return args;
    }
    static void onDestroy(void*) { live()--; }
    static binder_status_t onTransact(AIBinder*, transaction_code_t, const AParcel*, AParcel*) {
        return STATUS_OK;
    }
    static const AIBinder_Class* clazz() {
        static const AIBinder_Class* c =
            AIBinder_Class_define("test.Counted", onCreate, onDestroy, onTransact);
        return c;
    }
};

// Starts the pool for each test; drains it and resets the host state after.
class PoolTest : public ::testing::Test {
  protected:
    void SetUp() override { ABinderProcess_startThreadPool(); }
    void TearDown() override {
        ASSERT_EQ(ABinderHost_flushPool(), STATUS_OK);
        ABinderHost_resetForTesting();
    }
    // A new Counted object, registered under instance.
    static ndk::SpAIBinder publish(const char* instance) {
        ndk::SpAIBinder service(AIBinder_new(Counted::clazz(), nullptr));
        EXPECT_EQ(AServiceManager_addService(service.get(), instance), EX_NONE);
        return service;
    }
};

}  // namespace binder_test
