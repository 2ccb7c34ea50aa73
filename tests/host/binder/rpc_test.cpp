// Cross-process binder tests against a peer process (binder_peer): lookup by name, calling
// identity, descriptors, binder objects as handles, reference counts, nested calls, death.
#include <android/binder_parcel_utils.h>
#include <signal.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <string>
#include <tuple>
#include <vector>

#include "peer_protocol.h"
#include "test_support.h"

extern char** environ;

namespace {

using binder_test::Counted;
using binder_test::openFdCount;
using binder_test::waitFor;

// The service under instance, associated with the peer's class.
ndk::SpAIBinder peerBinder(const std::string& instance) {
    static const AIBinder_Class* clazz = AIBinder_Class_define(
        peer::kDescriptor, [](void* a) { return a; }, [](void*) {},
        [](AIBinder*, transaction_code_t, const AParcel*, AParcel*) -> binder_status_t {
            return STATUS_UNKNOWN_TRANSACTION;
        });
    ndk::SpAIBinder binder(AServiceManager_checkService(instance.c_str()));
    if (binder.get() != nullptr && !AIBinder_associateClass(binder.get(), clazz)) return nullptr;
    return binder;
}

// The peer process (binder_peer serving an instance); killed (SIGKILL) and reaped when it goes.
class PeerProcess {
  public:
    ~PeerProcess() { kill(); }

    // Starts it and waits until its service answers.
    bool start(const std::string& instance, int extraThreads = 15) {
        const std::string threads = std::to_string(extraThreads);
        const char* argv[] = {BINDER_PEER_PATH, instance.c_str(), threads.c_str(), nullptr};
        if (posix_spawn(&pid_, BINDER_PEER_PATH, nullptr, nullptr, const_cast<char* const*>(argv),
                        environ) != 0) {
            return false;
        }
        return waitFor([&] { return AIBinder_ping(peerBinder(instance).get()) == STATUS_OK; }, 10);
    }

    void kill() {
        if (pid_ <= 0) return;
        ::kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
        pid_ = -1;
    }

  private:
    pid_t pid_ = -1;
};

// One call: write fills the request; the reply replaces *reply.
binder_status_t call(AIBinder* binder, transaction_code_t code, ndk::ScopedAParcel& reply,
                     const std::function<binder_status_t(AParcel*)>& write = nullptr) {
    ndk::ScopedAParcel in;
    binder_status_t status = AIBinder_prepareTransaction(binder, in.getR());
    if (status == STATUS_OK && write) status = write(in.get());
    if (status != STATUS_OK) return status;
    reply.set(nullptr);  // the out-parameter is overwritten, not released
    return AIBinder_transact(binder, code, in.getR(), reply.getR(), 0);
}

// A call whose request is a string (and optionally a binder before it) and whose reply is one.
binder_status_t callText(AIBinder* binder, transaction_code_t code, const std::string& text,
                         std::string* answer, AIBinder* object = nullptr) {
    ndk::ScopedAParcel reply;
    binder_status_t status = call(binder, code, reply, [&](AParcel* p) {
        binder_status_t s = object != nullptr ? AParcel_writeStrongBinder(p, object) : STATUS_OK;
        return s == STATUS_OK ? ndk::AParcel_writeString(p, text) : s;
    });
    return status == STATUS_OK ? ndk::AParcel_readString(reply.get(), answer) : status;
}

// The tests' callback object: kCallbackEcho answers through kEcho of `service`, a call back into
// the peer made while the peer's call into us is outstanding.
struct Callback {
    static AIBinder* service;
    static binder_status_t onTransact(AIBinder*, transaction_code_t code, const AParcel* in,
                                      AParcel* out) {
        if (code != peer::kCallbackEcho) return STATUS_UNKNOWN_TRANSACTION;
        std::string text;
        std::string answer;
        binder_status_t status = ndk::AParcel_readString(in, &text);
        if (status == STATUS_OK) status = callText(service, peer::kEcho, "peer:" + text, &answer);
        return status == STATUS_OK ? ndk::AParcel_writeString(out, answer) : status;
    }
    static const AIBinder_Class* clazz() {
        static const AIBinder_Class* c = AIBinder_Class_define(
            peer::kCallbackDescriptor, [](void* a) { return a; }, [](void*) {}, onTransact);
        return c;
    }
};
AIBinder* Callback::service = nullptr;

std::atomic<int> gDied{0};
std::atomic<bool> gDiedOnPool{false};
void onDied(void*) {
    gDiedOnPool = ABinderHost_isPoolThread();
    ++gDied;
}

int32_t readInt(const ndk::ScopedAParcel& parcel) {
    int32_t value = -1;
    AParcel_readInt32(parcel.get(), &value);
    return value;
}

class RpcTest : public binder_test::PoolTest {
  protected:
    void SetUp() override {
        PoolTest::SetUp();
        instance_ = std::string("test.rpc/") +
                    ::testing::UnitTest::GetInstance()->current_test_info()->name();
        ASSERT_TRUE(peer_.start(instance_));
        service_ = peerBinder(instance_);
        ASSERT_NE(service_.get(), nullptr);
        gDied = 0;
    }
    void TearDown() override {
        service_ = nullptr;
        peer_.kill();
        PoolTest::TearDown();
    }
    int32_t peerLiveObjects() {
        ndk::ScopedAParcel reply;
        return call(service_.get(), peer::kLiveObjects, reply) == STATUS_OK ? readInt(reply) : -1;
    }

    std::string instance_;
    PeerProcess peer_;
    ndk::SpAIBinder service_;
};

TEST_F(RpcTest, LookupGivesAProxyAndCallsCarryOurIdentity) {
    EXPECT_TRUE(AIBinder_isRemote(service_.get()));
    EXPECT_EQ(AIBinder_ping(service_.get()), STATUS_OK);
    EXPECT_EQ(ndk::SpAIBinder(AServiceManager_checkService(instance_.c_str())).get(),
              service_.get());
    EXPECT_FALSE(AIBinder_associateClass(service_.get(), Counted::clazz()));
    std::string text;
    ASSERT_EQ(callText(service_.get(), peer::kEcho, "h\xc3\xa9llo", &text), STATUS_OK);
    EXPECT_EQ(text, "h\xc3\xa9llo");
    ndk::ScopedAParcel reply;
    ASSERT_EQ(call(service_.get(), peer::kCaller, reply), STATUS_OK);
    EXPECT_EQ(readInt(reply), getpid());
    EXPECT_EQ(static_cast<uid_t>(readInt(reply)), getuid());
    EXPECT_EQ(AIBinder_getCallingPid(), getpid());
    EXPECT_EQ(call(service_.get(), FIRST_CALL_TRANSACTION + 1000, reply),
              STATUS_UNKNOWN_TRANSACTION);

    // A name too long for a socket address is found; one sharing its shortened path is not.
    const std::string name = "test.rpc/" + std::string(150, 'n') + "/" + std::string(100, 'm');
    PeerProcess other;
    ASSERT_TRUE(other.start(name));
    EXPECT_NE(peerBinder(name).get(), nullptr);
    EXPECT_EQ(AServiceManager_checkService((name + "x").c_str()), nullptr);
}

TEST_F(RpcTest, DescriptorsArriveAsFreshNumbersForTheSameFileAndLimitsHold) {
    const int before = openFdCount();
    {
        ndk::ScopedFileDescriptor file(memfd_create("rpc-test", MFD_CLOEXEC));
        ASSERT_EQ(write(file.get(), "pixels", 6), 6);
        struct stat st;
        ASSERT_EQ(fstat(file.get(), &st), 0);
        auto writeFile = [&](AParcel* p) {
            return ndk::AParcel_writeRequiredParcelFileDescriptor(p, file);
        };
        ndk::ScopedAParcel reply;
        ASSERT_EQ(call(service_.get(), peer::kDescribeFd, reply, writeFile), STATUS_OK);
        int64_t dev = 0;
        int64_t ino = 0;
        std::string text;
        EXPECT_GE(readInt(reply), 0);
        AParcel_readInt64(reply.get(), &dev);
        AParcel_readInt64(reply.get(), &ino);
        ASSERT_EQ(ndk::AParcel_readString(reply.get(), &text), STATUS_OK);
        EXPECT_EQ(std::make_tuple(dev, ino, text),
                  std::make_tuple(int64_t(st.st_dev), int64_t(st.st_ino), std::string("pixels")));

        // The peer keeps a duplicate and still reads it after every copy of ours is closed.
        ASSERT_EQ(call(service_.get(), peer::kKeepFd, reply, writeFile), STATUS_OK);
        file.set(-1);
        ASSERT_EQ(call(service_.get(), peer::kReadKeptFd, reply), STATUS_OK);
        ASSERT_EQ(ndk::AParcel_readString(reply.get(), &text), STATUS_OK);
        EXPECT_EQ(text, "pixels");

        // A descriptor in a reply belongs to its reader, once.
        ASSERT_EQ(
            call(service_.get(), peer::kMakeFd, reply,
                 [](AParcel* p) { return ndk::AParcel_writeString(p, std::string("from peer")); }),
            STATUS_OK);
        ndk::ScopedFileDescriptor made;
        ASSERT_EQ(ndk::AParcel_readRequiredParcelFileDescriptor(reply.get(), &made), STATUS_OK);
        char buffer[16] = {};
        ASSERT_EQ(pread(made.get(), buffer, sizeof(buffer), 0), 9);
        EXPECT_STREQ(buffer, "from peer");
        AParcel_setDataPosition(reply.get(), 0);
        int again = -1;
        EXPECT_EQ(AParcel_readParcelFileDescriptor(reply.get(), &again), STATUS_BAD_VALUE);

        // Over the limits (1 MiB of data, 253 descriptors) a call fails and the connection stays.
        EXPECT_EQ(callText(service_.get(), peer::kEcho, std::string(600 * 1024, 'x'), &text),
                  STATUS_FAILED_TRANSACTION);
        ndk::ScopedFileDescriptor many(memfd_create("rpc-test", MFD_CLOEXEC));
        EXPECT_EQ(call(service_.get(), peer::kEcho, reply,
                       [&](AParcel* p) {
                           binder_status_t s = STATUS_OK;
                           for (int i = 0; i < 254 && s == STATUS_OK; ++i) {
                               s = ndk::AParcel_writeRequiredParcelFileDescriptor(p, many);
                           }
                           return s;
                       }),
                  STATUS_FAILED_TRANSACTION);
        EXPECT_EQ(AIBinder_ping(service_.get()), STATUS_OK);
    }
    EXPECT_EQ(openFdCount(), before);
}

TEST_F(RpcTest, BinderObjectsTravelAsHandlesAndLiveWhileThePeerHoldsThem) {
    const int liveBefore = Counted::live().load();
    ndk::SpAIBinder local(AIBinder_new(Counted::clazz(), nullptr));
    ndk::ScopedAParcel reply;
    auto sending = [](AIBinder* binder) {
        return [binder](AParcel* p) { return AParcel_writeStrongBinder(p, binder); };
    };
    // Ours goes out as a proxy and comes home as itself; a proxy of the peer's comes back as
    // the same proxy, and goes home to the peer as its own object.
    ndk::SpAIBinder back;
    for (AIBinder* sent : {local.get(), service_.get()}) {
        ASSERT_EQ(call(service_.get(), peer::kReturnBinder, reply, sending(sent)), STATUS_OK);
        ASSERT_EQ(ndk::AParcel_readRequiredStrongBinder(reply.get(), &back), STATUS_OK);
        EXPECT_EQ(back.get(), sent);
    }
    ASSERT_EQ(call(service_.get(), peer::kIsOwnObject, reply, sending(service_.get())), STATUS_OK);
    bool own = false;
    EXPECT_TRUE(AParcel_readBool(reply.get(), &own) == STATUS_OK && own);

    // Only the peer keeps ours alive once we let go, until it drops it.
    ASSERT_EQ(call(service_.get(), peer::kHoldBinder, reply, sending(local.get())), STATUS_OK);
    local = nullptr;
    back = nullptr;
    EXPECT_EQ(Counted::live().load(), liveBefore + 1);
    ASSERT_EQ(call(service_.get(), peer::kDropBinder, reply), STATUS_OK);
    EXPECT_TRUE(waitFor([&]() { return Counted::live().load() == liveBefore; }));

    // The peer's object lives while our proxy does.
    const int32_t peerBefore = peerLiveObjects();
    ASSERT_EQ(call(service_.get(), peer::kNewObject, reply), STATUS_OK);
    ndk::SpAIBinder object;
    ASSERT_EQ(ndk::AParcel_readRequiredStrongBinder(reply.get(), &object), STATUS_OK);
    reply.set(nullptr);
    EXPECT_EQ(peerLiveObjects(), peerBefore + 1);
    object = nullptr;
    EXPECT_TRUE(waitFor([&]() { return peerLiveObjects() == peerBefore; }));
}

TEST_F(RpcTest, NestedCallsInBothDirections) {
    // We call the peer, the peer calls our callback, our callback calls the peer: each nested
    // call runs on the thread waiting for the outer one, so this works with one peer thread.
    PeerProcess single;
    ASSERT_TRUE(single.start(instance_ + ".single", 0));
    ndk::SpAIBinder singleService = peerBinder(instance_ + ".single");
    ASSERT_NE(singleService.get(), nullptr);
    Callback::service = singleService.get();
    ndk::SpAIBinder callback(AIBinder_new(Callback::clazz(), nullptr));
    std::string text;
    ASSERT_EQ(callText(singleService.get(), peer::kCallBack, "ping", &text, callback.get()),
              STATUS_OK);
    EXPECT_EQ(text, "peer:ping");

    // Several threads at once, each a nested chain through both peers.
    std::vector<std::thread> threads;
    std::atomic<int> good{0};
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t]() {
            for (int i = 0; i < 10; ++i) {
                const std::string word = std::to_string(t * 100 + i);
                std::string answer;
                if (callText(service_.get(), peer::kCallBack, word, &answer, callback.get()) ==
                        STATUS_OK &&
                    answer == "peer:" + word) {
                    ++good;
                }
            }
        });
    }
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(good.load(), 40);
    Callback::service = nullptr;
}

// The peer killed while idle or during a call: every proxy into it dies once, on a pool thread,
// within a second; the outstanding call and later ones fail with STATUS_DEAD_OBJECT.
TEST_F(RpcTest, PeerKilledIdleOrDuringACallKillsItsProxiesOnce) {
    for (bool duringCall : {false, true}) {
        SCOPED_TRACE(duringCall ? "during a call" : "idle");
        if (duringCall) {
            TearDown();
            SetUp();
        }
        ndk::ScopedAIBinder_DeathRecipient recipient(AIBinder_DeathRecipient_new(onDied));
        ASSERT_EQ(AIBinder_linkToDeath(service_.get(), recipient.get(), nullptr), STATUS_OK);
        ndk::ScopedAParcel reply;
        ASSERT_EQ(call(service_.get(), peer::kNewObject, reply), STATUS_OK);
        ndk::SpAIBinder object;
        ASSERT_EQ(ndk::AParcel_readRequiredStrongBinder(reply.get(), &object), STATUS_OK);
        ASSERT_EQ(AIBinder_linkToDeath(object.get(), recipient.get(), nullptr), STATUS_OK);
        std::atomic<binder_status_t> blocked{STATUS_OK};
        std::thread caller;
        if (duringCall) {
            caller = std::thread([&]() {
                ndk::ScopedAParcel r;
                blocked = call(service_.get(), peer::kBlock, r);
            });
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
        const auto killed = std::chrono::steady_clock::now();
        peer_.kill();
        if (caller.joinable()) caller.join();
        ASSERT_TRUE(waitFor([&]() { return gDied.load() == 2; }));
        EXPECT_LT(std::chrono::steady_clock::now() - killed, std::chrono::seconds(1));
        EXPECT_EQ(blocked.load(), duringCall ? STATUS_DEAD_OBJECT : STATUS_OK);
        EXPECT_TRUE(gDiedOnPool.load());
        EXPECT_FALSE(AIBinder_isAlive(object.get()));
        EXPECT_EQ(AIBinder_ping(service_.get()), STATUS_DEAD_OBJECT);
        EXPECT_EQ(call(service_.get(), peer::kLiveObjects, reply), STATUS_DEAD_OBJECT);
        EXPECT_EQ(AIBinder_linkToDeath(service_.get(), recipient.get(), nullptr),
                  STATUS_DEAD_OBJECT);
        ASSERT_EQ(ABinderHost_flushPool(), STATUS_OK);
        EXPECT_EQ(gDied.load(), 2);
    }
}

TEST_F(RpcTest, ConnectionClosesWhenNothingUsesIt) {
    // Dropping the only proxy closes the connection: its control socket and a call channel each
    // way.
    const int connected = openFdCount();
    service_ = nullptr;
    ASSERT_TRUE(waitFor([&]() { return openFdCount() == connected - 3; }));
    const int idle = openFdCount();
    EXPECT_EQ(AIBinder_ping(peerBinder(instance_).get()), STATUS_OK);
    EXPECT_TRUE(waitFor([&]() { return openFdCount() == idle; }));
}

}  // namespace
