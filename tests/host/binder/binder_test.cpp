// Tests of local binders (reference counts, classes, weak handles, identity order, dump,
// extensions, transactions) and of the service registry, host counters and thread pool.
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "test_support.h"

namespace {

using binder_test::Counted;

TEST(BinderRefs, NewAdoptCopyAndDestroy) {
    int args = 0;
    const int liveBefore = Counted::live();
    AIBinder* raw = AIBinder_new(Counted::clazz(), &args);
    ASSERT_NE(raw, nullptr);
    EXPECT_EQ(Counted::live(), liveBefore + 1);
    EXPECT_TRUE(AIBinder_getUserData(raw) == &args && AIBinder_getClass(raw) == Counted::clazz());
    EXPECT_FALSE(AIBinder_isRemote(raw));
    {
        ndk::SpAIBinder owner(raw);  // adopts the +1
        EXPECT_EQ(AIBinder_debugGetRefCount(raw), 1);
        ndk::SpAIBinder copy = owner;
        // No move constructor: a "move" copies, so the count goes up, never sideways.
        ndk::SpAIBinder moved(std::move(copy));
        EXPECT_EQ(AIBinder_debugGetRefCount(raw), 3);
        // A different class object is refused even with the same descriptor.
        const AIBinder_Class* twin = AIBinder_Class_define("test.Counted", Counted::onCreate,
                                                           Counted::onDestroy, Counted::onTransact);
        EXPECT_TRUE(AIBinder_associateClass(raw, Counted::clazz()));
        EXPECT_FALSE(AIBinder_associateClass(raw, twin));
    }
    EXPECT_EQ(Counted::live(), liveBefore);
    EXPECT_EQ(AIBinder_new(nullptr, nullptr), nullptr);
    EXPECT_EQ(AIBinder_debugGetRefCount(nullptr), -1);
    AIBinder_incStrong(nullptr);
    AIBinder_decStrong(nullptr);  // logged, ignored
}

TEST(BinderWeak, PromoteOnlyWhileAliveAndOrderLikeTheBinders) {
    AIBinder* raw = AIBinder_new(Counted::clazz(), nullptr);
    ndk::ScopedAIBinder_Weak weak(AIBinder_Weak_new(raw));
    ndk::ScopedAIBinder_Weak clone(AIBinder_Weak_clone(weak.get()));
    EXPECT_EQ(AIBinder_debugGetRefCount(raw), 1);  // weak handles hold nothing
    EXPECT_EQ(weak.promote().get(), raw);
    AIBinder_decStrong(raw);
    EXPECT_EQ(weak.promote().get(), nullptr);
    EXPECT_EQ(clone.promote().get(), nullptr);
    EXPECT_EQ(AIBinder_Weak_promote(nullptr), nullptr);

    // Addresses of dead binders are reused; identities must stay distinct, and the weak order
    // is the binders' order.
    std::vector<ndk::SpAIBinder> alive;
    std::vector<ndk::ScopedAIBinder_Weak> weaks;
    for (int i = 0; i < 8; ++i) {
        ndk::SpAIBinder binder(AIBinder_new(Counted::clazz(), nullptr));
        weaks.emplace_back(AIBinder_Weak_new(binder.get()));
        if (i < 2) alive.push_back(binder);
    }
    for (size_t i = 0; i < weaks.size(); ++i) {
        for (size_t j = 0; j < weaks.size(); ++j) {
            EXPECT_EQ(AIBinder_Weak_lt(weaks[i].get(), weaks[j].get()) ||
                          AIBinder_Weak_lt(weaks[j].get(), weaks[i].get()),
                      i != j)
                << i << " vs " << j;
        }
    }
    AIBinder* a = alive[0].get();
    AIBinder* b = alive[1].get();
    EXPECT_NE(AIBinder_lt(a, b), AIBinder_lt(b, a));
    EXPECT_EQ(AIBinder_lt(a, b), AIBinder_Weak_lt(weaks[0].get(), weaks[1].get()));
    EXPECT_TRUE(!AIBinder_lt(a, a) && AIBinder_lt(nullptr, a) && !AIBinder_lt(a, nullptr));
    EXPECT_TRUE(AIBinder_Weak_lt(nullptr, weaks[0].get()));
}

binder_status_t dumpHook(AIBinder*, int fd, const char** args, uint32_t numArgs) {
    // An unpruned value when asked to.
    if (numArgs == 1 && std::string(args[0]) == "odd") return -9999;
    return fd == 7 ? STATUS_OK : STATUS_BAD_VALUE;
}

TEST(BinderBasics, PingDumpAndExtension) {
    AIBinder_Class* clazz = AIBinder_Class_define("test.Dump", Counted::onCreate,
                                                  Counted::onDestroy, Counted::onTransact);
    ndk::SpAIBinder binder(AIBinder_new(clazz, nullptr));
    EXPECT_EQ(AIBinder_dump(binder.get(), 3, nullptr, 0), STATUS_OK);  // no hook yet
    AIBinder_Class_setOnDump(clazz, dumpHook);
    EXPECT_EQ(AIBinder_dump(binder.get(), 7, nullptr, 0), STATUS_OK);
    EXPECT_EQ(AIBinder_dump(binder.get(), 3, nullptr, 0), STATUS_BAD_VALUE);
    const char* odd[] = {"odd"};
    EXPECT_EQ(AIBinder_dump(binder.get(), 7, odd, 1), STATUS_UNKNOWN_ERROR);
    EXPECT_EQ(AIBinder_dump(nullptr, 7, nullptr, 0), STATUS_UNEXPECTED_NULL);
    EXPECT_TRUE(AIBinder_isAlive(binder.get()) && !AIBinder_isAlive(nullptr));
    EXPECT_EQ(AIBinder_ping(binder.get()), STATUS_OK);
    EXPECT_EQ(AIBinder_ping(nullptr), STATUS_UNEXPECTED_NULL);
    EXPECT_EQ(AIBinder_getCallingUid(), getuid());

    // The extension holds a reference of its own, released with the binder.
    ndk::SpAIBinder ext(AIBinder_new(Counted::clazz(), nullptr));
    ndk::SpAIBinder got;
    EXPECT_TRUE(AIBinder_getExtension(binder.get(), got.getR()) == STATUS_OK && !got.get());
    EXPECT_EQ(AIBinder_setExtension(binder.get(), ext.get()), STATUS_OK);
    EXPECT_EQ(AIBinder_debugGetRefCount(ext.get()), 2);
    EXPECT_EQ(AIBinder_getExtension(binder.get(), got.getR()), STATUS_OK);
    EXPECT_EQ(got.get(), ext.get());
    EXPECT_EQ(AIBinder_debugGetRefCount(ext.get()), 3);
    binder.set(nullptr);
    EXPECT_EQ(AIBinder_debugGetRefCount(ext.get()), 2);
    EXPECT_EQ(AIBinder_setExtension(nullptr, ext.get()), STATUS_UNEXPECTED_NULL);
}

// A stub that echoes an int32 plus one, behind the interface token check.
binder_status_t echoTransact(AIBinder*, transaction_code_t code, const AParcel* in, AParcel* out) {
    if (code != FIRST_CALL_TRANSACTION) return STATUS_UNKNOWN_TRANSACTION;
    int32_t value = 0;
    binder_status_t status = AParcel_readInt32(in, &value);
    if (status != STATUS_OK) return status;
    return AParcel_writeInt32(out, value + 1);
}

TEST(BinderTransact, LocalDispatchTokenAndArgumentChecks) {
    static AIBinder_Class* clazz =
        AIBinder_Class_define("test.Echo", Counted::onCreate, Counted::onDestroy, echoTransact);
    ndk::SpAIBinder binder(AIBinder_new(clazz, nullptr));
    ndk::ScopedAParcel in;
    ndk::ScopedAParcel out;
    ASSERT_EQ(AIBinder_prepareTransaction(binder.get(), in.getR()), STATUS_OK);
    ASSERT_EQ(AParcel_writeInt32(in.get(), 41), STATUS_OK);
    ASSERT_EQ(AIBinder_transact(binder.get(), FIRST_CALL_TRANSACTION, in.getR(), out.getR(), 0),
              STATUS_OK);
    EXPECT_EQ(in.get(), nullptr);  // consumed
    int32_t reply = 0;
    EXPECT_TRUE(AParcel_readInt32(out.get(), &reply) == STATUS_OK && reply == 42);
    out.set(nullptr);  // getR() below would overwrite it without releasing

    // Check order: code range, then flags, then NULLs, then the parcel's binder, then the token;
    // the stub's own error comes back pruned, with no reply parcel.
    enum Parcel { kPrepared, kForeign, kOtherToken };
    struct Case {
        transaction_code_t code;
        binder_flags_t flags;
        bool nullOut;
        Parcel parcel;
        binder_status_t expected;
    } cases[] = {
        {FIRST_CALL_TRANSACTION + 1, FLAG_ONEWAY, false, kPrepared, STATUS_UNKNOWN_TRANSACTION},
        {0, 0, false, kPrepared, STATUS_UNKNOWN_TRANSACTION},
        {LAST_CALL_TRANSACTION + 1, 0x4, true, kPrepared, STATUS_UNKNOWN_TRANSACTION},
        {FIRST_CALL_TRANSACTION, 0x4, true, kPrepared, STATUS_BAD_VALUE},
        {FIRST_CALL_TRANSACTION, 0, true, kPrepared, STATUS_UNEXPECTED_NULL},
        {FIRST_CALL_TRANSACTION, 0, false, kForeign, STATUS_BAD_VALUE},
        {FIRST_CALL_TRANSACTION, 0, false, kOtherToken, STATUS_BAD_TYPE},
    };
    for (const Case& c : cases) {
        if (c.parcel == kForeign) {
            in.set(AParcel_create());
        } else {
            ASSERT_EQ(AIBinder_prepareTransaction(binder.get(), in.getR()), STATUS_OK);
        }
        if (c.parcel == kOtherToken) {
            // Another descriptor of the same length in place of the token.
            ASSERT_EQ(AParcel_setDataPosition(in.get(), 0), STATUS_OK);
            ASSERT_EQ(AParcel_writeString(in.get(), "test.Ech0", 9), STATUS_OK);
        }
        AParcel_writeInt32(in.get(), 1);
        AParcel** outArg = c.nullOut ? nullptr : out.getR();
        EXPECT_EQ(AIBinder_transact(binder.get(), c.code, in.getR(), outArg, c.flags), c.expected)
            << "code " << c.code << " flags " << c.flags;
        EXPECT_TRUE(in.get() == nullptr && out.get() == nullptr);
    }
    EXPECT_EQ(AIBinder_transact(binder.get(), FIRST_CALL_TRANSACTION, nullptr, out.getR(), 0),
              STATUS_UNEXPECTED_NULL);
    EXPECT_EQ(AIBinder_prepareTransaction(nullptr, in.getR()), STATUS_UNEXPECTED_NULL);
}

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
