// The reference service object (sessions on request) and its registration in the current process.
#include "vppservice/vpp_service.h"

#include <aidl/vendor/zux/hardware/vpp/BnVppService.h>
#include <android/binder_manager.h>
#include <binder_host/binder_host.h>

#include <atomic>

#include "service_core.h"
#include "service_log.h"
#include "session.h"

namespace vppservice {
namespace {

using ::aidl::vendor::zux::hardware::vpp::BnVppService;
using ::aidl::vendor::zux::hardware::vpp::IVppService;
using ::aidl::vendor::zux::hardware::vpp::IVppSession;

class VppService : public BnVppService {
  public:
    explicit VppService(std::shared_ptr<ServiceCore> core) : core_(std::move(core)) {}

    ndk::ScopedAStatus getNewVppSession(int32_t flags,
                                        std::shared_ptr<IVppSession>* session) override {
        if (core_->IsDead()) {
            return ndk::ScopedAStatus::fromStatus(STATUS_DEAD_OBJECT);
        }
        if (flags != 0) {
            return ndk::ScopedAStatus::fromExceptionCode(EX_ILLEGAL_ARGUMENT);
        }
        auto sessionCore = std::make_shared<SessionCore>(core_, nextSessionId_.fetch_add(1));
        core_->AddSession(sessionCore);
        *session = ndk::SharedRefBase::make<VppSession>(std::move(sessionCore));
        return ndk::ScopedAStatus::ok();
    }

  protected:
    // The binder is made on first use; the core watches it for death.
    ndk::SpAIBinder createBinder() override {
        ndk::SpAIBinder binder = BnVppService::createBinder();
        core_->SetBinder(binder);
        return binder;
    }

  private:
    const std::shared_ptr<ServiceCore> core_;
    std::atomic<uint64_t> nextSessionId_{1};
};

// Death notification of the registered binder: sessions stop at once, not at their next call.
void OnServiceDied(void* cookie) {
    static_cast<ServiceCore*>(cookie)->MarkDead();
}

}  // namespace

struct ServiceHandle::State {
    std::string name;
    std::shared_ptr<ServiceCore> core;
    std::shared_ptr<VppService> service;
    ndk::SpAIBinder binder;
    AIBinder_DeathRecipient* recipient = nullptr;
};

ServiceHandle::ServiceHandle(std::unique_ptr<State> state) : state_(std::move(state)) {}

ServiceHandle::~ServiceHandle() {
    State& s = *state_;
    s.core->Shutdown();
    if (!ABinderHost_isDead(s.binder.get())) {
        ABinderHost_declareBinderDead(s.binder.get());
    }
    // Deleting the recipient drops its link and waits for a notification in progress.
    AIBinder_DeathRecipient_delete(s.recipient);
    // Only our own registration goes (the name may have been taken over meanwhile).
    if (AServiceManager_isDeclared(s.name.c_str())) {
        ndk::SpAIBinder current(AServiceManager_checkService(s.name.c_str()));
        // In loopback mode the lookup gives a proxy of our own binder.
        ndk::SpAIBinder local(ABinderHost_getLoopbackLocal(current.get()));
        if (current.get() == s.binder.get() || local.get() == s.binder.get()) {
            ABinderHost_removeService(s.name.c_str());
        }
    }
}

const std::string& ServiceHandle::name() const {
    return state_->name;
}

std::shared_ptr<IVppService> ServiceHandle::service() const {
    return state_->service;
}

size_t ServiceHandle::liveSessionCount() const {
    return state_->core->LiveSessionCount();
}

std::unique_ptr<ServiceHandle> RegisterService(const std::string& instance) {
    auto state = std::make_unique<ServiceHandle::State>();
    state->name = std::string(IVppService::descriptor) + "/" + instance;
    if (AServiceManager_isDeclared(state->name.c_str())) {
        return nullptr;
    }
    state->core = std::make_shared<ServiceCore>(DebugFlagsFromEnvironment());
    state->service = ndk::SharedRefBase::make<VppService>(state->core);
    // Held for the registration's life, so that the binder, and a death declared on it, outlive
    // the service manager's reference.
    state->binder = state->service->asBinder();
    state->recipient = AIBinder_DeathRecipient_new(OnServiceDied);
    AIBinder_linkToDeath(state->binder.get(), state->recipient, state->core.get());
    if (AServiceManager_addService(state->binder.get(), state->name.c_str()) != EX_NONE) {
        AIBinder_DeathRecipient_delete(state->recipient);
        return nullptr;
    }
    if (state->core->debugFlags() != 0) {
        LogLine("service", "registered as %s", state->name.c_str());
    }
    return std::unique_ptr<ServiceHandle>(new ServiceHandle(std::move(state)));
}

}  // namespace vppservice
