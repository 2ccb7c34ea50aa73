// Tests of death recipients: linking, unlinking, recipient deletion and death delivery on the
// pool after a host-declared death.
#include <android/binder_auto_utils.h>
#include <android/binder_ibinder.h>
#include <android/binder_manager.h>
#include <android/binder_process.h>
#include <binder_host/binder_host.h>
#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "test_support.h"

namespace {

using binder_test::Counted;

struct Event {
    std::string kind;  // "died" or "unlinked"
    void* cookie;
    bool onPoolThread;
};

// Records every callback of the recipients made by newRecipient.
struct Recorder {
    std::mutex mutex;
    std::vector<Event> events;

    static Recorder& get() {
        static Recorder recorder;
        return recorder;
    }
    void add(const char* kind, void* cookie) {
        std::lock_guard<std::mutex> lock(mutex);
        events.push_back({kind, cookie, ABinderHost_isPoolThread()});
    }
    std::vector<Event> take() {
        std::lock_guard<std::mutex> lock(mutex);
        return std::move(events);
    }
    // The kinds of the events since the last take, in order.
    std::string kinds() {
        std::string out;
        for (const Event& event : take()) out += (out.empty() ? "" : " ") + event.kind;
        return out;
    }
    static void onDied(void* cookie) { get().add("died", cookie); }
    static void onUnlinked(void* cookie) { get().add("unlinked", cookie); }
};

ndk::ScopedAIBinder_DeathRecipient newRecipient() {
    ndk::ScopedAIBinder_DeathRecipient recipient(AIBinder_DeathRecipient_new(Recorder::onDied));
    AIBinder_DeathRecipient_setOnUnlinked(recipient.get(), Recorder::onUnlinked);
    return recipient;
}

class DeathTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ABinderProcess_startThreadPool();
        Recorder::get().take();
        service_ = ndk::SpAIBinder(AIBinder_new(Counted::clazz(), nullptr));
        ASSERT_EQ(AServiceManager_addService(service_.get(), kInstance), EX_NONE);
    }
    void TearDown() override {
        ASSERT_EQ(ABinderHost_flushPool(), STATUS_OK);
        ABinderHost_resetForTesting();
    }
    std::string declareDeadAndFlush() {
        EXPECT_EQ(ABinderHost_declareDead(kInstance), STATUS_OK);
        EXPECT_EQ(ABinderHost_flushPool(), STATUS_OK);
        return Recorder::get().kinds();
    }

    static constexpr const char* kInstance = "test.death/default";
    ndk::SpAIBinder service_;
    int cookieA_ = 0;
    int cookieB_ = 0;
};

TEST_F(DeathTest, DeclareDeadDeliversEachLinkOnceOnPoolThread) {
    auto recipient = newRecipient();
    ASSERT_EQ(AIBinder_linkToDeath(service_.get(), recipient.get(), &cookieA_), STATUS_OK);
    ASSERT_EQ(AIBinder_linkToDeath(service_.get(), recipient.get(), &cookieB_), STATUS_OK);
    ASSERT_EQ(ABinderHost_declareDead(kInstance), STATUS_OK);
    ASSERT_EQ(ABinderHost_flushPool(), STATUS_OK);
    // Per link: onBinderDied, then onUnlinked with the same cookie, both on the pool.
    std::vector<Event> events = Recorder::get().take();
    ASSERT_EQ(events.size(), 4u);
    for (size_t i = 0; i < events.size(); ++i) {
        EXPECT_EQ(events[i].kind, i % 2 == 0 ? "died" : "unlinked");
        EXPECT_EQ(events[i].cookie, events[i & ~size_t{1}].cookie);
        EXPECT_TRUE(events[i].onPoolThread);
    }
    EXPECT_NE(events[0].cookie, events[2].cookie);

    // The binder stays dead and its links are gone.
    EXPECT_FALSE(AIBinder_isAlive(service_.get()));
    EXPECT_TRUE(ABinderHost_isDead(service_.get()));
    EXPECT_EQ(AIBinder_ping(service_.get()), STATUS_DEAD_OBJECT);
    EXPECT_EQ(AIBinder_unlinkToDeath(service_.get(), recipient.get(), &cookieA_),
              STATUS_NAME_NOT_FOUND);
    ndk::ScopedAParcel in;
    ndk::ScopedAParcel out;
    ASSERT_EQ(AIBinder_prepareTransaction(service_.get(), in.getR()), STATUS_OK);
    EXPECT_EQ(AIBinder_transact(service_.get(), FIRST_CALL_TRANSACTION, in.getR(), out.getR(), 0),
              STATUS_DEAD_OBJECT);
    // A dead service is no longer registered; declaring it again finds nothing.
    EXPECT_EQ(ndk::SpAIBinder(AServiceManager_checkService(kInstance)).get(), nullptr);
    EXPECT_EQ(ABinderHost_declareDead(kInstance), STATUS_NAME_NOT_FOUND);
    EXPECT_EQ(ABinderHost_declareBinderDead(service_.get()), STATUS_DEAD_OBJECT);
    ASSERT_EQ(ABinderHost_flushPool(), STATUS_OK);
    EXPECT_EQ(Recorder::get().kinds(), "");  // nothing delivered twice

    // A link to a dead binder fails and ends at once, inside linkToDeath itself.
    EXPECT_EQ(AIBinder_linkToDeath(service_.get(), recipient.get(), &cookieA_), STATUS_DEAD_OBJECT);
    events = Recorder::get().take();
    ASSERT_EQ(events.size(), 1u);
    EXPECT_TRUE(events[0].kind == "unlinked" && !events[0].onPoolThread);
}

TEST_F(DeathTest, UnlinkMatchesTheExactLinkAndEndsIt) {
    auto recipient = newRecipient();
    auto other = newRecipient();
    for (AIBinder* binder : {static_cast<AIBinder*>(nullptr), service_.get()}) {
        AIBinder_DeathRecipient* r = binder == nullptr ? recipient.get() : nullptr;
        EXPECT_EQ(AIBinder_linkToDeath(binder, r, nullptr), STATUS_UNEXPECTED_NULL);
        EXPECT_EQ(AIBinder_unlinkToDeath(binder, r, nullptr), STATUS_UNEXPECTED_NULL);
    }

    // The same cookie twice makes two links; only the exact (binder, cookie) pair of the same
    // recipient matches, one link per unlink.
    ASSERT_EQ(AIBinder_linkToDeath(service_.get(), recipient.get(), &cookieA_), STATUS_OK);
    ASSERT_EQ(AIBinder_linkToDeath(service_.get(), recipient.get(), &cookieA_), STATUS_OK);
    ASSERT_EQ(AIBinder_linkToDeath(service_.get(), recipient.get(), &cookieB_), STATUS_OK);
    EXPECT_EQ(AIBinder_unlinkToDeath(service_.get(), other.get(), &cookieA_),
              STATUS_NAME_NOT_FOUND);
    EXPECT_EQ(Recorder::get().kinds(), "");
    EXPECT_EQ(AIBinder_unlinkToDeath(service_.get(), recipient.get(), &cookieB_), STATUS_OK);
    EXPECT_EQ(AIBinder_unlinkToDeath(service_.get(), recipient.get(), &cookieB_),
              STATUS_NAME_NOT_FOUND);
    EXPECT_EQ(AIBinder_unlinkToDeath(service_.get(), recipient.get(), &cookieA_), STATUS_OK);
    EXPECT_EQ(Recorder::get().kinds(), "unlinked unlinked");
    // Unlinked pairs get no death; the one left does.
    EXPECT_EQ(declareDeadAndFlush(), "died unlinked");
}

TEST_F(DeathTest, DeletedRecipientOrDestroyedBinderEndsLinksWithoutDeath) {
    ndk::SpAIBinder second(AIBinder_new(Counted::clazz(), nullptr));
    auto recipient = newRecipient();
    ASSERT_EQ(AIBinder_linkToDeath(service_.get(), recipient.get(), &cookieA_), STATUS_OK);
    ASSERT_EQ(AIBinder_linkToDeath(second.get(), recipient.get(), &cookieB_), STATUS_OK);
    recipient.set(nullptr);
    EXPECT_EQ(Recorder::get().kinds(), "unlinked unlinked");
    ASSERT_EQ(ABinderHost_declareBinderDead(second.get()), STATUS_OK);
    EXPECT_EQ(declareDeadAndFlush(), "");
    AIBinder_DeathRecipient_delete(nullptr);
    EXPECT_EQ(AIBinder_DeathRecipient_new(nullptr), nullptr);

    ndk::SpAIBinder transient(AIBinder_new(Counted::clazz(), nullptr));
    auto another = newRecipient();
    ASSERT_EQ(AIBinder_linkToDeath(transient.get(), another.get(), &cookieA_), STATUS_OK);
    transient.set(nullptr);
    EXPECT_EQ(Recorder::get().kinds(), "unlinked");
}

// A death callback may unlink, link again elsewhere and delete its own recipient.
TEST_F(DeathTest, CallbacksMayUnlinkRelinkAndDeleteThemselves) {
    static ndk::SpAIBinder other;
    static AIBinder* binder = nullptr;
    static AIBinder_DeathRecipient* self = nullptr;
    static binder_status_t unlinkResult = STATUS_OK;
    static binder_status_t relinkResult = STATUS_UNKNOWN_ERROR;
    static std::atomic<int> unlinkedCalls{0};
    other = ndk::SpAIBinder(AIBinder_new(Counted::clazz(), nullptr));
    binder = service_.get();
    self = AIBinder_DeathRecipient_new([](void* cookie) {
        unlinkResult = AIBinder_unlinkToDeath(binder, self, cookie);
        relinkResult = AIBinder_linkToDeath(other.get(), self, cookie);
        AIBinder_DeathRecipient_delete(self);
    });
    AIBinder_DeathRecipient_setOnUnlinked(self, [](void*) { unlinkedCalls++; });
    ASSERT_EQ(AIBinder_linkToDeath(service_.get(), self, &cookieA_), STATUS_OK);
    EXPECT_EQ(declareDeadAndFlush(), "");
    // The dying link was already removed; the new link was dropped by the delete.
    EXPECT_EQ(unlinkResult, STATUS_NAME_NOT_FOUND);
    EXPECT_EQ(relinkResult, STATUS_OK);
    EXPECT_EQ(unlinkedCalls.load(), 2);
    other.set(nullptr);
}

TEST_F(DeathTest, DeleteWaitsForCallbackRunningElsewhere) {
    // A recipient that blocks in onBinderDied until released.
    static std::mutex mutex;
    static std::condition_variable cv;
    static bool entered = false;
    static bool release = false;
    static std::atomic<bool> finished{false};
    AIBinder_DeathRecipient* recipient = AIBinder_DeathRecipient_new([](void*) {
        std::unique_lock<std::mutex> lock(mutex);
        entered = true;
        cv.notify_all();
        cv.wait(lock, [] { return release; });
        finished = true;
    });
    ASSERT_EQ(AIBinder_linkToDeath(service_.get(), recipient, nullptr), STATUS_OK);
    ASSERT_EQ(ABinderHost_declareDead(kInstance), STATUS_OK);
    {
        std::unique_lock<std::mutex> lock(mutex);
        cv.wait(lock, [] { return entered; });
    }
    std::thread deleter([&]() {
        AIBinder_DeathRecipient_delete(recipient);
        EXPECT_TRUE(finished.load()) << "delete returned while the callback ran";
    });
    {
        std::lock_guard<std::mutex> lock(mutex);
        release = true;
    }
    cv.notify_all();
    deleter.join();
}

TEST(DeathBeforePoolStart, DeliveredOnceThePoolStarts) {
    // Needs a process whose pool has never started.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            if (ABinderProcess_isThreadPoolStarted()) _exit(2);
            ndk::SpAIBinder binder(AIBinder_new(Counted::clazz(), nullptr));
            auto recipient = newRecipient();
            int cookie = 0;
            if (AIBinder_linkToDeath(binder.get(), recipient.get(), &cookie) != STATUS_OK ||
                ABinderHost_declareBinderDead(binder.get()) != STATUS_OK) {
                _exit(3);
            }
            if (ABinderHost_flushPool() != STATUS_WOULD_BLOCK || !Recorder::get().take().empty()) {
                _exit(4);
            }
            ABinderProcess_startThreadPool();
            if (ABinderHost_flushPool() != STATUS_OK) _exit(5);
            std::vector<Event> events = Recorder::get().take();
            bool ok = events.size() == 2 && events[0].kind == "died" && events[0].onPoolThread;
            _exit(ok ? 0 : 6);
        },
        ::testing::ExitedWithCode(0), "");
}

}  // namespace
