// A concrete node for tests: records every handler call, completes the flush-done handshake, and
// makes the base class's members reachable.
#pragma once

#include <android/log.h>

#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "descriptors.h"
#include "log_expect.h"
#include "pavovppservicebase.h"

namespace vpptest {

class TestNode : public IxoNodeVppBase {
  public:
    explicit TestNode(const char* pName = "TestNode", uint32_t width = 64, uint32_t height = 32);

    void OnVppServiceDied() override;
    void OnVppInputBufferDone(const VppBuffer& buffer) override;
    void OnVppOutputBufferDone(const VppBuffer& buffer) override;
    // Sets the port's flag and signals under the flush lock, as a real node must.
    void OnVppFlushDone(const FlushDone& flushDone) override;
    void OnVppDrainDone() override;
    void OnVppReconfigDone(const ReconfigDone& reconfigDone) override;
    void OnVppError(VppError error) override;

    // Handler calls in order: "died", "input:<cookie>", "output:<cookie>", "flush:<port>",
    // "drain", "reconfig", "error:<value>".
    std::vector<std::string> Events() const;
    // Called at the start of OnVppServiceDied, on the thread that delivers the death.
    std::function<void()> onServiceDied;

    // The base class's state, made public for tests.
    using IxoNodeVppBase::m_closeResult;
    using IxoNodeVppBase::m_closeThreadId;
    using IxoNodeVppBase::m_inputFlushDone;
    using IxoNodeVppBase::m_openThreadId;
    using IxoNodeVppBase::m_outputFlushDone;
    using IxoNodeVppBase::m_pFlushSessionLock;
    using IxoNodeVppBase::m_pNodeName;
    using IxoNodeVppBase::m_pVppCallbacks;
    using IxoNodeVppBase::m_pVppSession;
    using IxoNodeVppBase::m_pWaitFlushSessionDone;
    using IxoNodeVppBase::m_sessionMode;
    using IxoNodeVppBase::m_sessionOpened;
    using IxoNodeVppBase::m_skipWaitForClose;
    using IxoNodeVppBase::s_pSessionCountLock;
    using IxoNodeVppBase::s_sessionCount;
    using IxoNodeVppBase::s_vppService;

    // Puts the process-wide statics back to their load-time state (between tests).
    static void ResetStatics();

  private:
    void Record(std::string event);

    mutable std::mutex m_eventsMutex;
    std::vector<std::string> m_events;
};

}  // namespace vpptest
