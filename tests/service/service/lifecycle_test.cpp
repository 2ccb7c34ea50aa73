// Flush, close and term returning what a session holds, callbacks that call back into the
// session, and a service or client declared dead.
#include <future>
#include <set>
#include <tuple>

#include "service_test_util.h"

namespace svctest {
namespace {

constexpr size_t kFrameSize = 32 * 16 * 3 / 2;
const VppPortParam kParam = Param(32, 16);

std::multiset<int64_t> Cookies(const std::vector<Event>& events) {
    std::multiset<int64_t> cookies;
    for (const Event& e : events) cookies.insert(e.cookie);
    return cookies;
}

class LifecycleTest : public ServiceTest {
  protected:
    void SetUp() override {
        ServiceTest::SetUp();
        in_ = Frames(5, kFrameSize);
        out_ = Frames(3, kFrameSize);
        ownMappings_ = ServiceMappings();
    }
    // Queues frames 0..count-1 of a port with cookies from `cookie`, at times 100 apart.
    void QueueFrames(int32_t port, size_t count, int64_t cookie = 0) {
        for (size_t i = 0; i < count; ++i) {
            ASSERT_EQ(Queue(port, (port == 0 ? in_ : out_)[i]->Buffer(cookie + i, 100 * i)),
                      E::VPP_OK);
        }
    }
    // Mappings of the test's frames that the service holds.
    int Held() const { return ServiceMappings() - ownMappings_; }

    int ownMappings_ = 0;
};
// What only a service in this process shows: a death declared on it or on the client's
// callbacks, its registration, its session count.
class EmbeddedLifecycleTest : public LifecycleTest {};

// A flush returns every buffer of its port, then its event, and unmaps what is no longer queued.
// A buffer queued again (through a new duplicate of its descriptor) reuses the mapping the
// service made the first time.
TEST_P(LifecycleTest, FlushReturnsAndUnmapsWhatItsPortHoldsAndBuffersStayMappedAcrossUses) {
    ASSERT_NO_FATAL_FAILURE(OpenSession(kParam, Ctrl(2, 2)));
    // No output buffers: the worker holds the first inputs and waits; the rest stay queued.
    ASSERT_NO_FATAL_FAILURE(QueueFrames(0, 5));
    ASSERT_EQ(Call(&S::flush, 0), E::VPP_OK);
    ASSERT_TRUE(callbacks_->WaitFor(Event::kFlush));
    auto events = callbacks_->Events();
    ASSERT_EQ(events.size(), 6u);
    EXPECT_EQ(Cookies(callbacks_->Of(Event::kInput)), (std::multiset<int64_t>{0, 1, 2, 3, 4}));
    EXPECT_TRUE(events.back().kind == Event::kFlush && events.back().port == 0);
    // Outputs wait for frames; flushing the output port returns them unfilled.
    ASSERT_NO_FATAL_FAILURE(QueueFrames(1, 3, 100));
    ASSERT_EQ(Call(&S::flush, 1), E::VPP_OK);
    ASSERT_TRUE(callbacks_->WaitFor(Event::kFlush, 2));
    events = callbacks_->Events();
    ASSERT_EQ(events.size(), 10u);
    for (size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(
            std::make_tuple(events[6 + i].kind, events[6 + i].cookie, events[6 + i].filledLen),
            std::make_tuple(Event::kOutput, static_cast<int64_t>(100 + i), 0));
    }
    EXPECT_EQ(events.back().port, 1);
    EXPECT_EQ(Held(), 0);

    // The session goes on with new streams; every buffer is back with the client after each, and
    // mapped once in the service.
    for (size_t stream = 0; stream < 3; ++stream) {
        ASSERT_NO_FATAL_FAILURE(QueueFrames(1, 3, 200));
        ASSERT_EQ(Queue(0, in_[0]->Buffer(10, 0)), E::VPP_OK);
        ASSERT_EQ(Queue(0, in_[1]->Buffer(11, 100, kEos)), E::VPP_OK);
        ASSERT_TRUE(callbacks_->WaitFor(Event::kDrain, stream + 1));
        EXPECT_EQ(Held(), 5) << "stream " << stream;
    }
    const auto filled = callbacks_->Of(Event::kOutput);
    ASSERT_EQ(filled.size(), 12u);
    EXPECT_TRUE(filled.back().timestamp == 100 && filled.back().flags == kEos);

    // A buffer that shrank below the frame is refused although a mapping of it is kept.
    VppBuffer shrunk = out_[0]->Buffer(102);
    ASSERT_EQ(ftruncate(shrunk.bufferHandle.fds[0].get(), kFrameSize / 2), 0);
    EXPECT_EQ(Queue(1, shrunk), E::VPP_ERR_PARAM);

    for (int32_t port : {0, 1}) {
        ASSERT_EQ(Call(&S::flush, port), E::VPP_OK);
        ASSERT_TRUE(callbacks_->WaitFor(Event::kFlush, port + 3));
    }
    EXPECT_EQ(Held(), 0);
}

TEST_P(LifecycleTest, CloseAndTermReturnEverythingAndUnmapIt) {
    for (bool closeFirst : {true, false}) {
        SCOPED_TRACE(closeFirst ? "close, then term" : "term alone");
        Restart();
        ASSERT_NO_FATAL_FAILURE(OpenSession(kParam, Ctrl(2, 2)));
        const int ownFds = testsupport::OpenDescriptorCount();
        ASSERT_NO_FATAL_FAILURE(QueueFrames(0, 3));
        ASSERT_NO_FATAL_FAILURE(QueueFrames(1, 2, 100));
        // The service keeps mappings, not descriptors (embedded, the buffers' duplicates are
        // closed once the calls return; in vppd, the copies it received).
        EXPECT_EQ(testsupport::OpenDescriptorCount(), ownFds);
        if (daemon_) {
            const pid_t pid = daemon_->pid();
            EXPECT_EQ(
                SettledCount([&] { return testsupport::OpenDescriptorCountOf(pid); }, serviceFds_),
                serviceFds_);
        }
        EXPECT_GT(Held(), 0);

        if (closeFirst) {
            ASSERT_EQ(Call(&S::close), E::VPP_OK);
        } else {
            ASSERT_TRUE(session_->term().isOk());
        }
        // Everything is back by the time the call returns.
        EXPECT_EQ(Cookies(callbacks_->Of(Event::kInput)), (std::multiset<int64_t>{0, 1, 2}));
        EXPECT_EQ(Cookies(callbacks_->Of(Event::kOutput)), (std::multiset<int64_t>{100, 101}));
        EXPECT_EQ(Held(), 0);
        EXPECT_TRUE(!Embedded() || handle_->liveSessionCount() == (closeFirst ? 1u : 0u));
        ASSERT_TRUE(session_->term().isOk());
        EXPECT_EQ(State(), 4);
        EXPECT_TRUE(!Embedded() || handle_->liveSessionCount() == 0u);
    }
}

TEST_P(LifecycleTest, CallbacksMayCallBackIntoTheSession) {
    const size_t count = 5;
    out_ = Frames(count, kFrameSize);
    std::promise<int32_t> finished;
    // Each returned output queues the next input and output from inside the callback; the drain
    // closes and terminates the session from inside its callback.
    callbacks_->hook = [&](const Event& e) {
        if (e.kind == Event::kOutput && e.filledLen > 0) {
            VppStats stats;
            EXPECT_EQ(Call(&S::getStats, &stats), E::VPP_OK);
            const size_t next = static_cast<size_t>(e.cookie) + 1;
            if (next < count) {
                EXPECT_EQ(Queue(1, out_[next]->Buffer(next)), E::VPP_OK);
                const int32_t flags = next + 1 == count ? kEos : 0;
                EXPECT_EQ(Queue(0, in_[next]->Buffer(next, next, flags)), E::VPP_OK);
            }
        } else if (e.kind == Event::kDrain) {
            EXPECT_EQ(Call(&S::close), E::VPP_OK);
            EXPECT_TRUE(session_->term().isOk());
            finished.set_value(State());
        }
    };
    ASSERT_NO_FATAL_FAILURE(OpenSession(kParam, Ctrl(0, 0)));
    ASSERT_EQ(Queue(1, out_[0]->Buffer(0)), E::VPP_OK);
    ASSERT_EQ(Queue(0, in_[0]->Buffer(0, 0)), E::VPP_OK);
    auto state = finished.get_future();
    ASSERT_EQ(state.wait_for(std::chrono::seconds(5)), std::future_status::ready);
    EXPECT_EQ(state.get(), 4);
    EXPECT_EQ(callbacks_->Of(Event::kOutput).size(), count);
    EXPECT_EQ(callbacks_->Of(Event::kInput).size(), count);
    callbacks_->hook = nullptr;
}

// A service declared dead, or unregistered, answers every call with DEAD_OBJECT (out-values
// unwritten) and calls nothing back; its worker is done when term returns.
TEST_P(EmbeddedLifecycleTest, ADeadOrUnregisteredServiceAnswersDeadObject) {
    for (bool unregister : {false, true}) {
        SCOPED_TRACE(unregister ? "unregistered" : "declared dead");
        Restart();
        ASSERT_NO_FATAL_FAILURE(OpenSession(kParam, Ctrl(2, 2)));
        ASSERT_NO_FATAL_FAILURE(QueueFrames(0, 3));
        ASSERT_EQ(Queue(1, out_[0]->Buffer(100)), E::VPP_OK);
        ASSERT_TRUE(callbacks_->WaitFor(Event::kOutput));
        const std::string name = handle_->name();
        const std::string instance = name.substr(name.find('/') + 1);
        if (unregister) {
            EXPECT_EQ(vppservice::RegisterService(instance), nullptr) << "the name is taken";
            handle_.reset();
            EXPECT_EQ(AServiceManager_checkService(name.c_str()), nullptr);
        } else {
            ASSERT_EQ(ABinderHost_declareDead(name.c_str()), STATUS_OK);
        }
        const size_t eventsAtDeath = callbacks_->Events().size();
        E error = E::VPP_ERR_HW;
        int32_t state = -1;
        std::shared_ptr<IVppSession> another;
        for (const ndk::ScopedAStatus& status :
             {session_->queueBuf(1, out_[0]->Buffer(101), &error), session_->flush(0, &error),
              session_->getState(&state, &error), session_->ping(&error),
              service_->getNewVppSession(0, &another), session_->term()}) {
            EXPECT_EQ(status.getStatus(), STATUS_DEAD_OBJECT);
        }
        EXPECT_TRUE(error == E::VPP_ERR_HW && state == -1 && another == nullptr)
            << "out-values are not written";
        EXPECT_EQ(callbacks_->Events().size(), eventsAtDeath);
        EXPECT_EQ(Held(), 0);
        if (unregister) {
            handle_ = vppservice::RegisterService(instance);
            EXPECT_NE(handle_, nullptr) << "the name is free again";
        }
    }
}

TEST_P(EmbeddedLifecycleTest, ADeadClientTakesItsSessionsDownAndNoOtherSession) {
    const int ownFds = testsupport::OpenDescriptorCount();
    ASSERT_NO_FATAL_FAILURE(OpenSession(kParam, Ctrl(2, 2)));
    ASSERT_NO_FATAL_FAILURE(QueueFrames(0, 3));
    // One output for a group of two: the worker writes it, then waits with the inputs held.
    ASSERT_EQ(Queue(1, out_[0]->Buffer(100)), E::VPP_OK);
    ASSERT_TRUE(callbacks_->WaitFor(Event::kOutput));

    // A second client of the same service, with its own callbacks, stays.
    std::shared_ptr<IVppSession> other;
    ASSERT_TRUE(service_->getNewVppSession(0, &other).isOk());
    auto otherCallbacks = ndk::SharedRefBase::make<RecordingCallbacks>();
    E error = E::VPP_ERR_HW;
    ASSERT_TRUE(other->init(0, otherCallbacks, &error).isOk() && error == E::VPP_OK);
    ASSERT_EQ(handle_->liveSessionCount(), 2u);

    const size_t eventsAtDeath = callbacks_->Events().size();
    ASSERT_EQ(ABinderHost_declareBinderDead(callbacks_->asBinder().get()), STATUS_OK);
    ASSERT_EQ(ABinderHost_flushPool(), STATUS_OK);
    // Gone by the time the notification has run: its worker, its mappings, its buffers (returned
    // to nowhere), and the service's references to the dead callbacks.
    EXPECT_EQ(handle_->liveSessionCount(), 1u);
    EXPECT_EQ(State(), 4);
    EXPECT_EQ(Held(), 0);
    EXPECT_EQ(testsupport::OpenDescriptorCount(), ownFds);
    EXPECT_EQ(callbacks_->Events().size(), eventsAtDeath);
    EXPECT_EQ(Queue(0, in_[0]->Buffer(9)), E::VPP_ERR_STATE);

    error = E::VPP_ERR_HW;
    EXPECT_TRUE(other->ping(&error).isOk() && error == E::VPP_OK);
    EXPECT_TRUE(other->term().isOk());
    EXPECT_EQ(handle_->liveSessionCount(), 0u);
    EXPECT_TRUE(otherCallbacks->Events().empty());
}

TEST_P(EmbeddedLifecycleTest, SessionsEndingNormallyLeaveNoDeathLinkBehind) {
    // Each session links to its client's death and must unlink when it ends: a death declared
    // afterwards reaches nothing, and the callbacks object is released with its last client.
    std::weak_ptr<RecordingCallbacks> watched = callbacks_;
    ASSERT_NO_FATAL_FAILURE(OpenSession(kParam, Ctrl(2, 2)));
    ASSERT_TRUE(session_->term().isOk());
    ASSERT_EQ(handle_->liveSessionCount(), 0u);
    ndk::SpAIBinder binder = callbacks_->asBinder();
    session_.reset();
    callbacks_.reset();
    EXPECT_EQ(ABinderHost_declareBinderDead(binder.get()), STATUS_OK);
    EXPECT_EQ(ABinderHost_flushPool(), STATUS_OK);
    binder = ndk::SpAIBinder();
    EXPECT_TRUE(watched.expired()) << "the service still holds the callbacks";
}

ON_BOTH_TRANSPORTS(LifecycleTest);
INSTANTIATE_TEST_SUITE_P(Transports, EmbeddedLifecycleTest, ::testing::Values(Transport::kEmbedded),
                         TransportName);

}  // namespace
}  // namespace svctest
