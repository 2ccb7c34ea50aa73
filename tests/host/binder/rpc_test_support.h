// Helpers of the cross-process tests: the peer process and calls with their reply.
#pragma once

#include <android/binder_auto_utils.h>
#include <android/binder_ibinder.h>
#include <android/binder_manager.h>
#include <android/binder_parcel_utils.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <string>

#include "peer_protocol.h"

extern char** environ;

namespace rpc_test {

// The peer process (binder_peer serving an instance); killed (SIGKILL) and reaped when it goes.
class PeerProcess {
  public:
    PeerProcess() = default;
    PeerProcess(const PeerProcess&) = delete;
    PeerProcess& operator=(const PeerProcess&) = delete;
    ~PeerProcess() { kill(); }

    // Starts it and waits for its "ready" line.
    bool start(const std::string& instance, int extraThreads = 15) {
        int fds[2];
        if (pipe2(fds, O_CLOEXEC) != 0) return false;
        ndk::ScopedFileDescriptor readEnd(fds[0]);
        ndk::ScopedFileDescriptor writeEnd(fds[1]);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, writeEnd.get(), STDOUT_FILENO);
        const std::string threads = std::to_string(extraThreads);
        const char* argv[] = {BINDER_PEER_PATH, instance.c_str(), threads.c_str(), nullptr};
        if (posix_spawn(&pid_, BINDER_PEER_PATH, &actions, nullptr, const_cast<char* const*>(argv),
                        environ) != 0) {
            pid_ = -1;
        }
        posix_spawn_file_actions_destroy(&actions);
        writeEnd.set(-1);
        std::string line;
        char c;
        pollfd pfd{readEnd.get(), POLLIN, 0};
        while (pid_ > 0 && line != "ready\n" && poll(&pfd, 1, 10000) == 1 &&
               read(readEnd.get(), &c, 1) == 1) {
            line += c;
        }
        return line == "ready\n";
    }

    void kill() {
        if (pid_ <= 0) return;
        ::kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
        pid_ = -1;
    }

  private:
    pid_t pid_ = -1;
};

// The service under instance, associated with the peer's class.
inline ndk::SpAIBinder peerBinder(const std::string& instance) {
    static const AIBinder_Class* clazz = AIBinder_Class_define(
        peer::kDescriptor, [](void* a) { return a; }, [](void*) {},
        [](AIBinder*, transaction_code_t, const AParcel*, AParcel*) -> binder_status_t {
            return STATUS_UNKNOWN_TRANSACTION;
        });
    ndk::SpAIBinder binder(AServiceManager_checkService(instance.c_str()));
    if (binder.get() != nullptr && !AIBinder_associateClass(binder.get(), clazz)) return nullptr;
    return binder;
}

// One call: write fills the request; the reply replaces *reply.
inline binder_status_t call(AIBinder* binder, transaction_code_t code, ndk::ScopedAParcel& reply,
                            const std::function<binder_status_t(AParcel*)>& write = nullptr) {
    ndk::ScopedAParcel in;
    binder_status_t status = AIBinder_prepareTransaction(binder, in.getR());
    if (status == STATUS_OK && write) status = write(in.get());
    if (status != STATUS_OK) return status;
    reply.set(nullptr);  // the out-parameter is overwritten, not released
    return AIBinder_transact(binder, code, in.getR(), reply.getR(), 0);
}

// A call whose request is a string (and optionally a binder before it) and whose reply is one.
inline binder_status_t callText(AIBinder* binder, transaction_code_t code, const std::string& text,
                                std::string* answer, AIBinder* object = nullptr) {
    ndk::ScopedAParcel reply;
    binder_status_t status = call(binder, code, reply, [&](AParcel* p) {
        binder_status_t s = object != nullptr ? AParcel_writeStrongBinder(p, object) : STATUS_OK;
        return s == STATUS_OK ? ndk::AParcel_writeString(p, text) : s;
    });
    return status == STATUS_OK ? ndk::AParcel_readString(reply.get(), answer) : status;
}

}  // namespace rpc_test
