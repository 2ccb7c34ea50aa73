// The test node's handlers and the reset of the process-wide statics.
#include "test_node.h"

namespace vpptest {

TestNode::TestNode(const char* pName, uint32_t width, uint32_t height) {
    m_pNodeName = pName;
    m_width = width;
    m_height = height;
}

void TestNode::Record(std::string event) {
    std::lock_guard<std::mutex> lock(m_eventsMutex);
    m_events.push_back(std::move(event));
}

void TestNode::OnVppServiceDied() {
    if (onServiceDied) {
        onServiceDied();
    }
    Record("died");
}

void TestNode::OnVppInputBufferDone(const VppBuffer& buffer) {
    Record("input:" + std::to_string(buffer.cookie));
}

void TestNode::OnVppOutputBufferDone(const VppBuffer& buffer) {
    Record("output:" + std::to_string(buffer.cookie));
}

void TestNode::OnVppFlushDone(const FlushDone& flushDone) {
    if (m_pFlushSessionLock != nullptr) {
        m_pFlushSessionLock->Lock();
        if (flushDone.port == 0) {
            m_inputFlushDone = 1;
        } else {
            m_outputFlushDone = 1;
        }
        m_pWaitFlushSessionDone->Signal();
        m_pFlushSessionLock->Unlock();
    }
    Record("flush:" + std::to_string(flushDone.port));
}

void TestNode::OnVppDrainDone() {
    Record("drain");
}

void TestNode::OnVppReconfigDone(const ReconfigDone& /*reconfigDone*/) {
    Record("reconfig");
}

void TestNode::OnVppError(VppError error) {
    Record("error:" + std::to_string(static_cast<int32_t>(error)));
}

std::vector<std::string> TestNode::Events() const {
    std::lock_guard<std::mutex> lock(m_eventsMutex);
    return m_events;
}

void TestNode::ResetStatics() {
    s_vppService.reset();
    s_sessionCount = 0;
    if (s_pSessionCountLock != nullptr) {
        s_pSessionCountLock->Destroy();
        s_pSessionCountLock = nullptr;
    }
}

}  // namespace vpptest
