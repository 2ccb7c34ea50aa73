// Tests of local binders: classes, reference counts, weak handles, identity order, dump and
// transactions.
#include <android/binder_auto_utils.h>
#include <android/binder_ibinder.h>
#include <android/binder_parcel.h>
#include <gtest/gtest.h>

#include <atomic>
#include <set>
#include <thread>
#include <vector>

#include "test_support.h"

namespace {

using binder_test::Counted;

TEST(BinderClass, DefineRequiresEveryArgument) {
    EXPECT_EQ(
        AIBinder_Class_define(nullptr, Counted::onCreate, Counted::onDestroy, Counted::onTransact),
        nullptr);
    EXPECT_EQ(AIBinder_Class_define("x", nullptr, Counted::onDestroy, Counted::onTransact),
              nullptr);
    EXPECT_EQ(AIBinder_Class_define("x", Counted::onCreate, nullptr, Counted::onTransact), nullptr);
    EXPECT_EQ(AIBinder_Class_define("x", Counted::onCreate, Counted::onDestroy, nullptr), nullptr);
    std::string descriptor = "test.Copied";
    AIBinder_Class* clazz = AIBinder_Class_define(descriptor.c_str(), Counted::onCreate,
                                                  Counted::onDestroy, Counted::onTransact);
    descriptor = "changed";
    EXPECT_STREQ(AIBinder_Class_getDescriptor(clazz), "test.Copied");
    EXPECT_EQ(AIBinder_new(nullptr, nullptr), nullptr);
}

TEST(BinderRefs, NewAdoptCopyAndDestroy) {
    int args = 0;
    const int liveBefore = Counted::live();
    AIBinder* raw = AIBinder_new(Counted::clazz(), &args);
    ASSERT_NE(raw, nullptr);
    EXPECT_EQ(Counted::live(), liveBefore + 1);
    EXPECT_EQ(AIBinder_getUserData(raw), &args);
    EXPECT_EQ(AIBinder_getClass(raw), Counted::clazz());
    EXPECT_FALSE(AIBinder_isRemote(raw));
    EXPECT_EQ(AIBinder_debugGetRefCount(raw), 1);
    {
        ndk::SpAIBinder owner(raw);  // adopts the +1
        EXPECT_EQ(AIBinder_debugGetRefCount(raw), 1);
        ndk::SpAIBinder copy = owner;
        EXPECT_EQ(AIBinder_debugGetRefCount(raw), 2);
        // No move constructor: a "move" copies, so the count goes up, never sideways.
        ndk::SpAIBinder moved(std::move(copy));
        EXPECT_EQ(AIBinder_debugGetRefCount(raw), 3);
        EXPECT_EQ(copy.get(), raw);
        ndk::SpAIBinder& alias = copy;
        copy = alias;  // self-assignment keeps the reference
        EXPECT_EQ(AIBinder_debugGetRefCount(raw), 3);
        EXPECT_TRUE(moved == owner);
        EXPECT_TRUE(raw == owner);
    }
    EXPECT_EQ(Counted::live(), liveBefore);
    EXPECT_EQ(AIBinder_debugGetRefCount(nullptr), -1);
    AIBinder_incStrong(nullptr);
    AIBinder_decStrong(nullptr);  // logged, ignored
}

TEST(BinderRefs, AssociateClassAndDescriptorQueries) {
    ndk::SpAIBinder binder(AIBinder_new(Counted::clazz(), nullptr));
    EXPECT_TRUE(AIBinder_associateClass(binder.get(), Counted::clazz()));
    // A different class object is refused even with the same descriptor.
    const AIBinder_Class* twin = AIBinder_Class_define("test.Counted", Counted::onCreate,
                                                       Counted::onDestroy, Counted::onTransact);
    EXPECT_FALSE(AIBinder_associateClass(binder.get(), twin));
    EXPECT_EQ(AIBinder_getClass(binder.get()), Counted::clazz());
    EXPECT_FALSE(AIBinder_associateClass(nullptr, Counted::clazz()));
    EXPECT_FALSE(AIBinder_associateClass(binder.get(), nullptr));
    EXPECT_EQ(AIBinder_getClass(nullptr), nullptr);
    EXPECT_EQ(AIBinder_getUserData(nullptr), nullptr);
}

TEST(BinderWeak, PromoteOnlyWhileAlive) {
    AIBinder* raw = AIBinder_new(Counted::clazz(), nullptr);
    ndk::ScopedAIBinder_Weak weak(AIBinder_Weak_new(raw));
    ndk::ScopedAIBinder_Weak clone(AIBinder_Weak_clone(weak.get()));
    EXPECT_EQ(AIBinder_debugGetRefCount(raw), 1);  // weak handles hold nothing
    {
        ndk::SpAIBinder promoted = weak.promote();
        EXPECT_EQ(promoted.get(), raw);
        EXPECT_EQ(AIBinder_debugGetRefCount(raw), 2);
    }
    AIBinder_decStrong(raw);
    EXPECT_EQ(weak.promote().get(), nullptr);
    EXPECT_EQ(clone.promote().get(), nullptr);
    EXPECT_EQ(AIBinder_Weak_new(nullptr), nullptr);
    EXPECT_EQ(AIBinder_Weak_promote(nullptr), nullptr);
    EXPECT_EQ(AIBinder_Weak_clone(nullptr), nullptr);
}

TEST(BinderWeak, OrderSeparatesDeadAndNewObjects) {
    // The same address may be reused by a new binder; identities must stay distinct.
    std::vector<ndk::ScopedAIBinder_Weak> weaks;
    for (int i = 0; i < 8; ++i) {
        ndk::SpAIBinder binder(AIBinder_new(Counted::clazz(), nullptr));
        weaks.emplace_back(AIBinder_Weak_new(binder.get()));
    }
    for (size_t i = 0; i < weaks.size(); ++i) {
        for (size_t j = 0; j < weaks.size(); ++j) {
            bool lt = AIBinder_Weak_lt(weaks[i].get(), weaks[j].get());
            bool gt = AIBinder_Weak_lt(weaks[j].get(), weaks[i].get());
            EXPECT_EQ(lt || gt, i != j) << i << " vs " << j;
        }
    }
    EXPECT_TRUE(AIBinder_Weak_lt(nullptr, weaks[0].get()));
    EXPECT_FALSE(AIBinder_Weak_lt(weaks[0].get(), nullptr));
    EXPECT_FALSE(AIBinder_Weak_lt(nullptr, nullptr));
}

TEST(BinderWeak, OrderMatchesBinderOrder) {
    ndk::SpAIBinder a(AIBinder_new(Counted::clazz(), nullptr));
    ndk::SpAIBinder b(AIBinder_new(Counted::clazz(), nullptr));
    ndk::ScopedAIBinder_Weak wa(AIBinder_Weak_new(a.get()));
    ndk::ScopedAIBinder_Weak wb(AIBinder_Weak_new(b.get()));
    EXPECT_NE(AIBinder_lt(a.get(), b.get()), AIBinder_lt(b.get(), a.get()));
    EXPECT_EQ(AIBinder_lt(a.get(), b.get()), AIBinder_Weak_lt(wa.get(), wb.get()));
    EXPECT_FALSE(AIBinder_lt(a.get(), a.get()));
    EXPECT_TRUE(AIBinder_lt(nullptr, a.get()));
    EXPECT_FALSE(AIBinder_lt(a.get(), nullptr));
}

TEST(BinderWeak, ConcurrentPromoteAndRelease) {
    // Promotion racing with the last release either wins a reference or sees NULL, never a
    // destroyed object (checked by the sanitizer builds).
    for (int round = 0; round < 200; ++round) {
        AIBinder* raw = AIBinder_new(Counted::clazz(), nullptr);
        AIBinder_Weak* weak = AIBinder_Weak_new(raw);
        std::atomic<bool> go{false};
        std::thread promoter([&]() {
            while (!go.load()) {
            }
            for (int i = 0; i < 20; ++i) {
                if (AIBinder* strong = AIBinder_Weak_promote(weak)) {
                    AIBinder_decStrong(strong);
                }
            }
        });
        go.store(true);
        AIBinder_decStrong(raw);
        promoter.join();
        EXPECT_EQ(AIBinder_Weak_promote(weak), nullptr);
        AIBinder_Weak_delete(weak);
    }
}

binder_status_t dumpHook(AIBinder*, int fd, const char** args, uint32_t numArgs) {
    // Reports through the return value: an unpruned value when asked to.
    if (numArgs == 1 && std::string(args[0]) == "odd") {
        return -9999;
    }
    return fd == 7 ? STATUS_OK : STATUS_BAD_VALUE;
}

TEST(BinderBasics, PingAliveAndDump) {
    AIBinder_Class* clazz = AIBinder_Class_define("test.Dump", Counted::onCreate,
                                                  Counted::onDestroy, Counted::onTransact);
    ndk::SpAIBinder plain(AIBinder_new(clazz, nullptr));
    EXPECT_EQ(AIBinder_dump(plain.get(), 7, nullptr, 0), STATUS_OK);  // no hook yet
    AIBinder_Class_setOnDump(clazz, dumpHook);
    EXPECT_EQ(AIBinder_dump(plain.get(), 7, nullptr, 0), STATUS_OK);
    EXPECT_EQ(AIBinder_dump(plain.get(), 3, nullptr, 0), STATUS_BAD_VALUE);
    const char* odd[] = {"odd"};
    EXPECT_EQ(AIBinder_dump(plain.get(), 7, odd, 1), STATUS_UNKNOWN_ERROR);
    EXPECT_EQ(AIBinder_dump(nullptr, 7, nullptr, 0), STATUS_UNEXPECTED_NULL);

    EXPECT_TRUE(AIBinder_isAlive(plain.get()));
    EXPECT_FALSE(AIBinder_isAlive(nullptr));
    EXPECT_EQ(AIBinder_ping(plain.get()), STATUS_OK);
    EXPECT_EQ(AIBinder_ping(nullptr), STATUS_UNEXPECTED_NULL);
    EXPECT_EQ(AIBinder_getCallingPid(), getpid());
    EXPECT_EQ(AIBinder_getCallingUid(), getuid());
}

TEST(BinderBasics, ExtensionHoldsAReference) {
    ndk::SpAIBinder binder(AIBinder_new(Counted::clazz(), nullptr));
    ndk::SpAIBinder ext(AIBinder_new(Counted::clazz(), nullptr));
    ndk::SpAIBinder got;
    EXPECT_EQ(AIBinder_getExtension(binder.get(), got.getR()), STATUS_OK);
    EXPECT_EQ(got.get(), nullptr);
    EXPECT_EQ(AIBinder_setExtension(binder.get(), ext.get()), STATUS_OK);
    EXPECT_EQ(AIBinder_debugGetRefCount(ext.get()), 2);
    EXPECT_EQ(AIBinder_getExtension(binder.get(), got.getR()), STATUS_OK);
    EXPECT_EQ(got.get(), ext.get());
    EXPECT_EQ(AIBinder_debugGetRefCount(ext.get()), 3);
    binder.set(nullptr);  // releases the extension's reference too
    EXPECT_EQ(AIBinder_debugGetRefCount(ext.get()), 2);
    EXPECT_EQ(AIBinder_setExtension(nullptr, ext.get()), STATUS_UNEXPECTED_NULL);
}

// A stub that echoes an int32 plus one, behind the interface token check.
binder_status_t echoTransact(AIBinder*, transaction_code_t code, const AParcel* in, AParcel* out) {
    if (code != FIRST_CALL_TRANSACTION) {
        return STATUS_UNKNOWN_TRANSACTION;
    }
    int32_t value = 0;
    binder_status_t status = AParcel_readInt32(in, &value);
    if (status != STATUS_OK) return status;
    return AParcel_writeInt32(out, value + 1);
}

TEST(BinderTransact, LocalDispatchAndArgumentChecks) {
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
    EXPECT_EQ(AParcel_readInt32(out.get(), &reply), STATUS_OK);
    EXPECT_EQ(reply, 42);
    out.set(nullptr);  // getR() below would overwrite it without releasing

    // The stub's own error comes back pruned, with no reply parcel.
    ASSERT_EQ(AIBinder_prepareTransaction(binder.get(), in.getR()), STATUS_OK);
    EXPECT_EQ(AIBinder_transact(binder.get(), FIRST_CALL_TRANSACTION + 1, in.getR(), out.getR(),
                                FLAG_ONEWAY),
              STATUS_UNKNOWN_TRANSACTION);
    EXPECT_EQ(out.get(), nullptr);

    // Check order: code range, then flags, then NULLs, then the parcel's binder.
    struct Case {
        transaction_code_t code;
        binder_flags_t flags;
        bool nullOut;
        bool foreignParcel;
        binder_status_t expected;
    } cases[] = {
        {0, 0, false, false, STATUS_UNKNOWN_TRANSACTION},
        {LAST_CALL_TRANSACTION + 1, 0x4, true, false, STATUS_UNKNOWN_TRANSACTION},
        {FIRST_CALL_TRANSACTION, 0x4, true, false, STATUS_BAD_VALUE},
        {FIRST_CALL_TRANSACTION, 0, true, false, STATUS_UNEXPECTED_NULL},
        {FIRST_CALL_TRANSACTION, 0, false, true, STATUS_BAD_VALUE},
    };
    for (const Case& c : cases) {
        if (c.foreignParcel) {
            in.set(AParcel_create());
        } else {
            ASSERT_EQ(AIBinder_prepareTransaction(binder.get(), in.getR()), STATUS_OK);
        }
        AParcel** outArg = c.nullOut ? nullptr : out.getR();
        EXPECT_EQ(AIBinder_transact(binder.get(), c.code, in.getR(), outArg, c.flags), c.expected)
            << "code " << c.code << " flags " << c.flags;
        EXPECT_EQ(in.get(), nullptr);
    }
    EXPECT_EQ(AIBinder_transact(binder.get(), FIRST_CALL_TRANSACTION, nullptr, out.getR(), 0),
              STATUS_UNEXPECTED_NULL);
    EXPECT_EQ(AIBinder_prepareTransaction(nullptr, in.getR()), STATUS_UNEXPECTED_NULL);
}

TEST(BinderTransact, InterfaceTokenMismatchIsBadType) {
    static AIBinder_Class* echo =
        AIBinder_Class_define("test.Echo2", Counted::onCreate, Counted::onDestroy, echoTransact);
    ndk::SpAIBinder binder(AIBinder_new(echo, nullptr));
    ndk::ScopedAParcel in;
    ndk::ScopedAParcel out;
    ASSERT_EQ(AIBinder_prepareTransaction(binder.get(), in.getR()), STATUS_OK);
    // Overwrite the token with another descriptor of the same length.
    ASSERT_EQ(AParcel_setDataPosition(in.get(), 0), STATUS_OK);
    ASSERT_EQ(AParcel_writeString(in.get(), "test.Echo3", 10), STATUS_OK);
    ASSERT_EQ(AParcel_writeInt32(in.get(), 1), STATUS_OK);
    EXPECT_EQ(AIBinder_transact(binder.get(), FIRST_CALL_TRANSACTION, in.getR(), out.getR(), 0),
              STATUS_BAD_TYPE);
}

}  // namespace
