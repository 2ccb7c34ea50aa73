// State of one service instance that its sessions share: whether the service is dead, and the
// sessions it made.
#pragma once

#include <android/binder_auto_utils.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

namespace vppservice {

class SessionCore;

class ServiceCore {
  public:
    explicit ServiceCore(int32_t debugFlags) : debugFlags_(debugFlags) {}
    ServiceCore(const ServiceCore&) = delete;
    ServiceCore& operator=(const ServiceCore&) = delete;

    // Debug flags every new session starts with.
    int32_t debugFlags() const { return debugFlags_; }

    // Remembers, weakly, the binder of the service object.
    void SetBinder(const ndk::SpAIBinder& binder);

    // True once the service's binder was declared dead or the service was shut down. In-process
    // calls reach the objects directly, so every entry point asks this itself; once true it
    // stays true.
    bool IsDead();

    // Latches death and stops every session's processing at once, without further callbacks.
    void MarkDead();

    // Ends the service: latches death and terminates every session (workers joined, memory
    // released).
    void Shutdown();

    void AddSession(const std::shared_ptr<SessionCore>& session);
    void RemoveSession(const std::weak_ptr<SessionCore>& session);
    size_t LiveSessionCount();

  private:
    // Strong references to the sessions still alive, taken under the lock and used without it.
    std::vector<std::shared_ptr<SessionCore>> LiveSessions();

    const int32_t debugFlags_;
    std::atomic<bool> dead_{false};
    std::mutex mutex_;
    ndk::ScopedAIBinder_Weak binder_;
    std::vector<std::weak_ptr<SessionCore>> sessions_;
};

}  // namespace vppservice
