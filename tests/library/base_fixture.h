// The base fixture of every library test: clean process-wide state, and leak checks of
// descriptors, mutexes, conditions and threads.
#pragma once

#include <android/binder_process.h>
#include <android/log.h>
#include <binder_host/binder_host.h>
#include <camera_host/camera_host.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ixolog.h"
#include "log_expect.h"
#include "test_node.h"

namespace vpptest {

// Group bit of the node statements and the mask indices of the four levels.
constexpr uint64_t kNodeGroup = 0x40000000000000ULL;
constexpr uint64_t kIxeGroup = 0x800ULL;
constexpr int kErrorIndex = 0;
constexpr int kWarnIndex = 1;
constexpr int kInfoIndex = 4;
constexpr int kVerboseIndex = 6;

// Both sinks captured together while alive, with the Android log switched on: lines from one
// thread at a time keep the same order in both.
class BothSinks : public LogRecorder {
  public:
    BothSinks() { g_enableSystemLog = 1; }
};

// Clean process-wide state around every test: statics, binder registry and counters, failure
// injection, log switches (all four levels of the node group on, Android log and encryption
// off, stderr silenced), and checks that descriptors, mutexes, conditions and threads made
// during the test are gone at its end.
class BaseTest : public ::testing::Test {
  protected:
    static void SetUpTestSuite() {
        // Whatever the pool keeps open for its life is opened here, outside every count.
        ABinderProcess_startThreadPool();
    }

    void SetUp() override {
        camera_host::SetStderrLogging(false);
        camera_host::ResetFailureInjection();
        ABinderHost_resetForTesting();
        TestNode::ResetStatics();
        g_logIxeEncryption = 0;
        g_enableSystemLog = 0;
        for (int index : {kErrorIndex, kWarnIndex, kInfoIndex, kVerboseIndex}) {
            g_enableIxoNodeLogs[index] |= kNodeGroup;
        }
        m_fds = testsupport::OpenDescriptorCount();
        m_mutexes = camera_host::LiveMutexCount();
        m_conditions = camera_host::LiveConditionCount();
        m_threads = camera_host::LiveThreadCount();
    }

    void TearDown() override {
        // Deliveries still queued (deaths, posted callbacks) finish before the state goes.
        ABinderHost_flushPool();
        TestNode::ResetStatics();
        ABinderHost_resetForTesting();
        camera_host::ResetFailureInjection();
        EXPECT_EQ(testsupport::OpenDescriptorCount(), m_fds) << "descriptors leaked";
        EXPECT_EQ(camera_host::LiveMutexCount(), m_mutexes) << "mutexes leaked";
        EXPECT_EQ(camera_host::LiveConditionCount(), m_conditions) << "conditions leaked";
        EXPECT_EQ(camera_host::LiveThreadCount(), m_threads) << "threads not joined";
        camera_host::SetStderrLogging(true);
    }

    camera_host::LogSwitchesGuard m_switches;
    int m_fds = 0;
    int m_mutexes = 0;
    int m_conditions = 0;
    int m_threads = 0;
};

}  // namespace vpptest
