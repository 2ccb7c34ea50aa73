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

// Records every callback of the recipients created by the tests below.
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
        std::vector<Event> out;
        out.swap(events);
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
    std::vector<Event> events = Recorder::get().take();
    ASSERT_EQ(events.size(), 4u);
    int died[2] = {0, 0};
    for (size_t i = 0; i < events.size(); ++i) {
        EXPECT_TRUE(events[i].onPoolThread);
        int which = events[i].cookie == &cookieA_ ? 0 : 1;
        if (events[i].kind == "died") {
            ++died[which];
            // onUnlinked follows onBinderDied for the same link.
            ASSERT_LT(i + 1, events.size());
            EXPECT_EQ(events[i + 1].kind, "unlinked");
            EXPECT_EQ(events[i + 1].cookie, events[i].cookie);
            ++i;
        } else {
            ADD_FAILURE() << "onUnlinked before onBinderDied";
        }
    }
    EXPECT_EQ(died[0], 1);
    EXPECT_EQ(died[1], 1);

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
    EXPECT_TRUE(Recorder::get().take().empty());  // nothing delivered twice
}

TEST_F(DeathTest, LinkToDeadBinderFailsAndEndsAtOnce) {
    ASSERT_EQ(ABinderHost_declareBinderDead(service_.get()), STATUS_OK);
    auto recipient = newRecipient();
    EXPECT_EQ(AIBinder_linkToDeath(service_.get(), recipient.get(), &cookieA_), STATUS_DEAD_OBJECT);
    std::vector<Event> events = Recorder::get().take();
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].kind, "unlinked");
    EXPECT_FALSE(events[0].onPoolThread);  // inside linkToDeath itself
}

TEST_F(DeathTest, UnlinkResults) {
    auto recipient = newRecipient();
    auto other = newRecipient();
    EXPECT_EQ(AIBinder_linkToDeath(nullptr, recipient.get(), nullptr), STATUS_UNEXPECTED_NULL);
    EXPECT_EQ(AIBinder_linkToDeath(service_.get(), nullptr, nullptr), STATUS_UNEXPECTED_NULL);
    EXPECT_EQ(AIBinder_unlinkToDeath(nullptr, recipient.get(), nullptr), STATUS_UNEXPECTED_NULL);
    EXPECT_EQ(AIBinder_unlinkToDeath(service_.get(), nullptr, nullptr), STATUS_UNEXPECTED_NULL);

    ASSERT_EQ(AIBinder_linkToDeath(service_.get(), recipient.get(), &cookieA_), STATUS_OK);
    // Only the exact (binder, cookie) pair of the same recipient matches.
    EXPECT_EQ(AIBinder_unlinkToDeath(service_.get(), recipient.get(), &cookieB_),
              STATUS_NAME_NOT_FOUND);
    EXPECT_EQ(AIBinder_unlinkToDeath(service_.get(), other.get(), &cookieA_),
              STATUS_NAME_NOT_FOUND);
    EXPECT_TRUE(Recorder::get().take().empty());
    EXPECT_EQ(AIBinder_unlinkToDeath(service_.get(), recipient.get(), &cookieA_), STATUS_OK);
    std::vector<Event> events = Recorder::get().take();
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].kind, "unlinked");
    EXPECT_EQ(AIBinder_unlinkToDeath(service_.get(), recipient.get(), &cookieA_),
              STATUS_NAME_NOT_FOUND);

    // Unlinked pairs get no death.
    ASSERT_EQ(ABinderHost_declareDead(kInstance), STATUS_OK);
    ASSERT_EQ(ABinderHost_flushPool(), STATUS_OK);
    EXPECT_TRUE(Recorder::get().take().empty());
}

TEST_F(DeathTest, SameCookieTwiceMakesTwoLinks) {
    auto recipient = newRecipient();
    ASSERT_EQ(AIBinder_linkToDeath(service_.get(), recipient.get(), &cookieA_), STATUS_OK);
    ASSERT_EQ(AIBinder_linkToDeath(service_.get(), recipient.get(), &cookieA_), STATUS_OK);
    EXPECT_EQ(AIBinder_unlinkToDeath(service_.get(), recipient.get(), &cookieA_), STATUS_OK);
    Recorder::get().take();
    ASSERT_EQ(ABinderHost_declareDead(kInstance), STATUS_OK);
    ASSERT_EQ(ABinderHost_flushPool(), STATUS_OK);
    std::vector<Event> events = Recorder::get().take();
    ASSERT_EQ(events.size(), 2u);
    EXPECT_EQ(events[0].kind, "died");
}

TEST_F(DeathTest, DeletingRecipientDropsItsLinks) {
    ndk::SpAIBinder second(AIBinder_new(Counted::clazz(), nullptr));
    auto recipient = newRecipient();
    ASSERT_EQ(AIBinder_linkToDeath(service_.get(), recipient.get(), &cookieA_), STATUS_OK);
    ASSERT_EQ(AIBinder_linkToDeath(second.get(), recipient.get(), &cookieB_), STATUS_OK);
    recipient.set(nullptr);
    std::vector<Event> events = Recorder::get().take();
    ASSERT_EQ(events.size(), 2u);
    EXPECT_EQ(events[0].kind, "unlinked");
    EXPECT_EQ(events[1].kind, "unlinked");

    ASSERT_EQ(ABinderHost_declareDead(kInstance), STATUS_OK);
    ASSERT_EQ(ABinderHost_declareBinderDead(second.get()), STATUS_OK);
    ASSERT_EQ(ABinderHost_flushPool(), STATUS_OK);
    EXPECT_TRUE(Recorder::get().take().empty());
    AIBinder_DeathRecipient_delete(nullptr);
    EXPECT_EQ(AIBinder_DeathRecipient_new(nullptr), nullptr);
}

TEST_F(DeathTest, DestroyedBinderEndsLinksWithoutDeath) {
    ndk::SpAIBinder transient(AIBinder_new(Counted::clazz(), nullptr));
    auto recipient = newRecipient();
    ASSERT_EQ(AIBinder_linkToDeath(transient.get(), recipient.get(), &cookieA_), STATUS_OK);
    transient.set(nullptr);
    std::vector<Event> events = Recorder::get().take();
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].kind, "unlinked");
}

// Recipients whose callbacks call back into the binder layer.
struct Reentrant {
    static Reentrant* current;
    AIBinder* binder = nullptr;
    AIBinder* other = nullptr;
    AIBinder_DeathRecipient* self = nullptr;
    binder_status_t unlinkResult = STATUS_OK;
    binder_status_t relinkResult = STATUS_OK;
    std::atomic<int> unlinkedCalls{0};

    static void onDied(void* cookie) {
        Reentrant* r = current;
        r->unlinkResult = AIBinder_unlinkToDeath(r->binder, r->self, cookie);
        r->relinkResult = AIBinder_linkToDeath(r->other, r->self, cookie);
        AIBinder_DeathRecipient_delete(r->self);
    }
    static void onUnlinked(void*) { current->unlinkedCalls++; }
};
Reentrant* Reentrant::current = nullptr;

TEST_F(DeathTest, CallbacksMayUnlinkRelinkAndDeleteThemselves) {
    ndk::SpAIBinder other(AIBinder_new(Counted::clazz(), nullptr));
    Reentrant state;
    Reentrant::current = &state;
    state.binder = service_.get();
    state.other = other.get();
    state.self = AIBinder_DeathRecipient_new(Reentrant::onDied);
    AIBinder_DeathRecipient_setOnUnlinked(state.self, Reentrant::onUnlinked);
    ASSERT_EQ(AIBinder_linkToDeath(service_.get(), state.self, &cookieA_), STATUS_OK);

    ASSERT_EQ(ABinderHost_declareDead(kInstance), STATUS_OK);
    ASSERT_EQ(ABinderHost_flushPool(), STATUS_OK);
    // The dying link was already removed; the new link was dropped by the delete.
    EXPECT_EQ(state.unlinkResult, STATUS_NAME_NOT_FOUND);
    EXPECT_EQ(state.relinkResult, STATUS_OK);
    EXPECT_EQ(state.unlinkedCalls.load(), 2);
}

// A recipient that blocks in onBinderDied until released.
struct Blocking {
    static Blocking* current;
    std::mutex mutex;
    std::condition_variable cv;
    bool entered = false;
    bool release = false;
    std::atomic<bool> finished{false};

    static void onDied(void*) {
        Blocking* b = current;
        std::unique_lock<std::mutex> lock(b->mutex);
        b->entered = true;
        b->cv.notify_all();
        b->cv.wait(lock, [b]() { return b->release; });
        b->finished = true;
    }
};
Blocking* Blocking::current = nullptr;

TEST_F(DeathTest, DeleteWaitsForCallbackRunningElsewhere) {
    Blocking state;
    Blocking::current = &state;
    AIBinder_DeathRecipient* recipient = AIBinder_DeathRecipient_new(Blocking::onDied);
    ASSERT_EQ(AIBinder_linkToDeath(service_.get(), recipient, nullptr), STATUS_OK);
    ASSERT_EQ(ABinderHost_declareDead(kInstance), STATUS_OK);
    {
        std::unique_lock<std::mutex> lock(state.mutex);
        state.cv.wait(lock, [&]() { return state.entered; });
    }
    std::atomic<bool> deleted{false};
    std::thread deleter([&]() {
        AIBinder_DeathRecipient_delete(recipient);
        // Once delete returns the callback must have finished.
        EXPECT_TRUE(state.finished.load());
        deleted = true;
    });
    {
        std::lock_guard<std::mutex> lock(state.mutex);
        state.release = true;
    }
    state.cv.notify_all();
    deleter.join();
    EXPECT_TRUE(deleted.load());
}

TEST_F(DeathTest, ConcurrentLinkUnlinkAndDeathEndEveryLinkOnce) {
    constexpr int kThreads = 4;
    constexpr int kLinksPerThread = 200;
    auto recipient = newRecipient();
    std::vector<int> cookies(kThreads * kLinksPerThread);
    std::atomic<int> linked{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t]() {
            for (int i = 0; i < kLinksPerThread; ++i) {
                void* cookie = &cookies[t * kLinksPerThread + i];
                if (AIBinder_linkToDeath(service_.get(), recipient.get(), cookie) == STATUS_OK) {
                    linked++;
                }
                if (i % 2 == 0) {
                    AIBinder_unlinkToDeath(service_.get(), recipient.get(), cookie);
                }
            }
        });
    }
    ASSERT_EQ(ABinderHost_declareDead(kInstance), STATUS_OK);
    for (std::thread& thread : threads) {
        thread.join();
    }
    ASSERT_EQ(ABinderHost_flushPool(), STATUS_OK);
    std::vector<Event> events = Recorder::get().take();
    int unlinked = 0;
    int died = 0;
    for (const Event& event : events) {
        (event.kind == "died" ? died : unlinked)++;
    }
    // Every attempted link ended exactly once (failed links end inside linkToDeath).
    EXPECT_EQ(unlinked, kThreads * kLinksPerThread);
    EXPECT_LE(died, linked.load());
}

TEST(DeathBeforePoolStart, DeliveredOnceThePoolStarts) {
    // Needs a process whose pool has never started.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            if (ABinderProcess_isThreadPoolStarted()) {
                _exit(2);
            }
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
            if (ABinderHost_flushPool() != STATUS_OK) {
                _exit(5);
            }
            std::vector<Event> events = Recorder::get().take();
            bool ok = events.size() == 2 && events[0].kind == "died" && events[0].onPoolThread;
            _exit(ok ? 0 : 6);
        },
        ::testing::ExitedWithCode(0), "");
}

}  // namespace
