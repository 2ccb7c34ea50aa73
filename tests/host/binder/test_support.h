// Helpers shared by the host binder tests: descriptor counting, waiting for a condition, and a
// minimal counted binder class.
#pragma once

#include <android/binder_ibinder.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "descriptors.h"

namespace binder_test {

// The process's open descriptors, by the counter every test area shares.
inline int openFdCount() {
    return testsupport::OpenDescriptorCount();
}

// Polls condition for up to two seconds.
template <typename Condition>
bool waitFor(const Condition& condition) {
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(2);
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

}  // namespace binder_test
