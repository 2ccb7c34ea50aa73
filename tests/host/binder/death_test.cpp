// Tests of death recipients: linking, unlinking, recipient deletion and death delivery on the
// pool after a host-declared death.
#include <android/binder_auto_utils.h>
#include <android/binder_manager.h>
#include <android/binder_process.h>
#include <binder_host/binder_host.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

#include "test_support.h"

namespace {

using binder_test::Counted;

int gCookieA = 0;
int gCookieB = 0;

// The callbacks of the recipients made by newRecipient, per link cookie in order, as
// "A: died@pool unlinked@pool; B: unlinked" ("@pool": the call ran on a pool thread).
struct Recorder {
    std::mutex mutex;
    std::map<std::string, std::string> seen;

    static Recorder& get() {
        static Recorder recorder;
        return recorder;
    }
    void add(const char* kind, void* cookie) {
        std::lock_guard<std::mutex> lock(mutex);
        std::string& calls = seen[cookie == &gCookieA ? "A" : cookie == &gCookieB ? "B" : "-"];
        calls += (calls.empty() ? "" : " ") + std::string(kind) +
                 (ABinderHost_isPoolThread() ? "@pool" : "");
    }
    // The callbacks since the last take.
    static std::string take() {
        std::lock_guard<std::mutex> lock(get().mutex);
        std::string out;
        for (const auto& [cookie, calls] : get().seen) {
            out += (out.empty() ? "" : "; ") + cookie + ": " + calls;
        }
        get().seen.clear();
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

class DeathTest : public binder_test::PoolTest {
  protected:
    void SetUp() override {
        PoolTest::SetUp();
        Recorder::take();
        service_ = publish(kInstance);
    }
    std::string declareDeadAndFlush() {
        EXPECT_EQ(ABinderHost_declareDead(kInstance), STATUS_OK);
        EXPECT_EQ(ABinderHost_flushPool(), STATUS_OK);
        return Recorder::take();
    }

    static constexpr const char* kInstance = "test.death/default";
    ndk::SpAIBinder service_;
};

TEST_F(DeathTest, DeclareDeadDeliversEachLinkOnceOnPoolThread) {
    auto recipient = newRecipient();
    ASSERT_EQ(AIBinder_linkToDeath(service_.get(), recipient.get(), &gCookieA), STATUS_OK);
    ASSERT_EQ(AIBinder_linkToDeath(service_.get(), recipient.get(), &gCookieB), STATUS_OK);
    EXPECT_EQ(declareDeadAndFlush(), "A: died@pool unlinked@pool; B: died@pool unlinked@pool");

    // The binder stays dead and its links are gone.
    EXPECT_FALSE(AIBinder_isAlive(service_.get()));
    EXPECT_TRUE(ABinderHost_isDead(service_.get()));
    EXPECT_EQ(AIBinder_ping(service_.get()), STATUS_DEAD_OBJECT);
    EXPECT_EQ(AIBinder_unlinkToDeath(service_.get(), recipient.get(), &gCookieA),
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
    EXPECT_EQ(Recorder::take(), "");  // nothing delivered twice

    // A link to a dead binder fails and ends at once, inside linkToDeath itself.
    EXPECT_EQ(AIBinder_linkToDeath(service_.get(), recipient.get(), &gCookieA), STATUS_DEAD_OBJECT);
    EXPECT_EQ(Recorder::take(), "A: unlinked");
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
    ASSERT_EQ(AIBinder_linkToDeath(service_.get(), recipient.get(), &gCookieA), STATUS_OK);
    ASSERT_EQ(AIBinder_linkToDeath(service_.get(), recipient.get(), &gCookieA), STATUS_OK);
    ASSERT_EQ(AIBinder_linkToDeath(service_.get(), recipient.get(), &gCookieB), STATUS_OK);
    EXPECT_EQ(AIBinder_unlinkToDeath(service_.get(), other.get(), &gCookieA),
              STATUS_NAME_NOT_FOUND);
    EXPECT_EQ(AIBinder_unlinkToDeath(service_.get(), recipient.get(), &gCookieB), STATUS_OK);
    EXPECT_EQ(AIBinder_unlinkToDeath(service_.get(), recipient.get(), &gCookieB),
              STATUS_NAME_NOT_FOUND);
    EXPECT_EQ(AIBinder_unlinkToDeath(service_.get(), recipient.get(), &gCookieA), STATUS_OK);
    EXPECT_EQ(Recorder::take(), "A: unlinked; B: unlinked");
    // Unlinked pairs get no death; the one left does.
    EXPECT_EQ(declareDeadAndFlush(), "A: died@pool unlinked@pool");
}

TEST_F(DeathTest, DeletedRecipientOrDestroyedBinderEndsLinksWithoutDeath) {
    ndk::SpAIBinder second(AIBinder_new(Counted::clazz(), nullptr));
    auto recipient = newRecipient();
    ASSERT_EQ(AIBinder_linkToDeath(service_.get(), recipient.get(), &gCookieA), STATUS_OK);
    ASSERT_EQ(AIBinder_linkToDeath(second.get(), recipient.get(), &gCookieB), STATUS_OK);
    recipient.set(nullptr);
    EXPECT_EQ(Recorder::take(), "A: unlinked; B: unlinked");
    ASSERT_EQ(ABinderHost_declareBinderDead(second.get()), STATUS_OK);
    EXPECT_EQ(declareDeadAndFlush(), "");
    AIBinder_DeathRecipient_delete(nullptr);
    EXPECT_EQ(AIBinder_DeathRecipient_new(nullptr), nullptr);

    ndk::SpAIBinder transient(AIBinder_new(Counted::clazz(), nullptr));
    auto another = newRecipient();
    ASSERT_EQ(AIBinder_linkToDeath(transient.get(), another.get(), &gCookieA), STATUS_OK);
    transient.set(nullptr);
    EXPECT_EQ(Recorder::take(), "A: unlinked");
}

// A death callback may unlink, link again elsewhere and delete its own recipient.
TEST_F(DeathTest, CallbacksMayUnlinkRelinkAndDeleteThemselves) {
    static ndk::SpAIBinder other;
    static AIBinder* binder = nullptr;
    static AIBinder_DeathRecipient* self = nullptr;
    using Results = std::pair<binder_status_t, binder_status_t>;
    static Results unlinkAndRelink;
    other = ndk::SpAIBinder(AIBinder_new(Counted::clazz(), nullptr));
    binder = service_.get();
    self = AIBinder_DeathRecipient_new([](void* cookie) {
        unlinkAndRelink = {AIBinder_unlinkToDeath(binder, self, cookie),
                           AIBinder_linkToDeath(other.get(), self, cookie)};
        AIBinder_DeathRecipient_delete(self);
    });
    AIBinder_DeathRecipient_setOnUnlinked(self, Recorder::onUnlinked);
    ASSERT_EQ(AIBinder_linkToDeath(service_.get(), self, &gCookieA), STATUS_OK);
    // The dying link was already removed; the new link ends with the delete.
    EXPECT_EQ(declareDeadAndFlush(), "A: unlinked@pool unlinked@pool");
    EXPECT_EQ(unlinkAndRelink, Results(STATUS_NAME_NOT_FOUND, STATUS_OK));
    other.set(nullptr);
}

TEST_F(DeathTest, DeleteWaitsForCallbackRunningElsewhere) {
    static std::atomic<int> stage;  // 1: the callback runs, 2: it has finished
    stage = 0;
    AIBinder_DeathRecipient* recipient = AIBinder_DeathRecipient_new([](void*) {
        stage = 1;
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        stage = 2;
    });
    ASSERT_EQ(AIBinder_linkToDeath(service_.get(), recipient, nullptr), STATUS_OK);
    ASSERT_EQ(ABinderHost_declareDead(kInstance), STATUS_OK);
    ASSERT_TRUE(binder_test::waitFor([] { return stage.load() == 1; }));
    AIBinder_DeathRecipient_delete(recipient);
    EXPECT_EQ(stage.load(), 2) << "delete returned while the callback ran";
}

TEST(DeathBeforePoolStart, DeliveredOnceThePoolStarts) {
    // Needs a process whose pool has never started.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            if (ABinderProcess_isThreadPoolStarted()) _exit(2);
            ndk::SpAIBinder binder(AIBinder_new(Counted::clazz(), nullptr));
            auto recipient = newRecipient();
            if (AIBinder_linkToDeath(binder.get(), recipient.get(), &gCookieA) != STATUS_OK ||
                ABinderHost_declareBinderDead(binder.get()) != STATUS_OK) {
                _exit(3);
            }
            if (ABinderHost_flushPool() != STATUS_WOULD_BLOCK || !Recorder::take().empty()) {
                _exit(4);
            }
            ABinderProcess_startThreadPool();
            if (ABinderHost_flushPool() != STATUS_OK) _exit(5);
            _exit(Recorder::take() == "A: died@pool unlinked@pool" ? 0 : 6);
        },
        ::testing::ExitedWithCode(0), "");
}

}  // namespace
