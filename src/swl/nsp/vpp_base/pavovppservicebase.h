// IxoNodeVppBase, the base class through which camera-pipeline nodes use the VPP service, and
// IxoVppCallbacks, the object through which the service calls a node back.
#pragma once

#include <android/binder_auto_utils.h>
#include <android/binder_ibinder.h>
#include <cutils/native_handle.h>

#include <aidl/vendor/zux/hardware/vpp/BnVppCallbacks.h>
#include <aidl/vendor/zux/hardware/vpp/FlushDone.h>
#include <aidl/vendor/zux/hardware/vpp/IVppService.h>
#include <aidl/vendor/zux/hardware/vpp/IVppSession.h>
#include <aidl/vendor/zux/hardware/vpp/ReconfigDone.h>
#include <aidl/vendor/zux/hardware/vpp/VppBuffer.h>
#include <aidl/vendor/zux/hardware/vpp/VppCtrlFrc.h>
#include <aidl/vendor/zux/hardware/vpp/VppError.h>
#include <aidl/vendor/zux/hardware/vpp/VppPortParam.h>

#include <cstdint>
#include <memory>

#include "ixonode.h"
#include "ixotypes.h"
#include "pavoosutils.h"

using ::aidl::vendor::zux::hardware::vpp::BnVppCallbacks;
using ::aidl::vendor::zux::hardware::vpp::FlushDone;
using ::aidl::vendor::zux::hardware::vpp::IVppService;
using ::aidl::vendor::zux::hardware::vpp::IVppSession;
using ::aidl::vendor::zux::hardware::vpp::ReconfigDone;
using ::aidl::vendor::zux::hardware::vpp::VppBuffer;
using ::aidl::vendor::zux::hardware::vpp::VppCtrlFrc;
using ::aidl::vendor::zux::hardware::vpp::VppError;
using ::aidl::vendor::zux::hardware::vpp::VppPortParam;

class IxoVppCallbacks;

// Name of a LumResult value, e.g. "LumResultETimeout".
const char* LumResultToString(LumResult result);

// Base of every camera node that pushes frames through the VPP service. A derived node sets
// m_pNodeName, m_width, m_height (and m_sessionMode), calls Initialize, then drives the session
// and buffer operations; the service's events reach it through the seven handlers, on binder
// threads.
class IxoNodeVppBase {
public:
    IxoNodeVppBase();

    // Handlers a derived node implements, in this order.
    virtual void OnVppServiceDied() = 0;
    virtual void OnVppInputBufferDone(const VppBuffer& buffer) = 0;
    virtual void OnVppOutputBufferDone(const VppBuffer& buffer) = 0;
    // Must lock m_pFlushSessionLock, set m_inputFlushDone (port 0) or m_outputFlushDone
    // (port 1), signal m_pWaitFlushSessionDone and unlock, for FlushSession to end its wait early.
    virtual void OnVppFlushDone(const FlushDone& flushDone) = 0;
    virtual void OnVppDrainDone() = 0;
    virtual void OnVppReconfigDone(const ReconfigDone& reconfigDone) = 0;
    virtual void OnVppError(VppError error) = 0;

    virtual ~IxoNodeVppBase();

    IxoNodeVppBase(const IxoNodeVppBase&) = delete;
    IxoNodeVppBase& operator=(const IxoNodeVppBase&) = delete;

    // Node base.
    LumResult Initialize(IxoNodeInterface* pIxoNodeInterface);

    // Service link.
    static LumResult AcquireVppService(const char* instance);
    static LumResult ReleaseVppService(IxoNodeVppBase* pNode);
    static void VppServiceDied(void* cookie);

    // Session lifecycle.
    LumResult InitVppSession();
    LumResult SetVppParameter(const VppPortParam& param);
    LumResult SetVppControl(const VppCtrlFrc& ctrl);
    LumResult OpenVppSession();
    LumResult NotifyOpenVppSession();
    static void* DeferOpenVppSession(void* pArg);
    LumResult OnOpenVppSession();
    uint32_t WaitForOnOpenVppSession();
    LumResult FlushSession();
    LumResult DrainSession();
    LumResult CloseVppSession();
    LumResult TermVppSession();
    LumResult NotifyCloseVppSession();
    static void* DeferCloseVppSession(void* pNode);
    LumResult WaitForCloseVppSession();

    // Buffer path.
    native_handle_t* GetNativeHandle(IxoImageList* pImageList);
    LumResult QueueInput(IxoRequestBufferInfo* pRequestBufferInfo, uint64_t requestId,
                         uint8_t index, int32_t isEOS, int32_t needGenerateFd,
                         uint64_t newTimestamp);
    LumResult QueueTempBuffertoVPPOutput(IxoRequestBufferInfo* pRequestBufferInfo,
                                         IxoRequestBufferInfo* pTempBufferInfo, uint64_t requestId,
                                         uint8_t index, int32_t needGenerateFd,
                                         void* pCameraBuffer, int32_t isEOS);
    LumResult QueueOutput(IxoRequestBufferInfo* pRequestBufferInfo, uint64_t requestId,
                          uint8_t index, int32_t isEOS);
    LumResult QueueInputEmpty(uint64_t requestId, uint32_t index);
    LumResult CopyImage(IxoImageList* hOutput, IxoImageList* hInput);

protected:
    const char* m_pNodeName;                      // set by the derived node; not owned
    uint32_t m_width;                             // frame width of both ports
    uint32_t m_height;                            // frame height of both ports
    uint32_t m_sessionOpened;                     // 1 once the deferred open succeeded
    uint32_t m_sessionMode;                       // colour format of both ports (3 by default)
    Pavo::OSThreadHandle m_openThreadId;          // deferred-open worker to join, or 0
    Pavo::OSThreadHandle m_closeThreadId;         // deferred-close worker to join, or 0
    uint32_t m_openResult;                        // 1: the last deferred open succeeded
    uint32_t m_closeResult;                       // returned by WaitForCloseVppSession
    Pavo::Mutex* m_pFlushSessionLock;             // guards the two flush-done flags
    Pavo::Condition* m_pWaitFlushSessionDone;     // signalled when a port's flush is done
    uint32_t m_inputFlushDone;                    // set by OnVppFlushDone for port 0
    uint32_t m_outputFlushDone;                   // set by OnVppFlushDone for port 1
    std::shared_ptr<IVppSession> m_pVppSession;
    std::shared_ptr<IxoVppCallbacks> m_pVppCallbacks;
    ndk::ScopedAIBinder_DeathRecipient m_pDeathRecipient;
    uint32_t m_skipWaitForClose;                  // non-zero: the destructor does not wait

    static std::shared_ptr<IVppService> s_vppService;  // the process's service proxy
    static uint32_t s_sessionCount;                    // sessions opened by live nodes
    static Pavo::Mutex* s_pSessionCountLock;           // guards s_sessionCount
};

// The service's view of a node: forwards each event to the node's handler and answers VPP_OK.
class IxoVppCallbacks : public BnVppCallbacks {
public:
    explicit IxoVppCallbacks(IxoNodeVppBase* pNode);
    ~IxoVppCallbacks() override;

    ndk::ScopedAStatus eventDrainDone(VppError* _aidl_return) override;
    ndk::ScopedAStatus eventError(VppError in_error, VppError* _aidl_return) override;
    ndk::ScopedAStatus eventFlushDone(const FlushDone& in_flushDone,
                                      VppError* _aidl_return) override;
    ndk::ScopedAStatus eventReconfigDone(const ReconfigDone& in_reconfigDone,
                                         VppError* _aidl_return) override;
    ndk::ScopedAStatus inputBufferDone(const VppBuffer& in_buffer,
                                       VppError* _aidl_return) override;
    ndk::ScopedAStatus outputBufferDone(const VppBuffer& in_buffer,
                                        VppError* _aidl_return) override;

private:
    IxoNodeVppBase* m_pNode;  // not owned; may be null
};
