// Flush, close and term returning what a session holds, callbacks that call back into the
// session, and a service declared dead.
#include <android/binder_manager.h>

#include <future>
#include <set>

#include "service_test_util.h"

namespace svctest {
namespace {

constexpr int32_t kWidth = 32;
constexpr int32_t kHeight = 16;
constexpr size_t kFrameSize = kWidth * kHeight * 3 / 2;

std::vector<std::unique_ptr<SharedFrame>> Frames(size_t count) {
    std::vector<std::unique_ptr<SharedFrame>> frames;
    for (size_t i = 0; i < count; ++i) frames.push_back(std::make_unique<SharedFrame>(kFrameSize));
    return frames;
}

std::multiset<int64_t> Cookies(const std::vector<Event>& events) {
    std::multiset<int64_t> cookies;
    for (const Event& e : events) cookies.insert(e.cookie);
    return cookies;
}

class LifecycleTest : public ServiceTest {};
// What only a service in this process shows: its session count, a death declared on it or on the
// client's callbacks, its registration.
class EmbeddedLifecycleTest : public ServiceTest {};

TEST_P(LifecycleTest, FlushReturnsEveryBufferOfItsPortThenTheEvent) {
    auto inputs = Frames(5);
    auto outputs = Frames(3);
    ASSERT_NO_FATAL_FAILURE(OpenSession(Param(kWidth, kHeight), Ctrl(2, 2)));
    // No output buffers: the worker holds the first inputs and waits; the rest stay queued.
    for (size_t i = 0; i < inputs.size(); ++i) {
        ASSERT_EQ(Queue(0, inputs[i]->Buffer(i, 100 * i)), VppError::VPP_OK);
    }
    ASSERT_EQ(Call([&](VppError* e) { return session_->flush(0, e); }), VppError::VPP_OK);
    ASSERT_TRUE(callbacks_->WaitForFlush(0));
    auto events = callbacks_->Events();
    ASSERT_EQ(events.size(), inputs.size() + 1);
    EXPECT_EQ(Cookies({events.begin(), events.end() - 1}), (std::multiset<int64_t>{0, 1, 2, 3, 4}));
    EXPECT_EQ(events.back().kind, Event::kFlush);
    EXPECT_TRUE(callbacks_->Of(Event::kOutput).empty());

    // Outputs wait for frames; flushing the output port returns them unfilled.
    for (size_t i = 0; i < outputs.size(); ++i) {
        ASSERT_EQ(Queue(1, outputs[i]->Buffer(100 + i)), VppError::VPP_OK);
    }
    ASSERT_EQ(Call([&](VppError* e) { return session_->flush(1, e); }), VppError::VPP_OK);
    ASSERT_TRUE(callbacks_->WaitForFlush(1));
    events = callbacks_->Events();
    ASSERT_EQ(events.size(), inputs.size() + outputs.size() + 2);
    for (size_t i = 0; i < outputs.size(); ++i) {
        const Event& e = events[inputs.size() + 1 + i];
        EXPECT_EQ(e.kind, Event::kOutput);
        EXPECT_EQ(e.cookie, static_cast<int64_t>(100 + i));
        EXPECT_EQ(e.filledLen, 0);
    }
    EXPECT_EQ(events.back().kind, Event::kFlush);
    EXPECT_EQ(events.back().port, 1);

    // The session goes on with a new stream.
    ASSERT_EQ(Queue(1, outputs[0]->Buffer(200)), VppError::VPP_OK);
    ASSERT_EQ(Queue(1, outputs[1]->Buffer(201)), VppError::VPP_OK);
    ASSERT_EQ(Queue(1, outputs[2]->Buffer(202)), VppError::VPP_OK);
    ASSERT_EQ(Queue(0, inputs[0]->Buffer(10, 0)), VppError::VPP_OK);
    ASSERT_EQ(Queue(0, inputs[1]->Buffer(11, 100, kEos)), VppError::VPP_OK);
    ASSERT_TRUE(callbacks_->WaitForDrain());
    const auto filled = callbacks_->Of(Event::kOutput);
    ASSERT_EQ(filled.size(), outputs.size() * 2);
    EXPECT_EQ(filled.back().timestamp, 100);
    EXPECT_EQ(filled.back().flags, kEos);
}

// A buffer queued again (through a new duplicate of its descriptor) reuses the mapping the
// service made the first time; a flush unmaps what is no longer queued.
TEST_P(LifecycleTest, BuffersStayMappedAcrossUsesUntilAFlush) {
    auto inputs = Frames(2);
    auto outputs = Frames(3);
    const int ownMappings = ServiceMappings();
    ASSERT_NO_FATAL_FAILURE(OpenSession(Param(kWidth, kHeight), Ctrl(2, 2)));
    for (int stream = 0; stream < 3; ++stream) {
        SCOPED_TRACE("stream " + std::to_string(stream));
        const size_t drains = callbacks_->Of(Event::kDrain).size();
        for (size_t i = 0; i < outputs.size(); ++i) {
            ASSERT_EQ(Queue(1, outputs[i]->Buffer(100 + i)), VppError::VPP_OK);
        }
        ASSERT_EQ(Queue(0, inputs[0]->Buffer(0, 0)), VppError::VPP_OK);
        ASSERT_EQ(Queue(0, inputs[1]->Buffer(1, 100, kEos)), VppError::VPP_OK);
        ASSERT_TRUE(callbacks_->WaitForCount(Event::kDrain, drains + 1));
        // Every buffer is back with the client, and mapped once in the service.
        EXPECT_EQ(ServiceMappings() - ownMappings,
                  static_cast<int>(inputs.size() + outputs.size()));
    }

    // A buffer that shrank below the frame is refused although a mapping of it is kept.
    VppBuffer shrunk = outputs[0]->Buffer(102);
    ASSERT_EQ(ftruncate(shrunk.bufferHandle.fds[0].get(), kFrameSize / 2), 0);
    EXPECT_EQ(Queue(1, shrunk), VppError::VPP_ERR_PARAM);

    ASSERT_EQ(Call([&](VppError* e) { return session_->flush(0, e); }), VppError::VPP_OK);
    ASSERT_TRUE(callbacks_->WaitForFlush(0));
    ASSERT_EQ(Call([&](VppError* e) { return session_->flush(1, e); }), VppError::VPP_OK);
    ASSERT_TRUE(callbacks_->WaitForFlush(1));
    EXPECT_EQ(ServiceMappings(), ownMappings);
}

TEST_P(LifecycleTest, CloseAndTermReturnEverythingAndUnmapIt) {
    for (bool closeFirst : {true, false}) {
        SCOPED_TRACE(closeFirst ? "close, then term" : "term alone");
        TearDown();
        SetUp();
        auto inputs = Frames(3);
        auto outputs = Frames(4);
        const int ownMappings = ServiceMappings();
        ASSERT_NO_FATAL_FAILURE(OpenSession(Param(kWidth, kHeight), Ctrl(2, 2)));
        const int ownFds = testsupport::OpenDescriptorCount();
        for (size_t i = 0; i < inputs.size(); ++i) {
            ASSERT_EQ(Queue(0, inputs[i]->Buffer(i, 100 * i)), VppError::VPP_OK);
        }
        ASSERT_EQ(Queue(1, outputs[0]->Buffer(100)), VppError::VPP_OK);
        ASSERT_EQ(Queue(1, outputs[1]->Buffer(101)), VppError::VPP_OK);
        // The service keeps mappings, not descriptors (embedded, the buffers' duplicates are
        // closed once the calls return; in vppd, the copies it received).
        EXPECT_EQ(testsupport::OpenDescriptorCount(), ownFds);
        if (daemon_) {
            const pid_t pid = daemon_->pid();
            EXPECT_EQ(
                SettledCount([&] { return testsupport::OpenDescriptorCountOf(pid); }, serviceFds_),
                serviceFds_);
        }
        EXPECT_GT(ServiceMappings(), ownMappings);

        if (closeFirst) {
            ASSERT_EQ(Call([&](VppError* e) { return session_->close(e); }), VppError::VPP_OK);
        } else {
            ASSERT_TRUE(session_->term().isOk());
        }
        // Everything is back by the time the call returns.
        EXPECT_EQ(Cookies(callbacks_->Of(Event::kInput)), (std::multiset<int64_t>{0, 1, 2}));
        EXPECT_EQ(Cookies(callbacks_->Of(Event::kOutput)), (std::multiset<int64_t>{100, 101}));
        EXPECT_EQ(ServiceMappings(), ownMappings);
        if (Embedded()) {
            EXPECT_EQ(LiveSessions(), closeFirst ? 1 : 0);
        }
        ASSERT_TRUE(session_->term().isOk());
        EXPECT_EQ(State(), 4);
        if (Embedded()) {
            EXPECT_EQ(LiveSessions(), 0);
        }
    }
}

TEST_P(LifecycleTest, CallbacksMayCallBackIntoTheSession) {
    const size_t count = 6;
    auto inputs = Frames(count);
    auto outputs = Frames(count);
    std::promise<int32_t> finished;
    // Each returned output queues the next input and output from inside the callback; the drain
    // closes and terminates the session from inside its callback.
    callbacks_->hook = [&](const Event& e) {
        if (e.kind == Event::kOutput && e.filledLen > 0) {
            VppStats stats;
            VppError error;
            EXPECT_TRUE(session_->getStats(&stats, &error).isOk());
            const size_t next = static_cast<size_t>(e.cookie) + 1;
            if (next < count) {
                EXPECT_EQ(Queue(1, outputs[next]->Buffer(next)), VppError::VPP_OK);
                const int32_t flags = next + 1 == count ? kEos : 0;
                EXPECT_EQ(Queue(0, inputs[next]->Buffer(next, next, flags)), VppError::VPP_OK);
            }
        } else if (e.kind == Event::kDrain) {
            EXPECT_EQ(Call([&](VppError* r) { return session_->close(r); }), VppError::VPP_OK);
            EXPECT_TRUE(session_->term().isOk());
            finished.set_value(State());
        }
    };
    ASSERT_NO_FATAL_FAILURE(OpenSession(Param(kWidth, kHeight), Ctrl(0, 0)));
    ASSERT_EQ(Queue(1, outputs[0]->Buffer(0)), VppError::VPP_OK);
    ASSERT_EQ(Queue(0, inputs[0]->Buffer(0, 0)), VppError::VPP_OK);
    auto state = finished.get_future();
    ASSERT_EQ(state.wait_for(std::chrono::seconds(5)), std::future_status::ready);
    EXPECT_EQ(state.get(), 4);
    EXPECT_EQ(callbacks_->Of(Event::kOutput).size(), count);
    EXPECT_EQ(callbacks_->Of(Event::kInput).size(), count);
    callbacks_->hook = nullptr;
}

TEST_P(EmbeddedLifecycleTest, DeadServiceAnswersDeadObjectAndCallsNothingBack) {
    auto inputs = Frames(3);
    auto outputs = Frames(1);
    const int ownMappings = FrameMappingCount();
    ASSERT_NO_FATAL_FAILURE(OpenSession(Param(kWidth, kHeight), Ctrl(2, 2)));
    for (size_t i = 0; i < inputs.size(); ++i) {
        ASSERT_EQ(Queue(0, inputs[i]->Buffer(i, 100 * i)), VppError::VPP_OK);
    }
    ASSERT_EQ(Queue(1, outputs[0]->Buffer(100)), VppError::VPP_OK);
    ASSERT_TRUE(callbacks_->WaitForCount(Event::kOutput, 1));

    ASSERT_EQ(ABinderHost_declareDead(handle_->name().c_str()), STATUS_OK);
    const size_t eventsAtDeath = callbacks_->Events().size();
    VppError error = VppError::VPP_ERR_HW;
    EXPECT_EQ(session_->queueBuf(1, outputs[0]->Buffer(101), &error).getStatus(),
              STATUS_DEAD_OBJECT);
    EXPECT_EQ(session_->flush(0, &error).getStatus(), STATUS_DEAD_OBJECT);
    int32_t state = -1;
    EXPECT_EQ(session_->getState(&state, &error).getStatus(), STATUS_DEAD_OBJECT);
    EXPECT_EQ(session_->ping(&error).getStatus(), STATUS_DEAD_OBJECT);
    EXPECT_EQ(error, VppError::VPP_ERR_HW) << "out-values are not written";
    EXPECT_EQ(state, -1);
    std::shared_ptr<IVppSession> another;
    EXPECT_EQ(service_->getNewVppSession(0, &another).getStatus(), STATUS_DEAD_OBJECT);
    EXPECT_EQ(another, nullptr);

    // term joins the worker: whatever it did after the death is done, and it called nothing.
    EXPECT_EQ(session_->term().getStatus(), STATUS_DEAD_OBJECT);
    EXPECT_EQ(callbacks_->Events().size(), eventsAtDeath);
    EXPECT_EQ(FrameMappingCount(), ownMappings);
}

TEST_P(EmbeddedLifecycleTest, ADeadClientTakesItsSessionsDownAndNoOtherSession) {
    auto inputs = Frames(3);
    auto outputs = Frames(1);
    const int ownMappings = FrameMappingCount();
    const int ownFds = testsupport::OpenDescriptorCount();
    ASSERT_NO_FATAL_FAILURE(OpenSession(Param(kWidth, kHeight), Ctrl(2, 2)));
    for (size_t i = 0; i < inputs.size(); ++i) {
        ASSERT_EQ(Queue(0, inputs[i]->Buffer(i, 100 * i)), VppError::VPP_OK);
    }
    // One output for a group of two: the worker writes it, then waits for the next buffer with
    // the inputs held.
    ASSERT_EQ(Queue(1, outputs[0]->Buffer(100)), VppError::VPP_OK);
    ASSERT_TRUE(callbacks_->WaitForCount(Event::kOutput, 1));

    // A second client of the same service, with its own callbacks, stays.
    std::shared_ptr<IVppSession> other;
    ASSERT_TRUE(service_->getNewVppSession(0, &other).isOk());
    auto otherCallbacks = ndk::SharedRefBase::make<RecordingCallbacks>();
    VppError error = VppError::VPP_ERR_HW;
    ASSERT_TRUE(other->init(0, otherCallbacks, &error).isOk());
    ASSERT_EQ(error, VppError::VPP_OK);
    ASSERT_EQ(handle_->liveSessionCount(), 2u);

    const size_t eventsAtDeath = callbacks_->Events().size();
    ASSERT_EQ(ABinderHost_declareBinderDead(callbacks_->asBinder().get()), STATUS_OK);
    ASSERT_EQ(ABinderHost_flushPool(), STATUS_OK);
    // Gone by the time the notification has run: its worker, its mappings, its buffers (returned
    // to nowhere), and the service's references to the dead callbacks.
    EXPECT_EQ(handle_->liveSessionCount(), 1u);
    EXPECT_EQ(State(), 4);
    EXPECT_EQ(FrameMappingCount(), ownMappings);
    EXPECT_EQ(testsupport::OpenDescriptorCount(), ownFds);
    EXPECT_EQ(callbacks_->Events().size(), eventsAtDeath);
    EXPECT_EQ(Queue(0, inputs[0]->Buffer(9)), VppError::VPP_ERR_STATE);

    ASSERT_TRUE(other->ping(&error).isOk());
    EXPECT_EQ(error, VppError::VPP_OK);
    EXPECT_TRUE(other->term().isOk());
    EXPECT_EQ(handle_->liveSessionCount(), 0u);
    EXPECT_TRUE(otherCallbacks->Events().empty());
}

TEST_P(EmbeddedLifecycleTest, SessionsEndingNormallyLeaveNoDeathLinkBehind) {
    // Each session links to its client's death and must unlink when it ends: a death declared
    // afterwards reaches nothing, and the callbacks object is released with its last client.
    std::weak_ptr<RecordingCallbacks> watched = callbacks_;
    ASSERT_NO_FATAL_FAILURE(OpenSession(Param(kWidth, kHeight), Ctrl(2, 2)));
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

TEST_P(EmbeddedLifecycleTest, UnregisteringEndsTheServiceAndItsSessions) {
    auto inputs = Frames(2);
    ASSERT_NO_FATAL_FAILURE(OpenSession(Param(kWidth, kHeight), Ctrl(2, 2)));
    ASSERT_EQ(Queue(0, inputs[0]->Buffer(0, 0)), VppError::VPP_OK);
    ASSERT_EQ(Queue(0, inputs[1]->Buffer(1, 10)), VppError::VPP_OK);
    const std::string name = handle_->name();
    EXPECT_EQ(vppservice::RegisterService(name.substr(name.find('/') + 1)), nullptr)
        << "the name is taken";
    std::shared_ptr<IVppService> service = service_;
    handle_.reset();

    EXPECT_EQ(AServiceManager_checkService(name.c_str()), nullptr);
    VppError error = VppError::VPP_ERR_HW;
    EXPECT_EQ(session_->ping(&error).getStatus(), STATUS_DEAD_OBJECT);
    std::shared_ptr<IVppSession> another;
    EXPECT_EQ(service->getNewVppSession(0, &another).getStatus(), STATUS_DEAD_OBJECT);
    EXPECT_TRUE(callbacks_->Events().empty()) << "sessions end without callbacks";
    // The name is free again.
    handle_ = vppservice::RegisterService(name.substr(name.find('/') + 1));
    EXPECT_NE(handle_, nullptr);
}

INSTANTIATE_TEST_SUITE_P(Transports, LifecycleTest,
                         ::testing::Values(Transport::kEmbedded, Transport::kProcess),
                         TransportName);
INSTANTIATE_TEST_SUITE_P(Transports, EmbeddedLifecycleTest, ::testing::Values(Transport::kEmbedded),
                         TransportName);

}  // namespace
}  // namespace svctest
