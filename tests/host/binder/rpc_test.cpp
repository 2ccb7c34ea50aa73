// Cross-process binder tests against a peer process (binder_peer): lookup by name, calling
// identity, descriptors, binder objects as handles, reference counts, nested calls, death.
#include <android/binder_auto_utils.h>
#include <android/binder_ibinder.h>
#include <android/binder_manager.h>
#include <android/binder_parcel_utils.h>
#include <android/binder_process.h>
#include <binder_host/binder_host.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <string>
#include <thread>

#include "peer_protocol.h"
#include "rpc_test_support.h"
#include "test_support.h"

extern char** environ;

namespace {

using binder_test::Counted;
using binder_test::openFdCount;
using rpc_test::call;
using rpc_test::peerBinder;
using rpc_test::PeerProcess;
using rpc_test::waitFor;

// The tests' callback object: kCallbackEcho answers through the peer's kEcho, a call back into
// the peer made while the peer's call into us is outstanding.
struct Callback {
    static AIBinder* peerService;
    static std::atomic<int> calls;
    static binder_status_t onTransact(AIBinder*, transaction_code_t code, const AParcel* in,
                                      AParcel* out) {
        if (code != peer::kCallbackEcho) return STATUS_UNKNOWN_TRANSACTION;
        ++calls;
        std::string text;
        binder_status_t status = peer::readString(in, &text);
        ndk::ScopedAParcel reply;
        if (status == STATUS_OK) {
            status = call(peerService, peer::kEcho, reply,
                          [&](AParcel* p) { return peer::writeString(p, "peer:" + text); });
        }
        std::string answer;
        if (status == STATUS_OK) status = peer::readString(reply.get(), &answer);
        return status == STATUS_OK ? peer::writeString(out, answer) : status;
    }
    static const AIBinder_Class* clazz() {
        static const AIBinder_Class* c = AIBinder_Class_define(
            peer::kCallbackDescriptor, [](void* a) { return a; }, [](void*) {}, onTransact);
        return c;
    }
};
AIBinder* Callback::peerService = nullptr;
std::atomic<int> Callback::calls{0};

class RpcTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ABinderProcess_startThreadPool();
        instance_ = std::string("test.rpc/") +
                    ::testing::UnitTest::GetInstance()->current_test_info()->name();
        ASSERT_TRUE(peer_.start(instance_));
        service_ = peerBinder(instance_);
        ASSERT_NE(service_.get(), nullptr);
    }
    void TearDown() override {
        service_ = nullptr;
        peer_.kill();
        ASSERT_EQ(ABinderHost_flushPool(), STATUS_OK);
        ABinderHost_resetForTesting();
    }

    std::string instance_;
    PeerProcess peer_;
    ndk::SpAIBinder service_;
};

TEST_F(RpcTest, LookupGivesProxyWithPeerIdentityAndCallsCarryOurs) {
    EXPECT_TRUE(AIBinder_isRemote(service_.get()));
    EXPECT_EQ(AIBinder_getUserData(service_.get()), nullptr);
    EXPECT_EQ(AIBinder_ping(service_.get()), STATUS_OK);
    // Same remote object, same proxy.
    ndk::SpAIBinder again(AServiceManager_checkService(instance_.c_str()));
    EXPECT_EQ(again.get(), service_.get());
    // Another descriptor does not associate.
    EXPECT_FALSE(AIBinder_associateClass(service_.get(), Counted::clazz()));

    ndk::ScopedAParcel reply;
    ASSERT_EQ(call(service_.get(), peer::kEcho, reply,
                   [](AParcel* p) { return peer::writeString(p, "h\xc3\xa9llo"); }),
              STATUS_OK);
    std::string text;
    ASSERT_EQ(peer::readString(reply.get(), &text), STATUS_OK);
    EXPECT_EQ(text, "h\xc3\xa9llo");

    ASSERT_EQ(call(service_.get(), peer::kCaller, reply), STATUS_OK);
    int32_t pid = 0;
    int32_t uid = -1;
    ASSERT_EQ(AParcel_readInt32(reply.get(), &pid), STATUS_OK);
    ASSERT_EQ(AParcel_readInt32(reply.get(), &uid), STATUS_OK);
    EXPECT_EQ(pid, getpid());
    EXPECT_EQ(static_cast<uid_t>(uid), getuid());
    // Outside a transaction the identity is our own.
    EXPECT_EQ(AIBinder_getCallingPid(), getpid());
    EXPECT_FALSE(AIBinder_isHandlingTransaction());

    EXPECT_EQ(call(service_.get(), FIRST_CALL_TRANSACTION + 1000, reply),
              STATUS_UNKNOWN_TRANSACTION);
}

TEST_F(RpcTest, UnknownNameIsAbsentAndGetServiceKeepsPolling) {
    EXPECT_EQ(AServiceManager_checkService("test.rpc/nobody"), nullptr);
    ABinderHost_setGetServicePolling(50, 200);
    auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(AServiceManager_getService("test.rpc/nobody"), nullptr);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(200));
}

TEST_F(RpcTest, LongInstanceNamesAreFoundAcrossProcesses) {
    const std::string name = "test.rpc/" + std::string(150, 'n') + "/" + std::string(100, 'm');
    PeerProcess other;
    ASSERT_TRUE(other.start(name));
    ndk::SpAIBinder binder = peerBinder(name);
    ASSERT_NE(binder.get(), nullptr);
    EXPECT_TRUE(AIBinder_isRemote(binder.get()));
    // A name that only shares the shortened socket path is not that service.
    EXPECT_EQ(AServiceManager_checkService((name + "x").c_str()), nullptr);
}

TEST_F(RpcTest, DescriptorsArriveAsFreshNumbersForTheSameFile) {
    const int before = openFdCount();
    {
        ndk::ScopedFileDescriptor file(memfd_create("rpc-test", MFD_CLOEXEC));
        ASSERT_EQ(write(file.get(), "pixels", 6), 6);
        struct stat st;
        ASSERT_EQ(fstat(file.get(), &st), 0);

        ndk::ScopedAParcel reply;
        ASSERT_EQ(call(service_.get(), peer::kDescribeFd, reply,
                       [&](AParcel* p) {
                           return ndk::AParcel_writeRequiredParcelFileDescriptor(p, file);
                       }),
                  STATUS_OK);
        int32_t number;
        int64_t dev;
        int64_t ino;
        std::string text;
        ASSERT_EQ(AParcel_readInt32(reply.get(), &number), STATUS_OK);
        ASSERT_EQ(AParcel_readInt64(reply.get(), &dev), STATUS_OK);
        ASSERT_EQ(AParcel_readInt64(reply.get(), &ino), STATUS_OK);
        ASSERT_EQ(peer::readString(reply.get(), &text), STATUS_OK);
        EXPECT_GE(number, 0);
        EXPECT_EQ(static_cast<dev_t>(dev), st.st_dev);
        EXPECT_EQ(static_cast<ino_t>(ino), st.st_ino);
        EXPECT_EQ(text, "pixels");

        // The peer keeps a duplicate and still reads it after every copy of ours is closed.
        ASSERT_EQ(call(service_.get(), peer::kKeepFd, reply,
                       [&](AParcel* p) {
                           return ndk::AParcel_writeRequiredParcelFileDescriptor(p, file);
                       }),
                  STATUS_OK);
        file.set(-1);
        ASSERT_EQ(call(service_.get(), peer::kReadKeptFd, reply), STATUS_OK);
        ASSERT_EQ(peer::readString(reply.get(), &text), STATUS_OK);
        EXPECT_EQ(text, "pixels");

        // A descriptor in a reply.
        ASSERT_EQ(call(service_.get(), peer::kMakeFd, reply,
                       [](AParcel* p) { return peer::writeString(p, "from peer"); }),
                  STATUS_OK);
        ndk::ScopedFileDescriptor made;
        ASSERT_EQ(ndk::AParcel_readRequiredParcelFileDescriptor(reply.get(), &made), STATUS_OK);
        char buffer[16] = {};
        ASSERT_EQ(pread(made.get(), buffer, sizeof(buffer), 0), 9);
        EXPECT_STREQ(buffer, "from peer");
    }
    EXPECT_EQ(openFdCount(), before);
}

TEST_F(RpcTest, TransactionLimitsGiveFailedTransaction) {
    ndk::ScopedAParcel reply;
    std::string big(600 * 1024, 'x');  // 1.2 MB as UTF-16
    EXPECT_EQ(call(service_.get(), peer::kEcho, reply,
                   [&](AParcel* p) { return peer::writeString(p, big); }),
              STATUS_FAILED_TRANSACTION);
    const int before = openFdCount();
    ndk::ScopedFileDescriptor file(memfd_create("rpc-test", MFD_CLOEXEC));
    EXPECT_EQ(call(service_.get(), peer::kEcho, reply,
                   [&](AParcel* p) -> binder_status_t {
                       for (int i = 0; i < 254; ++i) {
                           binder_status_t s =
                               ndk::AParcel_writeRequiredParcelFileDescriptor(p, file);
                           if (s != STATUS_OK) return s;
                       }
                       return STATUS_OK;
                   }),
              STATUS_FAILED_TRANSACTION);
    file.set(-1);
    EXPECT_EQ(openFdCount(), before);
    // The connection is still good.
    EXPECT_EQ(AIBinder_ping(service_.get()), STATUS_OK);
}

TEST_F(RpcTest, BinderObjectsTravelAsHandles) {
    ndk::SpAIBinder local(AIBinder_new(Counted::clazz(), nullptr));
    ndk::ScopedAParcel reply;
    // Our object goes out as a proxy and comes home as itself.
    ASSERT_EQ(call(service_.get(), peer::kReturnBinder, reply,
                   [&](AParcel* p) { return AParcel_writeStrongBinder(p, local.get()); }),
              STATUS_OK);
    ndk::SpAIBinder back;
    ASSERT_EQ(ndk::AParcel_readRequiredStrongBinder(reply.get(), &back), STATUS_OK);
    EXPECT_EQ(back.get(), local.get());
    EXPECT_FALSE(AIBinder_isRemote(back.get()));

    // The peer's object sent back to the peer is its own object again.
    ASSERT_EQ(call(service_.get(), peer::kIsOwnObject, reply,
                   [&](AParcel* p) { return AParcel_writeStrongBinder(p, service_.get()); }),
              STATUS_OK);
    bool own = false;
    ASSERT_EQ(AParcel_readBool(reply.get(), &own), STATUS_OK);
    EXPECT_TRUE(own);
    // A proxy coming back to us from the peer is the same proxy.
    ASSERT_EQ(call(service_.get(), peer::kReturnBinder, reply,
                   [&](AParcel* p) { return AParcel_writeStrongBinder(p, service_.get()); }),
              STATUS_OK);
    ASSERT_EQ(ndk::AParcel_readRequiredStrongBinder(reply.get(), &back), STATUS_OK);
    EXPECT_EQ(back.get(), service_.get());
}

TEST_F(RpcTest, ObjectsLiveWhileThePeerHoldsThem) {
    const int liveBefore = Counted::live().load();
    {
        ndk::SpAIBinder local(AIBinder_new(Counted::clazz(), nullptr));
        ndk::ScopedAParcel reply;
        ASSERT_EQ(call(service_.get(), peer::kHoldBinder, reply,
                       [&](AParcel* p) { return AParcel_writeStrongBinder(p, local.get()); }),
                  STATUS_OK);
    }
    // Only the peer's proxy keeps it alive now.
    EXPECT_EQ(Counted::live().load(), liveBefore + 1);
    ndk::ScopedAParcel reply;
    ASSERT_EQ(call(service_.get(), peer::kDropBinder, reply), STATUS_OK);
    EXPECT_TRUE(waitFor([&]() { return Counted::live().load() == liveBefore; }));

    // The other way: the peer's object lives while our proxy does.
    auto peerLive = [&]() {
        ndk::ScopedAParcel r;
        int32_t count = -1;
        if (call(service_.get(), peer::kLiveObjects, r) == STATUS_OK) {
            AParcel_readInt32(r.get(), &count);
        }
        return count;
    };
    const int32_t peerBefore = peerLive();
    ASSERT_EQ(call(service_.get(), peer::kNewObject, reply), STATUS_OK);
    ndk::SpAIBinder object;
    ASSERT_EQ(ndk::AParcel_readRequiredStrongBinder(reply.get(), &object), STATUS_OK);
    reply.set(nullptr);
    EXPECT_TRUE(AIBinder_isRemote(object.get()));
    EXPECT_EQ(peerLive(), peerBefore + 1);
    object = nullptr;
    EXPECT_TRUE(waitFor([&]() { return peerLive() == peerBefore; }));
}

TEST_F(RpcTest, NestedCallsInBothDirections) {
    // We call the peer, the peer calls our callback, our callback calls the peer: each nested
    // call runs on the thread waiting for the outer one, so this works with one peer thread.
    PeerProcess single;
    const std::string name = instance_ + ".single";
    ASSERT_TRUE(single.start(name, 0));
    ndk::SpAIBinder peerService = peerBinder(name);
    ASSERT_NE(peerService.get(), nullptr);
    Callback::peerService = peerService.get();
    Callback::calls = 0;
    ndk::SpAIBinder callback(AIBinder_new(Callback::clazz(), nullptr));
    ndk::ScopedAParcel reply;
    ASSERT_EQ(call(peerService.get(), peer::kCallBack, reply,
                   [&](AParcel* p) {
                       binder_status_t s = AParcel_writeStrongBinder(p, callback.get());
                       return s == STATUS_OK ? peer::writeString(p, "ping") : s;
                   }),
              STATUS_OK);
    std::string text;
    ASSERT_EQ(peer::readString(reply.get(), &text), STATUS_OK);
    EXPECT_EQ(text, "peer:ping");
    EXPECT_EQ(Callback::calls.load(), 1);

    // Several threads at once, each with its own nested chain: they call the multi-threaded
    // peer, whose callbacks call the single-threaded one (Callback::peerService, set above).
    std::vector<std::thread> threads;
    std::atomic<int> good{0};
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t]() {
            for (int i = 0; i < 10; ++i) {
                ndk::ScopedAParcel r;
                std::string word = std::to_string(t * 100 + i);
                std::string answer;
                if (call(service_.get(), peer::kCallBack, r,
                         [&](AParcel* p) {
                             binder_status_t s = AParcel_writeStrongBinder(p, callback.get());
                             return s == STATUS_OK ? peer::writeString(p, word) : s;
                         }) == STATUS_OK &&
                    peer::readString(r.get(), &answer) == STATUS_OK && answer == "peer:" + word) {
                    ++good;
                }
            }
        });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(good.load(), 40);
    Callback::peerService = nullptr;
}

// ---- Death ----

struct DeathRecord {
    static std::atomic<int> died;
    static std::atomic<bool> onPool;
    static void onDied(void*) {
        onPool = ABinderHost_isPoolThread();
        ++died;
    }
};
std::atomic<int> DeathRecord::died{0};
std::atomic<bool> DeathRecord::onPool{false};

TEST_F(RpcTest, PeerKilledWhileIdleKillsItsProxiesOnce) {
    DeathRecord::died = 0;
    ndk::ScopedAIBinder_DeathRecipient recipient(AIBinder_DeathRecipient_new(DeathRecord::onDied));
    ASSERT_EQ(AIBinder_linkToDeath(service_.get(), recipient.get(), nullptr), STATUS_OK);
    ndk::ScopedAParcel reply;
    ASSERT_EQ(call(service_.get(), peer::kNewObject, reply), STATUS_OK);
    ndk::SpAIBinder object;
    ASSERT_EQ(ndk::AParcel_readRequiredStrongBinder(reply.get(), &object), STATUS_OK);
    ASSERT_EQ(AIBinder_linkToDeath(object.get(), recipient.get(), nullptr), STATUS_OK);

    auto killed = std::chrono::steady_clock::now();
    peer_.kill();
    ASSERT_TRUE(waitFor([&]() { return DeathRecord::died.load() == 2; }));
    EXPECT_LT(std::chrono::steady_clock::now() - killed, std::chrono::seconds(1));
    EXPECT_TRUE(DeathRecord::onPool.load());
    EXPECT_FALSE(AIBinder_isAlive(service_.get()));
    EXPECT_FALSE(AIBinder_isAlive(object.get()));
    EXPECT_EQ(AIBinder_ping(service_.get()), STATUS_DEAD_OBJECT);
    EXPECT_EQ(call(service_.get(), peer::kEcho, reply,
                   [](AParcel* p) { return peer::writeString(p, "x"); }),
              STATUS_DEAD_OBJECT);
    EXPECT_EQ(AIBinder_linkToDeath(service_.get(), recipient.get(), nullptr), STATUS_DEAD_OBJECT);
    ASSERT_EQ(ABinderHost_flushPool(), STATUS_OK);
    EXPECT_EQ(DeathRecord::died.load(), 2);
}

TEST_F(RpcTest, PeerKilledDuringACallFailsTheCallPromptly) {
    DeathRecord::died = 0;
    ndk::ScopedAIBinder_DeathRecipient recipient(AIBinder_DeathRecipient_new(DeathRecord::onDied));
    ASSERT_EQ(AIBinder_linkToDeath(service_.get(), recipient.get(), nullptr), STATUS_OK);
    std::atomic<binder_status_t> result{STATUS_OK};
    std::atomic<bool> returned{false};
    std::chrono::steady_clock::time_point returnedAt;
    std::thread caller([&]() {
        ndk::ScopedAParcel reply;
        result = call(service_.get(), peer::kBlock, reply);
        returnedAt = std::chrono::steady_clock::now();
        returned = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_FALSE(returned.load());
    auto killed = std::chrono::steady_clock::now();
    peer_.kill();
    caller.join();
    EXPECT_EQ(result.load(), STATUS_DEAD_OBJECT);
    EXPECT_LT(returnedAt - killed, std::chrono::seconds(1));
    ASSERT_TRUE(waitFor([&]() { return DeathRecord::died.load() == 1; }));
    ASSERT_EQ(ABinderHost_flushPool(), STATUS_OK);
    EXPECT_EQ(DeathRecord::died.load(), 1);
}

TEST_F(RpcTest, ConnectionClosesWhenNothingUsesIt) {
    // Dropping the only proxy closes the connection: its control socket and a call channel each
    // way.
    const int connected = openFdCount();
    service_ = nullptr;
    ASSERT_TRUE(waitFor([&]() { return openFdCount() == connected - 3; }));
    const int idle = openFdCount();
    {
        ndk::SpAIBinder proxy = peerBinder(instance_);
        ASSERT_NE(proxy.get(), nullptr);
        EXPECT_EQ(AIBinder_ping(proxy.get()), STATUS_OK);
        EXPECT_GT(openFdCount(), idle);
    }
    EXPECT_TRUE(waitFor([&]() { return openFdCount() == idle; }));
}

}  // namespace
