// IxoNodeVppBase, the base class through which camera-pipeline nodes use the VPP service, and
// IxoVppCallbacks, the object through which the service calls a node back.
#pragma once

#include <aidl/vendor/zux/hardware/vpp/BnVppCallbacks.h>
#include <aidl/vendor/zux/hardware/vpp/FlushDone.h>
#include <aidl/vendor/zux/hardware/vpp/IVppService.h>
#include <aidl/vendor/zux/hardware/vpp/IVppSession.h>
#include <aidl/vendor/zux/hardware/vpp/ReconfigDone.h>
#include <aidl/vendor/zux/hardware/vpp/VppBuffer.h>
#include <aidl/vendor/zux/hardware/vpp/VppCtrlFrc.h>
#include <aidl/vendor/zux/hardware/vpp/VppError.h>
#include <aidl/vendor/zux/hardware/vpp/VppPortParam.h>
#include <android/binder_auto_utils.h>
#include <android/binder_ibinder.h>
#include <cutils/native_handle.h>

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

// Base of every camera node that pushes frames through the VPP service.
//
// Using it. A derived node sets m_pNodeName, m_width, m_height (and m_sessionMode) in its
// constructor, then, on its own thread: Initialize, InitVppSession, NotifyOpenVppSession,
// WaitForOnOpenVppSession, SetVppControl; per request QueueOutput (or QueueTempBuffertoVPPOutput)
// and QueueInput, QueueInputEmpty at the end of the stream; NotifyCloseVppSession to stop.
//
// Threads. Operations run on the caller's thread; none takes a lock of its own around the
// node's members, so one node is driven by one thread at a time. The open and close workers are
// threads of their own, joined by WaitForOnOpenVppSession and WaitForCloseVppSession without a
// time limit. The seven handlers run on binder pool threads, at any time between
// InitVppSession and the end of the session, concurrently with the node's own calls and with
// each other; the library adds no lock around them.
//
// Results. Every service call's binder status is ignored on purpose: a dead or broken transport
// is reported through OnVppServiceDied, and an operation judges the service only by the VppError
// it wrote (preset to VPP_OK everywhere but init, so an unwritten answer counts as accepted).
// The service's own error code is only logged; the LumResult codes are deliberately coarse.
//
// Ownership. The node's camera buffers and descriptors stay the node's: a queue operation sends
// close-on-exec duplicates inside a VppBuffer and closes them before it returns, on every path.
// A buffer's cookie is the address of a member of the node's IxoRequestBufferInfo (inputCookie or
// outputCookie): the record must stay alive until the service has given the buffer back through
// a buffer-done handler or a flush. The mutexes, condition and death recipient the base creates
// are its own and are destroyed by its destructor.
//
// Lifetime (read this before writing a destructor). The base destructor closes the session if
// nothing else did, and closing flushes: the service then calls OnVppFlushDone and returns
// queued buffers through the handlers. If that happens in the base destructor, the derived part
// is gone and the call is a pure virtual call. A derived node therefore ends its session in its
// own destructor:
//
//     ~MyNode() override {
//         WaitForCloseVppSession();  // joins the close worker, or closes and terminates here
//         m_skipWaitForClose = 1;    // the base destructor does not close a second time
//     }
//
// Once that destructor returns, no handler of the node runs again. The process-wide service
// handle (s_vppService) and session-count lock (s_pSessionCountLock) are created without a lock,
// by design: the first node of a process is constructed and initialised before other nodes are
// constructed or initialised on other threads.
class IxoNodeVppBase {
  public:
    // Acquires the process-wide service (AcquireVppService("/default")) if no node has yet; a
    // missing service is not an error here, InitVppSession reports it. Non-blocking.
    IxoNodeVppBase();

    // Handlers a derived node implements, in this order. Each runs on a binder pool thread,
    // must not block for long (the service's worker waits for the call to return), and must not
    // call the session operations that wait for the service (FlushSession, the close
    // operations). The answer to the service is always VPP_OK.

    // The service process went away (death notification, node as cookie). The session is gone:
    // queued buffers will not come back, fail their requests.
    virtual void OnVppServiceDied() = 0;
    // The service is done with an input buffer. buffer.cookie is the address given when it was
    // queued (&request->inputCookie); any descriptors in buffer are the service's, valid only
    // during the call (duplicate them to keep them).
    virtual void OnVppInputBufferDone(const VppBuffer& buffer) = 0;
    // An output frame is ready. buffer.cookie is &request->outputCookie of the request that
    // queued the memory; filledLen, timestamp and flags (1: end of stream) describe the frame.
    virtual void OnVppOutputBufferDone(const VppBuffer& buffer) = 0;
    // A port's flush is complete. Must lock m_pFlushSessionLock, set m_inputFlushDone (port 0)
    // or m_outputFlushDone (port 1), signal m_pWaitFlushSessionDone and unlock, for FlushSession
    // to end its wait early; otherwise FlushSession waits its full 30 ms per port.
    virtual void OnVppFlushDone(const FlushDone& flushDone) = 0;
    // The service produced its last output after an end-of-stream input.
    virtual void OnVppDrainDone() = 0;
    virtual void OnVppReconfigDone(const ReconfigDone& reconfigDone) = 0;
    // An error inside the service that belongs to no single call.
    virtual void OnVppError(VppError error) = 0;

    // Unless m_skipWaitForClose is set: WaitForCloseVppSession (see the lifetime rule above).
    // Then lowers the session count, releases the service when it reaches 0 (unlinking this
    // node's death recipient), and destroys the node's mutex, condition and recipient. Blocks for
    // as long as the close it waits for.
    virtual ~IxoNodeVppBase();

    IxoNodeVppBase(const IxoNodeVppBase&) = delete;
    IxoNodeVppBase& operator=(const IxoNodeVppBase&) = delete;

    // ---- Node base --------------------------------------------------------------------------

    // Creates the process-wide session-count lock (first node only, without a lock: see the
    // lifetime rule) and this node's flush mutex and condition. LumResultEInvalidPointer for a
    // null interface; LumResultENoMemory when an object could not be made (the node's own
    // objects are then destroyed again). Call once, before any session operation.
    LumResult Initialize(IxoNodeInterface* pIxoNodeInterface);

    // ---- Service link (process-wide) --------------------------------------------------------

    // Looks the service up under IVppService::descriptor + instance, once per process, without
    // waiting for it to register (LumResultEUnableToLoad when absent), and starts the binder
    // thread pool that delivers the handlers.
    static LumResult AcquireVppService(const char* instance);
    // Unlinks pNode's death recipient (pNode may be null) and drops the process's service
    // handle. Always LumResultSuccess. Called by the destructor of the last node, under the
    // count lock; a node does not call it itself.
    static LumResult ReleaseVppService(IxoNodeVppBase* pNode);
    // Death-recipient entry point, on a binder pool thread: calls cookie's OnVppServiceDied.
    static void VppServiceDied(void* cookie);

    // ---- Session lifecycle ------------------------------------------------------------------
    // Each call below runs on the caller's thread and makes a few binder round trips (one per
    // port for parameters and flush), each bounded only by the service. Without a session
    // (InitVppSession failed or was not called) the service calls are skipped and the preset
    // answer stands.

    // Links the death recipient (node as cookie), creates the session and its callbacks
    // object, and calls init. LumResultEFailed when there is no service, the link or the
    // session could not be made, or init did not answer VPP_OK.
    LumResult InitVppSession();
    // Sends param to port 0, then port 1. LumResultEFailed on the first refusal (port 1 is then
    // not sent).
    LumResult SetVppParameter(const VppPortParam& param);
    // Before the session is open, first puts it in FRC mode (the mode's answer is ignored);
    // then sends ctrl. LumResultEFailed when the control is refused. Allowed while open.
    LumResult SetVppControl(const VppCtrlFrc& ctrl);
    // Opens the session and raises the process's session count under its lock.
    // LumResultEFailed when the service refused; the count is then unchanged.
    LumResult OpenVppSession();
    // Starts the open worker (port parameters from m_width, m_height, m_sessionMode on both
    // ports, then OpenVppSession) and returns at once with the thread creation's result. Join it
    // with WaitForOnOpenVppSession before the first queue call.
    LumResult NotifyOpenVppSession();
    // The open worker's entry point (pArg is the node); sets m_openResult.
    static void* DeferOpenVppSession(void* pArg);
    // What the open worker runs: SetVppParameter, then OpenVppSession; sets m_sessionOpened.
    LumResult OnOpenVppSession();
    // Joins the open worker (no time limit) and returns 1 when the open succeeded, else 0.
    // Without a worker to join it returns the last outcome at once.
    uint32_t WaitForOnOpenVppSession();
    // Flushes port 0, then port 1; after each call waits once, at most 30 ms, for
    // OnVppFlushDone to set that port's flag, so it blocks at most about 60 ms plus the two
    // calls. Returns the last wait's result (LumResultETimeout when a confirmation did not
    // come in time), or LumResultSuccess when no wait was needed; a refused flush does not stop
    // it. Needs a successful Initialize and InitVppSession. Not from a handler.
    LumResult FlushSession();
    // Makes no service call and waits for nothing: it only logs. Always LumResultSuccess. An
    // end of stream is requested with QueueInputEmpty (or an end-of-stream QueueInput), and its
    // completion arrives through OnVppDrainDone.
    LumResult DrainSession();
    // Closes the session. LumResultEFailed when the service refused.
    LumResult CloseVppSession();
    // Terminates the session; its answer carries no error code. Always LumResultSuccess.
    LumResult TermVppSession();
    // Starts the close worker (FlushSession, CloseVppSession, TermVppSession, each whatever the
    // step before it answered) and returns at once with the thread creation's result. On
    // failure the session stays open and WaitForCloseVppSession closes it. Call it once.
    LumResult NotifyCloseVppSession();
    // The close worker's entry point (pNode is the node).
    static void* DeferCloseVppSession(void* pNode);
    // Joins the close worker (no time limit); without one, closes and terminates on the
    // caller's thread, without a flush. Returns m_closeResult (LumResultSuccess unless the node
    // wrote it). Call it from the derived destructor (see the lifetime rule).
    LumResult WaitForCloseVppSession();

    // ---- Buffer path ------------------------------------------------------------------------
    // Each queue call makes one queueBuf round trip on the caller's thread. Every failure of a
    // queue call with an image answers LumResultETimeout (no handle, or the service refused);
    // the descriptors sent are duplicates, closed before the call returns on every path.

    // The native handle behind a camera image list (the pointer at its GetHandleAddress), or
    // null. Not owned by the caller.
    native_handle_t* GetNativeHandle(IxoImageList* pImageList);
    // Queues the request's input image on port 0 with cookie &inputCookie, timestamp
    // newTimestamp (or the request's frameTimestamp when 0) and the end-of-stream flag when isEOS
    // is 1. needGenerateFd 1 sends pImageBuffer->bufferFd (an internal buffer) instead of the
    // image list's handle. Counts inputQueuedNum, except for an end-of-stream input.
    LumResult QueueInput(IxoRequestBufferInfo* pRequestBufferInfo, uint64_t requestId,
                         uint8_t index, int32_t isEOS, int32_t needGenerateFd,
                         uint64_t newTimestamp);
    // Queues a temporary buffer on port 1 for pRequestBufferInfo, sized by that request's output
    // image but with cookie &pTempBufferInfo->outputCookie: the output comes back to the
    // temporary request. The memory is pTempBufferInfo's bufferFd when needGenerateFd is 1,
    // else pCameraBuffer's handle; with neither, an empty buffer is queued. Counts
    // outputQueuedNum of pRequestBufferInfo.
    LumResult QueueTempBuffertoVPPOutput(IxoRequestBufferInfo* pRequestBufferInfo,
                                         IxoRequestBufferInfo* pTempBufferInfo, uint64_t requestId,
                                         uint8_t index, int32_t needGenerateFd, void* pCameraBuffer,
                                         int32_t isEOS);
    // Queues the request's output image on port 1 with cookie &outputCookie; counts
    // outputQueuedNum.
    LumResult QueueOutput(IxoRequestBufferInfo* pRequestBufferInfo, uint64_t requestId,
                          uint8_t index, int32_t isEOS);
    // Queues an empty end-of-stream buffer (no memory, cookie 0) on port 0. LumResultEFailed
    // when refused.
    LumResult QueueInputEmpty(uint64_t requestId, uint32_t index);
    // Copies hInput's images into hOutput's memory on the caller's thread, without the service:
    // hOutput takes hInput's format and plane sizes; NV12, NV21 and Y8 are copied row by row
    // when the plane-0 layouts differ. LumResultEInvalidPointer for a null list,
    // LumResultEInvalidArg when hOutput has fewer planes.
    LumResult CopyImage(IxoImageList* hOutput, IxoImageList* hInput);

  protected:
    const char* m_pNodeName;                   // set by the derived node; not owned
    uint32_t m_width;                          // frame width of both ports
    uint32_t m_height;                         // frame height of both ports
    uint32_t m_sessionOpened;                  // 1 once the deferred open succeeded
    uint32_t m_sessionMode;                    // colour format of both ports (3 by default)
    Pavo::OSThreadHandle m_openThreadId;       // deferred-open worker to join, or 0
    Pavo::OSThreadHandle m_closeThreadId;      // deferred-close worker to join, or 0
    uint32_t m_openResult;                     // 1: the last deferred open succeeded
    uint32_t m_closeResult;                    // returned by WaitForCloseVppSession
    Pavo::Mutex* m_pFlushSessionLock;          // guards the two flush-done flags
    Pavo::Condition* m_pWaitFlushSessionDone;  // signalled when a port's flush is done
    uint32_t m_inputFlushDone;                 // set by OnVppFlushDone for port 0
    uint32_t m_outputFlushDone;                // set by OnVppFlushDone for port 1
    std::shared_ptr<IVppSession> m_pVppSession;
    std::shared_ptr<IxoVppCallbacks> m_pVppCallbacks;
    ndk::ScopedAIBinder_DeathRecipient m_pDeathRecipient;
    uint32_t m_skipWaitForClose;  // non-zero: the base destructor does not close

    static std::shared_ptr<IVppService> s_vppService;  // the process's service proxy
    static uint32_t s_sessionCount;                    // sessions opened by live nodes
    static Pavo::Mutex* s_pSessionCountLock;           // guards s_sessionCount
};

// The service's view of a node: forwards each event to the node's handler, on the binder thread
// that delivered it, and answers VPP_OK. Created by InitVppSession; the service may hold it
// after the node is gone, so the node keeps the session open only while it can take calls.
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
    ndk::ScopedAStatus inputBufferDone(const VppBuffer& in_buffer, VppError* _aidl_return) override;
    ndk::ScopedAStatus outputBufferDone(const VppBuffer& in_buffer,
                                        VppError* _aidl_return) override;

  private:
    IxoNodeVppBase* m_pNode;  // not owned; may be null
};
