// State of one service instance that its sessions share: whether the service is dead, and the
// sessions it made.
#include "service_core.h"

#include <binder_host/binder_host.h>

#include <algorithm>

#include "session.h"

namespace vppservice {

void ServiceCore::SetBinder(const ndk::SpAIBinder& binder) {
    std::lock_guard<std::mutex> lock(mutex_);
    binder_.set(AIBinder_Weak_new(binder.get()));
}

bool ServiceCore::IsDead() {
    if (dead_.load()) {
        return true;
    }
    ndk::SpAIBinder binder;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (binder_.get() != nullptr) {
            binder = binder_.promote();
        }
    }
    // The reference is dropped outside the lock: it may be the binder's last.
    if (binder.get() != nullptr && ABinderHost_isDead(binder.get())) {
        MarkDead();
        return true;
    }
    return false;
}

void ServiceCore::MarkDead() {
    if (dead_.exchange(true)) {
        return;
    }
    for (const auto& session : LiveSessions()) {
        session->StopSilently();
    }
}

void ServiceCore::Shutdown() {
    dead_.store(true);
    for (const auto& session : LiveSessions()) {
        session->Terminate();
    }
}

void ServiceCore::AddSession(const std::shared_ptr<SessionCore>& session) {
    std::lock_guard<std::mutex> lock(mutex_);
    sessions_.erase(std::remove_if(sessions_.begin(), sessions_.end(),
                                   [](const std::weak_ptr<SessionCore>& s) { return s.expired(); }),
                    sessions_.end());
    sessions_.push_back(session);
}

void ServiceCore::RemoveSession(const std::weak_ptr<SessionCore>& session) {
    // Compared by owner, without locking: a strong reference made here could turn out to be the
    // last one and run the session's destructor under this lock.
    std::lock_guard<std::mutex> lock(mutex_);
    sessions_.erase(std::remove_if(sessions_.begin(), sessions_.end(),
                                   [&](const std::weak_ptr<SessionCore>& s) {
                                       return s.expired() || (!s.owner_before(session) &&
                                                              !session.owner_before(s));
                                   }),
                    sessions_.end());
}

size_t ServiceCore::LiveSessionCount() {
    size_t count = 0;
    for (const auto& session : LiveSessions()) {
        if (!session->IsTerminated()) {
            count++;
        }
    }
    return count;
}

std::vector<std::shared_ptr<SessionCore>> ServiceCore::LiveSessions() {
    std::vector<std::shared_ptr<SessionCore>> sessions;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        sessions.reserve(sessions_.size());
        for (const auto& session : sessions_) {
            sessions.push_back(session.lock());
        }
    }
    sessions.erase(std::remove(sessions.begin(), sessions.end(), nullptr), sessions.end());
    return sessions;
}

}  // namespace vppservice
