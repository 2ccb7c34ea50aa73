// IxoNodeVppBase and IxoVppCallbacks, in the order a node uses them: node base, service link,
// callbacks, session lifecycle, buffer path.
#include "pavovppservicebase.h"

#include <aidlcommonsupport/NativeHandle.h>
#include <android/binder_manager.h>
#include <android/binder_process.h>
#include <android/binder_status.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "pavovppservicelog.h"

namespace {

// Names of the LumResult values, indexed by value.
// clang-format off
const char* const kLumResultNames[LumResultCount] = {
    "LumResultSuccess",          "LumResultEFailed",           "LumResultEUnsupported",
    "LumResultEInvalidState",    "LumResultEInvalidArg",       "LumResultEInvalidPointer",
    "LumResultENoSuch",          "LumResultEOutOfBounds",      "LumResultENoMemory",
    "LumResultETimeout",         "LumResultENoMore",           "LumResultENeedMore",
    "LumResultEExists",          "LumResultEPrivLevel",        "LumResultEResource",
    "LumResultEUnableToLoad",    "LumResultEInProgress",       "LumResultETryAgain",
    "LumResultEBusy",            "LumResultEReentered",        "LumResultEReadOnly",
    "LumResultEOverflow",        "LumResultEOutOfDomain",      "LumResultEInterrupted",
    "LumResultEWouldBlock",      "LumResultETooManyUsers",     "LumResultENotImplemented",
    "LumResultEDisabled",        "LumResultECancelledRequest", "LumResultECoreNullMetadata",
    "LumResultEInducedError",    "LumResultEFenceGroupError",  "LumResultECSLStreamOn",
    "LumResultEAlreadyCompleted", "LumResultEOEMStatus1",      "LumResultEOEMStatus2",
    "LumResultEOEMStatus3",      "LumResultEProviderNotExist",
};
// clang-format on

// Ports of a session.
constexpr int32_t kInputPort = 0;
constexpr int32_t kOutputPort = 1;

// Mode the FRC control puts a session in before its first control record.
constexpr int32_t kFrcSessionMode = 2;

// Single timed wait per port while flushing.
constexpr uint32_t kFlushWaitMilliseconds = 30;

// Buffer flag: end of stream.
constexpr int32_t kEndOfStreamFlag = 1;

// Format codes whose planes may be copied row by row when the layouts differ.
constexpr uint32_t kFormatY8 = 1;
constexpr uint32_t kFormatNV12 = 3;
constexpr uint32_t kFormatNV21 = 4;

// Size of an image: the low 32 bits of each plane size, summed with 32-bit wrap-around.
uint32_t ImageSize(const IxoImageList* pImage) {
    uint32_t size = 0;
    if (nullptr != pImage) {
        const uint32_t planes = std::min<uint32_t>(pImage->numberOfPlanes, IXO_MAX_PLANES);
        for (uint32_t plane = 0; plane < planes; plane++) {
            size += static_cast<uint32_t>(pImage->planeSize[plane]);
        }
    }
    return size;
}

// The native handle behind a camera buffer object: the pointer stored at the address its
// GetHandleAddress returns, or null.
native_handle_t* HandleOf(IxoImageList* pCameraBuffer) {
    void* pHandleAddress = pCameraBuffer->GetHandleAddress();
    return (nullptr != pHandleAddress) ? *static_cast<native_handle_t**>(pHandleAddress) : nullptr;
}

// First slot of a handle, as printed in the queue lines.
int FirstSlot(const native_handle_t* phNativeHandle) {
    return (phNativeHandle->numFds + phNativeHandle->numInts > 0) ? phNativeHandle->data[0] : -1;
}

// The buffer's cookie as a pointer, for printing.
void* CookiePointer(const VppBuffer& buffer) {
    return reinterpret_cast<void*>(static_cast<uintptr_t>(buffer.cookie));
}

// Name of a VppError value, or its decimal value.
std::string VppErrorName(VppError error) {
    return ::aidl::vendor::zux::hardware::vpp::toString(error);
}

}  // namespace

const char* LumResultToString(LumResult result) {
    // Callers print values of the table; anything else gets a name rather than a stray read.
    if (result < 0 || result >= LumResultCount) {
        return "LumResultUnknown";
    }
    return kLumResultNames[result];
}

std::shared_ptr<IVppService> IxoNodeVppBase::s_vppService;
uint32_t IxoNodeVppBase::s_sessionCount = 0;
Pavo::Mutex* IxoNodeVppBase::s_pSessionCountLock = nullptr;

// ------------------------------------------------------------------------------------------------
// Node base
// ------------------------------------------------------------------------------------------------

IxoNodeVppBase::IxoNodeVppBase()
    : m_pNodeName(nullptr),
      m_width(0),
      m_height(0),
      m_sessionOpened(0),
      m_sessionMode(3),
      m_openThreadId(0),
      m_closeThreadId(0),
      m_openResult(0),
      m_closeResult(0),
      m_pFlushSessionLock(nullptr),
      m_pWaitFlushSessionDone(nullptr),
      m_inputFlushDone(0),
      m_outputFlushDone(0),
      m_pVppSession(),
      m_pVppCallbacks(),
      m_pDeathRecipient(nullptr),
      m_skipWaitForClose(0) {
    // A node can be built while the service is missing; session initialisation reports it.
    AcquireVppService("/default");
}

LumResult IxoNodeVppBase::Initialize(IxoNodeInterface* pIxoNodeInterface) {
    LumResult result = LumResultSuccess;

    if (nullptr == pIxoNodeInterface) {
        VPP_LOG_ERROR("[%s] pIxoNodeInterface is NULL", m_pNodeName);
        result = LumResultEInvalidPointer;
    } else {
        VPP_LOG_VERBOSE(
            "[%s] initialize IxoNodeVppBase, &s_sessionCount: %p, s_sessionCount: %u, "
            "&s_pSessionCountLock: %p, s_pSessionCountLock: %p",
            m_pNodeName, static_cast<void*>(&s_sessionCount), s_sessionCount,
            static_cast<void*>(&s_pSessionCountLock), static_cast<void*>(s_pSessionCountLock));

        if (nullptr != s_pSessionCountLock) {
            VPP_LOG_INFO("[%s] vpp SessionCount lock already exists", m_pNodeName);
        } else {
            s_pSessionCountLock = Pavo::Mutex::Create("VppSessionCountLock");
            if (nullptr == s_pSessionCountLock) {
                VPP_LOG_ERROR("[%s] Falied to allocate memory s_pSessionCountLock %p", m_pNodeName,
                              static_cast<void*>(s_pSessionCountLock));
                // The per-node objects are still attempted.
                result = LumResultENoMemory;
            }
        }

        VPP_LOG_INFO(
            "[%s] &s_sessionCount: %p, s_sessionCount: %u, &s_pSessionCountLock: %p, "
            "s_pSessionCountLock: %p",
            m_pNodeName, static_cast<void*>(&s_sessionCount), s_sessionCount,
            static_cast<void*>(&s_pSessionCountLock), static_cast<void*>(s_pSessionCountLock));

        m_pFlushSessionLock = Pavo::Mutex::Create("VPPFlushSessionLock");
        if (nullptr == m_pFlushSessionLock) {
            VPP_LOG_ERROR("[%s] Falied to allocate memory for VPPFlushSessionLock", m_pNodeName);
            // The condition is still attempted.
            result = LumResultENoMemory;
        }

        m_pWaitFlushSessionDone = Pavo::Condition::Create("VPPWaitFlushSessionDone");
        if (nullptr == m_pWaitFlushSessionDone) {
            VPP_LOG_ERROR("[%s] Falied to allocate memory for VPPWaitFlushSessionDone",
                          m_pNodeName);
            result = LumResultENoMemory;
            if (nullptr != m_pFlushSessionLock) {
                m_pFlushSessionLock->Destroy();
                m_pFlushSessionLock = nullptr;
            }
        } else if (LumResultSuccess == result) {
            return result;
        }
    }

    if (nullptr != m_pFlushSessionLock) {
        m_pFlushSessionLock->Destroy();
        m_pFlushSessionLock = nullptr;
    }
    if (nullptr != m_pWaitFlushSessionDone) {
        m_pWaitFlushSessionDone->Destroy();
        m_pWaitFlushSessionDone = nullptr;
    }
    VPP_LOG_ERROR("[%s] VPP base initialization failed: %s", m_pNodeName,
                  LumResultToString(result));
    return result;
}

IxoNodeVppBase::~IxoNodeVppBase() {
    VPP_LOG_VERBOSE("[%s] destructor of IxoNodeVppBase", m_pNodeName);

    if (0 == m_skipWaitForClose) {
        WaitForCloseVppSession();
    }

    if (nullptr != s_pSessionCountLock) {
        s_pSessionCountLock->Lock();
        bool countIsZero = true;
        if (s_sessionCount > 0) {
            s_sessionCount--;
            VPP_LOG_INFO("[%s] s_sessionCount decrease to: %u", m_pNodeName, s_sessionCount);
            countIsZero = (0 == s_sessionCount);
        }
        if (countIsZero) {
            // Also when the count was 0 on entry: a node that never opened a session releases
            // the service too.
            VPP_LOG_INFO("[%s] Need release vpp service now", m_pNodeName);
            ReleaseVppService(this);
        }
        s_pSessionCountLock->Unlock();

        // The last node out removes the lock; the next Initialize makes it again.
        if ((nullptr == s_vppService) && (nullptr != s_pSessionCountLock)) {
            s_pSessionCountLock->Destroy();
            s_pSessionCountLock = nullptr;
        }
    } else {
        VPP_LOG_INFO("[%s] s_pSessionCountLock is NULL, s_vppService: %p", m_pNodeName,
                     static_cast<void*>(s_vppService.get()));
    }

    m_pNodeName = nullptr;
    m_pVppSession.reset();
    m_pVppCallbacks.reset();

    if (nullptr != m_pFlushSessionLock) {
        m_pFlushSessionLock->Destroy();
        m_pFlushSessionLock = nullptr;
    }
    if (nullptr != m_pWaitFlushSessionDone) {
        m_pWaitFlushSessionDone->Destroy();
        m_pWaitFlushSessionDone = nullptr;
    }

    // Deleting the recipient (also a null one) drops whatever links it still has.
    m_pDeathRecipient.set(nullptr);
}

// ------------------------------------------------------------------------------------------------
// Service link
// ------------------------------------------------------------------------------------------------

LumResult IxoNodeVppBase::AcquireVppService(const char* instance) {
    LumResult result = LumResultSuccess;

    VPP_LOG_VERBOSE("&s_vppService: %p, s_vppService: %p", static_cast<void*>(&s_vppService),
                    static_cast<void*>(s_vppService.get()));

    if (nullptr != s_vppService) {
        VPP_LOG_VERBOSE("s_vppService is already acquired: %p",
                        static_cast<void*>(s_vppService.get()));
    } else {
        std::string instanceName;
        instanceName.append(IVppService::descriptor);
        instanceName.append((nullptr != instance) ? instance : "");

        // Non-blocking look-up: a service that is not registered yet is not waited for.
        ndk::SpAIBinder binder(AServiceManager_checkService(instanceName.c_str()));
        if (nullptr == binder.get()) {
            VPP_LOG_ERROR("Cannot get VPP service binder");
            result = LumResultEUnableToLoad;
        } else {
            // Callbacks and death notifications arrive on the pool's threads.
            ABinderProcess_startThreadPool();
            s_vppService = IVppService::fromBinder(binder);
        }
    }

    VPP_LOG_INFO("&s_vppService: %p, s_vppService: %p", static_cast<void*>(&s_vppService),
                 static_cast<void*>(s_vppService.get()));
    return result;
}

LumResult IxoNodeVppBase::ReleaseVppService(IxoNodeVppBase* pNode) {
    if (nullptr != s_vppService) {
        AStatus* pStatus = nullptr;
        {
            ndk::SpAIBinder binder = s_vppService->asBinder();
            AIBinder_DeathRecipient* pRecipient =
                (nullptr != pNode) ? pNode->m_pDeathRecipient.get() : nullptr;
            pStatus = AStatus_fromStatus(AIBinder_unlinkToDeath(binder.get(), pRecipient, pNode));
        }
        if ((nullptr == pStatus) || !AStatus_isOk(pStatus)) {
            VPP_LOG_ERROR("Unlinking from death recipient failed");
        }
        s_vppService.reset();
        AStatus_delete(pStatus);
    }

    VPP_LOG_VERBOSE("&s_vppService: %p, s_vppService is already released, s_vppService: %p",
                    static_cast<void*>(&s_vppService), static_cast<void*>(s_vppService.get()));
    return LumResultSuccess;
}

void IxoNodeVppBase::VppServiceDied(void* cookie) {
    IxoNodeVppBase* pNode = static_cast<IxoNodeVppBase*>(cookie);
    if (nullptr != pNode) {
        pNode->OnVppServiceDied();
    }
    VPP_LOG_INFO("vpp service died: cookie=%p", cookie);
}

// ------------------------------------------------------------------------------------------------
// Callbacks
// ------------------------------------------------------------------------------------------------

IxoVppCallbacks::IxoVppCallbacks(IxoNodeVppBase* pNode) : m_pNode(pNode) {}

IxoVppCallbacks::~IxoVppCallbacks() = default;

namespace {

// Every callback answers VPP_OK, whatever the node did with the event.
ndk::ScopedAStatus AnswerOk(VppError* _aidl_return) {
    if (nullptr != _aidl_return) {
        *_aidl_return = VppError::VPP_OK;
    }
    return ndk::ScopedAStatus(AStatus_newOk());
}

}  // namespace

ndk::ScopedAStatus IxoVppCallbacks::eventDrainDone(VppError* _aidl_return) {
    if (nullptr != m_pNode) {
        m_pNode->OnVppDrainDone();
    }
    return AnswerOk(_aidl_return);
}

ndk::ScopedAStatus IxoVppCallbacks::eventError(VppError in_error, VppError* _aidl_return) {
    if (nullptr != m_pNode) {
        m_pNode->OnVppError(in_error);
    }
    return AnswerOk(_aidl_return);
}

ndk::ScopedAStatus IxoVppCallbacks::eventFlushDone(const FlushDone& in_flushDone,
                                                   VppError* _aidl_return) {
    if (nullptr != m_pNode) {
        m_pNode->OnVppFlushDone(in_flushDone);
    }
    return AnswerOk(_aidl_return);
}

ndk::ScopedAStatus IxoVppCallbacks::eventReconfigDone(const ReconfigDone& in_reconfigDone,
                                                      VppError* _aidl_return) {
    if (nullptr != m_pNode) {
        m_pNode->OnVppReconfigDone(in_reconfigDone);
    }
    return AnswerOk(_aidl_return);
}

ndk::ScopedAStatus IxoVppCallbacks::inputBufferDone(const VppBuffer& in_buffer,
                                                    VppError* _aidl_return) {
    if (nullptr != m_pNode) {
        m_pNode->OnVppInputBufferDone(in_buffer);
    }
    return AnswerOk(_aidl_return);
}

ndk::ScopedAStatus IxoVppCallbacks::outputBufferDone(const VppBuffer& in_buffer,
                                                     VppError* _aidl_return) {
    if (nullptr != m_pNode) {
        m_pNode->OnVppOutputBufferDone(in_buffer);
    }
    return AnswerOk(_aidl_return);
}

// ------------------------------------------------------------------------------------------------
// Session lifecycle
// ------------------------------------------------------------------------------------------------
//
// Every service call's binder status is dropped unread: success is judged by the VppError
// out-value alone, preset by the caller. A call on a node without a session is skipped and the
// preset stands.

LumResult IxoNodeVppBase::InitVppSession() {
    // Preset to VPP_ERR: an init whose transaction never writes it still fails.
    VppError vppError = VppError::VPP_ERR;

    if (nullptr == s_vppService) {
        VPP_LOG_ERROR("[%s] VPP service is NULL pointer", m_pNodeName);
        return LumResultEFailed;
    }

    // The new recipient exists before the old one is deleted.
    m_pDeathRecipient.set(AIBinder_DeathRecipient_new(VppServiceDied));

    AStatus* pLinkStatus = nullptr;
    {
        ndk::SpAIBinder binder = s_vppService->asBinder();
        pLinkStatus =
            AStatus_fromStatus(AIBinder_linkToDeath(binder.get(), m_pDeathRecipient.get(), this));
    }
    if ((nullptr == pLinkStatus) || !AStatus_isOk(pLinkStatus)) {
        VPP_LOG_ERROR("[%s] linking VPP service to death failed: %d: %s", m_pNodeName,
                      (nullptr != pLinkStatus) ? AStatus_getStatus(pLinkStatus) : STATUS_NO_MEMORY,
                      (nullptr != pLinkStatus) ? AStatus_getMessage(pLinkStatus) : "");
        AStatus_delete(pLinkStatus);
        return LumResultEFailed;
    }
    VPP_LOG_VERBOSE("[%s] VPP service linked to death", m_pNodeName);

    { ndk::ScopedAStatus status = s_vppService->getNewVppSession(0, &m_pVppSession); }
    if (nullptr == m_pVppSession) {
        VPP_LOG_ERROR("[%s] Cannot get new vpp session", m_pNodeName);
        AStatus_delete(pLinkStatus);
        return LumResultEFailed;
    }
    AStatus_delete(pLinkStatus);

    m_pVppCallbacks = ndk::SharedRefBase::make<IxoVppCallbacks>(this);
    if (nullptr == m_pVppCallbacks) {
        VPP_LOG_ERROR("[%s] no memory to new FRCVppCallbacks", m_pNodeName);
        return LumResultENoMemory;
    }

    { ndk::ScopedAStatus status = m_pVppSession->init(0, m_pVppCallbacks, &vppError); }

    LumResult result = LumResultSuccess;
    if (VppError::VPP_OK != vppError) {
        VPP_LOG_ERROR("[%s] init VPP session failed, vppErr: %s", m_pNodeName,
                      VppErrorName(vppError).c_str());
        result = LumResultEFailed;
    }
    // Written after a failed init as well.
    VPP_LOG_INFO("[%s] init vpp session: %p finish", m_pNodeName,
                 static_cast<void*>(m_pVppSession.get()));
    return result;
}

LumResult IxoNodeVppBase::SetVppParameter(const VppPortParam& param) {
    // Preset to VPP_OK: a transaction that never writes it counts as accepted.
    VppError vppError = VppError::VPP_OK;

    for (int32_t port = kInputPort; port <= kOutputPort; port++) {
        if (nullptr != m_pVppSession) {
            ndk::ScopedAStatus status = m_pVppSession->setParameter(port, param, &vppError);
        }
        if (VppError::VPP_OK != vppError) {
            VPP_LOG_ERROR("[%s] VPP set parameters failed, vppError: %s", m_pNodeName,
                          VppErrorName(vppError).c_str());
            return LumResultEFailed;
        }
    }

    VPP_LOG_INFO("[%s] set parameters for vpp session: %p finish", m_pNodeName,
                 static_cast<void*>(m_pVppSession.get()));
    return LumResultSuccess;
}

LumResult IxoNodeVppBase::SetVppControl(const VppCtrlFrc& ctrl) {
    VppError vppError = VppError::VPP_OK;

    if (0 == m_sessionOpened) {
        if (nullptr != m_pVppSession) {
            ndk::ScopedAStatus status = m_pVppSession->setMode(kFrcSessionMode, &vppError);
        }
        // The mode's outcome does not count.
        vppError = VppError::VPP_OK;
    }

    if (nullptr != m_pVppSession) {
        ndk::ScopedAStatus status = m_pVppSession->setCtrlFrc(ctrl, &vppError);
    }
    if (VppError::VPP_OK != vppError) {
        VPP_LOG_ERROR("[%s] VPP set contrl FRC failed, vppError: %s", m_pNodeName,
                      VppErrorName(vppError).c_str());
        return LumResultEFailed;
    }

    VPP_LOG_INFO("[%s] set frc control for vpp session: %p finish", m_pNodeName,
                 static_cast<void*>(m_pVppSession.get()));
    return LumResultSuccess;
}

LumResult IxoNodeVppBase::OpenVppSession() {
    VppError vppError = VppError::VPP_OK;

    if (nullptr != m_pVppSession) {
        ndk::ScopedAStatus status = m_pVppSession->open(&vppError);
    }
    if (VppError::VPP_OK != vppError) {
        VPP_LOG_ERROR("[%s] VPP open session failed, vppError: %s", m_pNodeName,
                      VppErrorName(vppError).c_str());
        return LumResultEFailed;
    }

    // The count and the line that reports it change together, under the lock.
    if (nullptr != s_pSessionCountLock) {
        s_pSessionCountLock->Lock();
    }
    s_sessionCount++;
    VPP_LOG_INFO("[%s] s_sessionCount increase to: %u, vppSession: %p", m_pNodeName, s_sessionCount,
                 static_cast<void*>(m_pVppSession.get()));
    if (nullptr != s_pSessionCountLock) {
        s_pSessionCountLock->Unlock();
    }
    return LumResultSuccess;
}

LumResult IxoNodeVppBase::NotifyOpenVppSession() {
    LumResult result = Pavo::OsUtils::ThreadCreate(DeferOpenVppSession, this, &m_openThreadId);
    if (LumResultSuccess != result) {
        VPP_LOG_ERROR("[%s] Failed to Create DeferOpenVppSession Thread with error: %s",
                      m_pNodeName, LumResultToString(result));
        return result;
    }
    VPP_LOG_VERBOSE("[%s] Create DeferOpenVppSession Thread: %ld successfully", m_pNodeName,
                    static_cast<long>(m_openThreadId));
    return LumResultSuccess;
}

void* IxoNodeVppBase::DeferOpenVppSession(void* pArg) {
    IxoNodeVppBase* pNode = static_cast<IxoNodeVppBase*>(pArg);
    if (nullptr == pNode) {
        return nullptr;
    }

    // The outcome is written before its line; the joining thread reads it after the join.
    LumResult result = pNode->OnOpenVppSession();
    if (LumResultSuccess != result) {
        pNode->m_openResult = 0;
        VPP_LOG_ERROR("[%s] Failed to OpenVppSession with error: %s", pNode->m_pNodeName,
                      LumResultToString(result));
    } else {
        pNode->m_openResult = 1;
        VPP_LOG_INFO("[%s] open vppSession successfully", pNode->m_pNodeName);
    }
    return nullptr;
}

LumResult IxoNodeVppBase::OnOpenVppSession() {
    // Both ports get the node's geometry, unpadded.
    VppPortParam param;
    param.height = static_cast<int32_t>(m_height);
    param.width = static_cast<int32_t>(m_width);
    param.stride = static_cast<int32_t>(m_width);
    param.scanlines = static_cast<int32_t>(m_height);
    param.colorFormat = static_cast<int32_t>(m_sessionMode);

    if (LumResultSuccess != SetVppParameter(param)) {
        VPP_LOG_ERROR("[%s] SetVppParameter() failed: %s", m_pNodeName,
                      LumResultToString(LumResultEFailed));
        return LumResultEFailed;
    }
    if (LumResultSuccess != OpenVppSession()) {
        VPP_LOG_ERROR("[%s] OpenVppSession() failed: %s", m_pNodeName,
                      LumResultToString(LumResultEFailed));
        return LumResultEFailed;
    }
    m_sessionOpened = 1;
    return LumResultSuccess;
}

uint32_t IxoNodeVppBase::WaitForOnOpenVppSession() {
    if (0 == m_openThreadId) {
        return m_openResult;
    }
    // Cleared before the wait, so that a second wait does not join the same thread again.
    const Pavo::OSThreadHandle hThread = m_openThreadId;
    m_openThreadId = 0;
    Pavo::OsUtils::ThreadWait(hThread);
    VPP_LOG_VERBOSE("[%s] wait for OnOpenVppSession finish", m_pNodeName);
    return m_openResult;
}

LumResult IxoNodeVppBase::FlushSession() {
    VppError vppErr = VppError::VPP_OK;
    LumResult waitResult = LumResultSuccess;

    // Port 0, then port 1: each flush call is made without the lock, so the flush-done handler
    // can set its flag and signal while this thread is between the call and its wait. Each wait
    // is a single timed wait: a wake-up for the other port or a timeout ends it alike.
    const int32_t ports[] = {kInputPort, kOutputPort};
    for (int32_t port : ports) {
        if (nullptr != m_pVppSession) {
            ndk::ScopedAStatus status = m_pVppSession->flush(port, &vppErr);
        }
        uint32_t& flushDone = (kInputPort == port) ? m_inputFlushDone : m_outputFlushDone;
        if (nullptr != m_pFlushSessionLock) {
            m_pFlushSessionLock->Lock();
            if ((0 == flushDone) && (nullptr != m_pWaitFlushSessionDone)) {
                waitResult = m_pWaitFlushSessionDone->TimedWait(
                    m_pFlushSessionLock->GetNativeHandle(), kFlushWaitMilliseconds);
            }
            flushDone = 0;
            m_pFlushSessionLock->Unlock();
        } else {
            flushDone = 0;
        }
    }

    VPP_LOG_INFO("[%s] flush vpp session: %p finish, vppErr: %d", m_pNodeName,
                 static_cast<void*>(m_pVppSession.get()), static_cast<int32_t>(vppErr));
    return waitResult;
}

LumResult IxoNodeVppBase::DrainSession() {
    VPP_LOG_INFO("[%s] drain vpp session: %p finish", m_pNodeName,
                 static_cast<void*>(m_pVppSession.get()));
    return LumResultSuccess;
}

LumResult IxoNodeVppBase::CloseVppSession() {
    VppError vppErr = VppError::VPP_OK;

    if (nullptr != m_pVppSession) {
        ndk::ScopedAStatus status = m_pVppSession->close(&vppErr);
    }
    if (VppError::VPP_OK != vppErr) {
        VPP_LOG_ERROR("[%s] VPP close session failed, vppError: %s", m_pNodeName,
                      VppErrorName(vppErr).c_str());
        return LumResultEFailed;
    }
    VPP_LOG_INFO("[%s] close VPP session: %p finish", m_pNodeName,
                 static_cast<void*>(m_pVppSession.get()));
    return LumResultSuccess;
}

LumResult IxoNodeVppBase::TermVppSession() {
    if (nullptr != m_pVppSession) {
        ndk::ScopedAStatus status = m_pVppSession->term();
    }
    VPP_LOG_INFO("[%s] term vpp session: %p finish", m_pNodeName,
                 static_cast<void*>(m_pVppSession.get()));
    return LumResultSuccess;
}

LumResult IxoNodeVppBase::NotifyCloseVppSession() {
    LumResult result = Pavo::OsUtils::ThreadCreate(DeferCloseVppSession, this, &m_closeThreadId);
    if (LumResultSuccess != result) {
        // The session stays open; WaitForCloseVppSession closes it on the spot.
        VPP_LOG_ERROR("[%s] Failed to Create DeferCloseVppSession Thread with error: %s",
                      m_pNodeName, LumResultToString(result));
        return result;
    }
    VPP_LOG_VERBOSE("[%s] Create DeferCloseVppSession Thread: %ld successfully", m_pNodeName,
                    static_cast<long>(m_closeThreadId));
    return LumResultSuccess;
}

void* IxoNodeVppBase::DeferCloseVppSession(void* pNode) {
    IxoNodeVppBase* pThis = static_cast<IxoNodeVppBase*>(pNode);
    if (nullptr == pThis) {
        return nullptr;
    }

    // Each step runs whatever the one before it answered.
    pThis->FlushSession();
    pThis->CloseVppSession();
    pThis->TermVppSession();

    // Both outcomes are cleared together; the joining thread reads them after the join.
    pThis->m_openResult = 0;
    pThis->m_closeResult = 0;

    // Written even when the close was refused.
    VPP_LOG_VERBOSE("[%s] close vppSession successfully", pThis->m_pNodeName);
    return nullptr;
}

LumResult IxoNodeVppBase::WaitForCloseVppSession() {
    if (0 != m_closeThreadId) {
        const Pavo::OSThreadHandle hThread = m_closeThreadId;
        m_closeThreadId = 0;
        Pavo::OsUtils::ThreadWait(hThread);
        VPP_LOG_VERBOSE("[%s] VPP session closing finished", m_pNodeName);
        return static_cast<LumResult>(m_closeResult);
    }

    // No worker was started (or it was joined already): close here, without a flush.
    CloseVppSession();
    TermVppSession();
    m_openResult = 0;
    return static_cast<LumResult>(m_closeResult);
}

// ------------------------------------------------------------------------------------------------
// Buffer path
// ------------------------------------------------------------------------------------------------
//
// Each queue operation builds one VppBuffer on its stack, hands it to queueBuf and destroys it on
// every way out, which closes the descriptor duplicates it holds. The camera buffer's own
// descriptors and an internal buffer's descriptor are never closed here.

native_handle_t* IxoNodeVppBase::GetNativeHandle(IxoImageList* pImageList) {
    if (nullptr == pImageList) {
        VPP_LOG_ERROR("[%s] Failed to get camera buffer!", m_pNodeName);
        return nullptr;
    }
    native_handle_t* phNativeHandle = HandleOf(pImageList);
    VPP_LOG_VERBOSE("[%s] get phNativeHandle: %p", m_pNodeName, static_cast<void*>(phNativeHandle));
    return phNativeHandle;
}

LumResult IxoNodeVppBase::QueueInput(IxoRequestBufferInfo* pRequestBufferInfo, uint64_t requestId,
                                     uint8_t index, int32_t isEOS, int32_t needGenerateFd,
                                     uint64_t newTimestamp) {
    VppBuffer buffer;
    VppError vppResult = VppError::VPP_OK;
    LumResult result = LumResultSuccess;
    native_handle_t* phNativeHandle = nullptr;

    VPP_LOG_INFO("[%s] queueInput of requestId: %lu, index: %u, newTimestamp: %lu", m_pNodeName,
                 requestId, index, newTimestamp);

    IxoImageList* pImageBuffer = pRequestBufferInfo->pImageBuffer;
    const uint32_t imageSize = ImageSize(pImageBuffer);

    buffer.timestamp = static_cast<int64_t>(
        (0 != newTimestamp) ? newTimestamp : pRequestBufferInfo->frameTimestamp);
    buffer.cookie =
        static_cast<int64_t>(reinterpret_cast<uintptr_t>(&pRequestBufferInfo->inputCookie));

    if (1 == isEOS) {
        // The end-of-stream buffer still carries the image.
        buffer.flags = kEndOfStreamFlag;
        VPP_LOG_INFO("[%s] >> queue EOS buffer of requestId: %lu", m_pNodeName, requestId);
    }

    if (0 == needGenerateFd) {
        phNativeHandle =
            GetNativeHandle((nullptr != pImageBuffer) ? pImageBuffer->pImageList : nullptr);
        if (nullptr == phNativeHandle) {
            VPP_LOG_ERROR("[%s] VPP get phNativeHandle: %p, requestId: %lu, index: %u", m_pNodeName,
                          static_cast<void*>(phNativeHandle), requestId, index);
            return LumResultETimeout;
        }
        buffer.bufferLen = static_cast<int32_t>(imageSize);
        buffer.bufferHandle = android::dupToAidl(phNativeHandle);
        VPP_LOG_INFO("[%s] requestId: %lu FD: %d pImageBuffer size: %d", m_pNodeName, requestId,
                     FirstSlot(phNativeHandle), static_cast<int32_t>(imageSize));
    } else {
        VPP_LOG_INFO("[%s] need generate FD from internal buffer, requestId: %lu", m_pNodeName,
                     requestId);
        native_handle_t* phWrapper = native_handle_create(1, 0);
        if ((nullptr == phWrapper) || (nullptr == pImageBuffer)) {
            native_handle_delete(phWrapper);
            VPP_LOG_ERROR("[%s] VPP get phNativeHandle: %p, requestId: %lu, index: %u", m_pNodeName,
                          static_cast<void*>(nullptr), requestId, index);
            return LumResultETimeout;
        }
        phWrapper->data[0] = pImageBuffer->bufferFd;
        buffer.bufferLen = static_cast<int32_t>(imageSize);
        buffer.bufferHandle = android::dupToAidl(phWrapper);
        VPP_LOG_INFO("[%s] requestId: %lu, FD: %d, pImageBuffer size: %d", m_pNodeName, requestId,
                     pImageBuffer->bufferFd, static_cast<int32_t>(imageSize));
        // Frees the wrapper only; the internal buffer's descriptor stays open.
        native_handle_delete(phWrapper);
    }

    buffer.offset = 0;
    buffer.filledLen = buffer.bufferLen;
    buffer.allocLen = buffer.bufferLen;

    if (nullptr != m_pVppSession) {
        ndk::ScopedAStatus status = m_pVppSession->queueBuf(kInputPort, buffer, &vppResult);
    }

    if (VppError::VPP_OK == vppResult) {
        IxoFrcRatioInfo* pFrcRatioInfo = pRequestBufferInfo->pFrcRatioInfo;
        // An end-of-stream input is not counted.
        if ((1 != isEOS) && (nullptr != pFrcRatioInfo)) {
            pFrcRatioInfo->inputQueuedNum++;
            VPP_LOG_INFO("[%s] requestId: %lu, inputQueuedNum increase to: %u", m_pNodeName,
                         requestId, pFrcRatioInfo->inputQueuedNum);
        }
        VPP_LOG_INFO(
            "[%s] queueInput success! portType: %lu, requestId: %lu, index: %u, buffer len: %u, "
            "timestamp: %lu, nativeHandle: %p, cookie: %p",
            m_pNodeName, static_cast<uint64_t>(buffer.portType), requestId, index,
            static_cast<uint32_t>(buffer.bufferLen), static_cast<uint64_t>(buffer.timestamp),
            static_cast<void*>(phNativeHandle), CookiePointer(buffer));
    } else {
        VPP_LOG_ERROR(
            "[%s] queueInput failed! portType: %lu, requestId: %lu, index: %u, buffer len: %u, "
            "timestamp: %lu, nativeHandle: %p, cookie: %p",
            m_pNodeName, static_cast<uint64_t>(buffer.portType), requestId, index,
            static_cast<uint32_t>(buffer.bufferLen), static_cast<uint64_t>(buffer.timestamp),
            static_cast<void*>(phNativeHandle), CookiePointer(buffer));
        result = LumResultETimeout;
    }
    return result;
}

LumResult IxoNodeVppBase::QueueTempBuffertoVPPOutput(IxoRequestBufferInfo* pRequestBufferInfo,
                                                     IxoRequestBufferInfo* pTempBufferInfo,
                                                     uint64_t requestId, uint8_t index,
                                                     int32_t needGenerateFd, void* pCameraBuffer,
                                                     int32_t isEOS) {
    VppBuffer buffer;
    VppError vppResult = VppError::VPP_OK;
    LumResult result = LumResultSuccess;
    native_handle_t* phNativeHandle = nullptr;
    IxoFrcRatioInfo* pFrcRatioInfo = pRequestBufferInfo->pFrcRatioInfo;

    VPP_IXE_LOG_INFO("[%s] QueueTempBuffertoVPPOutput of requestId: %lu, index: %u", m_pNodeName,
                     requestId, index);

    // The asking request is charged; the temporary request owns the memory and the cookie.
    const uint32_t imageSize = ImageSize(pRequestBufferInfo->pOutputImageBuffer);
    buffer.cookie =
        static_cast<int64_t>(reinterpret_cast<uintptr_t>(&pTempBufferInfo->outputCookie));

    if (1 == isEOS) {
        buffer.flags = kEndOfStreamFlag;
        VPP_IXE_LOG_INFO("[%s] >> queue EOS buffer of requestId: %lu", m_pNodeName, requestId);
    }

    if (1 == needGenerateFd) {
        VPP_IXE_LOG_INFO("[%s] need generate FD from internal buffer, requestId: %lu", m_pNodeName,
                         requestId);
        IxoImageList* pTempImage = pTempBufferInfo->pOutputImageBuffer;
        native_handle_t* phWrapper = native_handle_create(1, 0);
        if ((nullptr == phWrapper) || (nullptr == pTempImage)) {
            native_handle_delete(phWrapper);
            VPP_IXE_LOG_ERROR("[%s] VPP get phNativeHandle: %p, requestId: %lu, index: %u",
                              m_pNodeName, static_cast<void*>(nullptr), requestId, index);
            return LumResultETimeout;
        }
        phWrapper->data[0] = pTempImage->bufferFd;
        buffer.bufferLen = static_cast<int32_t>(imageSize);
        buffer.bufferHandle = android::dupToAidl(phWrapper);
        VPP_IXE_LOG_INFO("[%s] requestId: %lu, FD: %d, pImageBuffer size: %d", m_pNodeName,
                         requestId, phWrapper->data[0], static_cast<int32_t>(imageSize));
        native_handle_delete(phWrapper);
    } else if (nullptr == pCameraBuffer) {
        // Not a failure: an empty output buffer is queued.
        VPP_IXE_LOG_ERROR("[%s] Failed to get camera buffer!", m_pNodeName);
    } else {
        phNativeHandle = HandleOf(static_cast<IxoImageList*>(pCameraBuffer));
        VPP_IXE_LOG_INFO("[%s] get phNativeHandle: %p", m_pNodeName,
                         static_cast<void*>(phNativeHandle));
        if (nullptr == phNativeHandle) {
            VPP_IXE_LOG_ERROR("[%s] VPP get phNativeHandle: %p, requestId: %lu, index: %u",
                              m_pNodeName, static_cast<void*>(phNativeHandle), requestId, index);
            return LumResultETimeout;
        }
        buffer.bufferLen = static_cast<int32_t>(imageSize);
        buffer.bufferHandle = android::dupToAidl(phNativeHandle);
        VPP_IXE_LOG_INFO("[%s] requestId: %lu FD: %d, pImageBuffer size: %d phNativeHandle: %p",
                         m_pNodeName, requestId, FirstSlot(phNativeHandle),
                         static_cast<int32_t>(imageSize), static_cast<void*>(phNativeHandle));
    }

    buffer.offset = 0;
    buffer.allocLen = buffer.bufferLen;

    if (nullptr != m_pVppSession) {
        ndk::ScopedAStatus status = m_pVppSession->queueBuf(kOutputPort, buffer, &vppResult);
    }

    if (VppError::VPP_OK == vppResult) {
        // An end-of-stream output is counted like any other.
        if (nullptr != pFrcRatioInfo) {
            pFrcRatioInfo->outputQueuedNum++;
        } else {
            VPP_IXE_LOG_ERROR("[%s] requestId: %lu, pFrcRatioInfo is NULL!", m_pNodeName,
                              requestId);
        }
        // Without a record the count is printed as 1, a fixed placeholder.
        VPP_IXE_LOG_INFO(
            "[%s] queueOutput success! portType: %lu, outputQueuedNum: %u, reqId: %lu, index: %u, "
            "buffer len: %u, timestamp: %lu, nativeHandle: %p, cookie: %p",
            m_pNodeName, static_cast<uint64_t>(buffer.portType),
            (nullptr != pFrcRatioInfo) ? pFrcRatioInfo->outputQueuedNum : 1U, requestId, index,
            static_cast<uint32_t>(buffer.bufferLen), static_cast<uint64_t>(buffer.timestamp),
            static_cast<void*>(phNativeHandle), CookiePointer(buffer));
    } else {
        VPP_IXE_LOG_ERROR(
            "[%s] queueOutput failed! portType: %lu, outputQueuedNum: %u, reqId: %lu, index: %u, "
            "buffer len: %u, timestamp: %lu, nativeHandle: %p, cookie: %p",
            m_pNodeName, static_cast<uint64_t>(buffer.portType),
            (nullptr != pFrcRatioInfo) ? pFrcRatioInfo->outputQueuedNum : 1U, requestId, index,
            static_cast<uint32_t>(buffer.bufferLen), static_cast<uint64_t>(buffer.timestamp),
            static_cast<void*>(phNativeHandle), CookiePointer(buffer));
        result = LumResultETimeout;
    }
    return result;
}

LumResult IxoNodeVppBase::QueueOutput(IxoRequestBufferInfo* pRequestBufferInfo, uint64_t requestId,
                                      uint8_t index, int32_t isEOS) {
    VppBuffer buffer;
    VppError vppResult = VppError::VPP_OK;
    LumResult result = LumResultSuccess;
    // Read once: the record seen here is the one counted and printed.
    IxoFrcRatioInfo* pFrcRatioInfo = pRequestBufferInfo->pFrcRatioInfo;

    VPP_LOG_INFO("[%s] queueOutput of requestId: %lu, index: %u", m_pNodeName, requestId, index);

    IxoImageList* pOutputImageBuffer = pRequestBufferInfo->pOutputImageBuffer;
    const uint32_t imageSize = ImageSize(pOutputImageBuffer);
    buffer.cookie =
        static_cast<int64_t>(reinterpret_cast<uintptr_t>(&pRequestBufferInfo->outputCookie));

    if (1 == isEOS) {
        buffer.flags = kEndOfStreamFlag;
        VPP_LOG_INFO("[%s] >> queue EOS buffer of requestId: %lu", m_pNodeName, requestId);
    }

    native_handle_t* phNativeHandle =
        GetNativeHandle((nullptr != pOutputImageBuffer) ? pOutputImageBuffer->pImageList : nullptr);
    if (nullptr == phNativeHandle) {
        VPP_LOG_ERROR("[%s] VPP get phNativeHandle: %p, requestId: %lu, index: %u", m_pNodeName,
                      static_cast<void*>(phNativeHandle), requestId, index);
        return LumResultETimeout;
    }
    buffer.bufferLen = static_cast<int32_t>(imageSize);
    buffer.bufferHandle = android::dupToAidl(phNativeHandle);
    VPP_LOG_INFO("[%s] requestId: %lu FD: %d, pImageBuffer size: %d phNativeHandle: %p",
                 m_pNodeName, requestId, FirstSlot(phNativeHandle), static_cast<int32_t>(imageSize),
                 static_cast<void*>(phNativeHandle));

    // No timestamp on the output side; filledLen stays 0.
    buffer.offset = 0;
    buffer.allocLen = buffer.bufferLen;

    if (nullptr != m_pVppSession) {
        ndk::ScopedAStatus status = m_pVppSession->queueBuf(kOutputPort, buffer, &vppResult);
    }

    if (VppError::VPP_OK == vppResult) {
        if (nullptr != pFrcRatioInfo) {
            pFrcRatioInfo->outputQueuedNum++;
        }
        VPP_LOG_INFO(
            "[%s] queueOutput success! portType: %lu, outputQueuedNum: %u, reqId: %lu, index: %u, "
            "buffer len: %u, timestamp: %lu, nativeHandle: %p, cookie: %p",
            m_pNodeName, static_cast<uint64_t>(buffer.portType),
            (nullptr != pFrcRatioInfo) ? pFrcRatioInfo->outputQueuedNum : 1U, requestId, index,
            static_cast<uint32_t>(buffer.bufferLen), static_cast<uint64_t>(buffer.timestamp),
            static_cast<void*>(phNativeHandle), CookiePointer(buffer));
    } else {
        VPP_LOG_ERROR(
            "[%s] queueOutput failed! portType: %lu, outputQueuedNum: %u, reqId: %lu, index: %u, "
            "buffer len: %u, timestamp: %lu, nativeHandle: %p, cookie: %p",
            m_pNodeName, static_cast<uint64_t>(buffer.portType),
            (nullptr != pFrcRatioInfo) ? pFrcRatioInfo->outputQueuedNum : 1U, requestId, index,
            static_cast<uint32_t>(buffer.bufferLen), static_cast<uint64_t>(buffer.timestamp),
            static_cast<void*>(phNativeHandle), CookiePointer(buffer));
        result = LumResultETimeout;
    }
    return result;
}

LumResult IxoNodeVppBase::QueueInputEmpty(uint64_t requestId, uint32_t index) {
    VppBuffer buffer;
    VppError vppResult = VppError::VPP_OK;

    VPP_LOG_INFO("[%s] QueueInputEmpty of requestId: %lu, index: %u", m_pNodeName, requestId,
                 index);

    // No memory, no cookie: only the end-of-stream flag.
    buffer.cookie = 0;
    buffer.offset = 0;
    buffer.bufferLen = 0;
    buffer.filledLen = 0;
    buffer.allocLen = 0;
    buffer.flags = kEndOfStreamFlag;

    if (nullptr != m_pVppSession) {
        ndk::ScopedAStatus status = m_pVppSession->queueBuf(kInputPort, buffer, &vppResult);
    }
    if (VppError::VPP_OK != vppResult) {
        VPP_LOG_ERROR("[%s] Queue EOS buffer failed: %d, reqId: %lu, queueIndex: %u", m_pNodeName,
                      static_cast<int32_t>(vppResult), requestId, index);
        return LumResultEFailed;
    }
    return LumResultSuccess;
}

LumResult IxoNodeVppBase::CopyImage(IxoImageList* hOutput, IxoImageList* hInput) {
    if ((nullptr == hOutput) || (nullptr == hInput)) {
        VPP_LOG_ERROR("%s NULL pointer sent, hInput:%pK, hOutput:%pK", m_pNodeName,
                      static_cast<void*>(hInput), static_cast<void*>(hOutput));
        return LumResultEInvalidPointer;
    }

    // The destination's own plane-0 geometry, before the source's overwrites it.
    const IxoPlaneLayout outputLayout = hOutput->formatBlock.planeLayout[0];
    const IxoPlaneLayout inputLayout = hInput->formatBlock.planeLayout[0];
    const uint32_t rowCount = std::min(inputLayout.height, outputLayout.height);
    const uint32_t rowLength = std::min(inputLayout.stride, outputLayout.stride);

    if (hOutput->numberOfPlanes < hInput->numberOfPlanes) {
        VPP_LOG_ERROR("[%s] Invalid argument: output numberOfPlanes is smaller than input",
                      m_pNodeName);
        return LumResultEInvalidArg;
    }

    hOutput->formatBlock = hInput->formatBlock;
    std::memcpy(hOutput->planeSize, hInput->planeSize, sizeof(hOutput->planeSize));
    hOutput->numberOfImages = hInput->numberOfImages;
    hOutput->numberOfPlanes = hInput->numberOfPlanes;

    if (0 == hOutput->numberOfImages) {
        return LumResultSuccess;
    }

    const bool layoutsDiffer = (outputLayout.stride != inputLayout.stride) ||
                               (outputLayout.scanline != inputLayout.scanline);

    for (uint32_t image = 0;
         (image < hOutput->numberOfImages) && (image < static_cast<uint32_t>(IXO_MAX_IMAGES));
         image++) {
        const uint32_t format = hOutput->formatBlock.format;
        const bool rowByRow = layoutsDiffer && ((kFormatY8 == format) || (kFormatNV12 == format) ||
                                                (kFormatNV21 == format));
        if (rowByRow) {
            // The destination keeps its own plane-0 geometry.
            hOutput->formatBlock.planeLayout[0] = outputLayout;

            uint8_t* pOutputPlane = hOutput->pAddr[image][0];
            const uint8_t* pInputPlane = hInput->pAddr[image][0];
            for (uint32_t row = 0; row < rowCount; row++) {
                std::memcpy(pOutputPlane + static_cast<uint32_t>(row * outputLayout.stride),
                            pInputPlane + static_cast<uint32_t>(row * inputLayout.stride),
                            rowLength);
            }
            if (kFormatY8 == format) {
                continue;
            }

            // Plane 1 is recorded at half of plane 0's geometry, but copied with plane 0's full
            // strides and row length over half its rows.
            hOutput->formatBlock.planeLayout[1].height = outputLayout.height / 2;
            hOutput->formatBlock.planeLayout[1].stride = outputLayout.stride / 2;
            hOutput->formatBlock.planeLayout[1].scanline = outputLayout.scanline / 2;
            if (rowCount < 2) {
                continue;
            }
            pOutputPlane = hOutput->pAddr[image][1];
            pInputPlane = hInput->pAddr[image][1];
            for (uint32_t row = 0; row < rowCount / 2; row++) {
                std::memcpy(pOutputPlane + static_cast<uint32_t>(row * outputLayout.stride),
                            pInputPlane + static_cast<uint32_t>(row * inputLayout.stride),
                            rowLength);
            }
        } else {
            for (uint32_t plane = 0; (plane < hOutput->numberOfPlanes) &&
                                     (plane < static_cast<uint32_t>(IXO_MAX_PLANES));
                 plane++) {
                uint8_t* pOutputPlane = hOutput->pAddr[image][plane];
                const uint8_t* pInputPlane = hInput->pAddr[image][plane];
                if (pOutputPlane == pInputPlane) {
                    VPP_LOG_WARN(
                        "[%s] Output ImageList pAddr: %p, Input ImageList pAddr: %p same, "
                        "avoiding copy",
                        m_pNodeName, static_cast<void*>(pOutputPlane),
                        static_cast<const void*>(pInputPlane));
                    continue;
                }
                std::memcpy(pOutputPlane, pInputPlane, hInput->planeSize[plane]);
            }
        }
    }
    return LumResultSuccess;
}
