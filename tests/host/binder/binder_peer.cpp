// Peer process of the cross-process binder tests: serves test.IPeer under the instance name given
// on its command line until killed.
// Usage: binder_peer INSTANCE [POOL_EXTRA_THREADS]  (0: the main thread is the only one)
#include <android/binder_auto_utils.h>
#include <android/binder_ibinder.h>
#include <android/binder_manager.h>
#include <android/binder_parcel_utils.h>
#include <android/binder_process.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <mutex>
#include <string>

#include "peer_protocol.h"

namespace {

std::atomic<int> gLiveObjects{0};
std::mutex gMutex;
ndk::ScopedFileDescriptor gKeptFd;
ndk::SpAIBinder gHeld;

const AIBinder_Class* peerClass();

void* onCreate(void* args) {
    ++gLiveObjects;
    return args;
}

void onDestroy(void*) {
    --gLiveObjects;
}

std::string readThroughMmap(int fd) {
    struct stat st;
    if (fstat(fd, &st) != 0 || st.st_size == 0) return "";
    void* map = mmap(nullptr, static_cast<size_t>(st.st_size), PROT_READ, MAP_SHARED, fd, 0);
    if (map == MAP_FAILED) return "";
    std::string text(static_cast<const char*>(map), static_cast<size_t>(st.st_size));
    munmap(map, static_cast<size_t>(st.st_size));
    return text;
}

binder_status_t onTransact(AIBinder*, transaction_code_t code, const AParcel* in, AParcel* out) {
    // Most requests carry one argument: read it first.
    std::string text;
    ndk::ScopedFileDescriptor fd;
    ndk::SpAIBinder binder;
    binder_status_t status = STATUS_OK;
    if (code == peer::kEcho || code == peer::kMakeFd) status = ndk::AParcel_readString(in, &text);
    if (code == peer::kDescribeFd || code == peer::kKeepFd) {
        status = ndk::AParcel_readRequiredParcelFileDescriptor(in, &fd);
    }
    if (code == peer::kReturnBinder || code == peer::kIsOwnObject || code == peer::kHoldBinder ||
        code == peer::kCallBack) {
        status = ndk::AParcel_readRequiredStrongBinder(in, &binder);
        if (status == STATUS_OK && code == peer::kCallBack)
            status = ndk::AParcel_readString(in, &text);
    }
    if (status != STATUS_OK) return status;
    // The kept descriptor and the held binder are shared; nested and blocking calls hold nothing.
    std::unique_lock<std::mutex> lock(gMutex, std::defer_lock);
    if (code >= peer::kKeepFd && code <= peer::kDropBinder) lock.lock();
    switch (code) {
        case peer::kEcho:
            return ndk::AParcel_writeString(out, text);
        case peer::kCaller:
            AParcel_writeInt32(out, AIBinder_getCallingPid());
            return AParcel_writeInt32(out, static_cast<int32_t>(AIBinder_getCallingUid()));
        case peer::kDescribeFd: {
            struct stat st;
            if (fstat(fd.get(), &st) != 0) return STATUS_BAD_VALUE;
            AParcel_writeInt32(out, fd.get());
            AParcel_writeInt64(out, static_cast<int64_t>(st.st_dev));
            AParcel_writeInt64(out, static_cast<int64_t>(st.st_ino));
            return ndk::AParcel_writeString(out, readThroughMmap(fd.get()));
        }
        case peer::kKeepFd:
            gKeptFd = std::move(fd);
            return STATUS_OK;
        case peer::kReadKeptFd:
            return ndk::AParcel_writeString(out, readThroughMmap(gKeptFd.get()));
        case peer::kMakeFd:
            fd.set(memfd_create("peer", MFD_CLOEXEC));
            if (write(fd.get(), text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
                return STATUS_UNKNOWN_ERROR;
            }
            return ndk::AParcel_writeRequiredParcelFileDescriptor(out, fd);
        case peer::kReturnBinder:
            return AParcel_writeStrongBinder(out, binder.get());
        case peer::kIsOwnObject:
            return AParcel_writeBool(out, !AIBinder_isRemote(binder.get()) &&
                                              AIBinder_getClass(binder.get()) == peerClass());
        case peer::kHoldBinder:
        case peer::kDropBinder:
            gHeld = binder;
            return STATUS_OK;
        case peer::kNewObject:
            return AParcel_writeStrongBinder(
                out, ndk::SpAIBinder(AIBinder_new(peerClass(), nullptr)).get());
        case peer::kLiveObjects:
            return AParcel_writeInt32(out, gLiveObjects.load());
        case peer::kCallBack: {
            static const AIBinder_Class* callbackClass = AIBinder_Class_define(
                peer::kCallbackDescriptor, [](void* a) { return a; }, [](void*) {},
                [](AIBinder*, transaction_code_t, const AParcel*, AParcel*) -> binder_status_t {
                    return STATUS_UNKNOWN_TRANSACTION;
                });
            if (!AIBinder_associateClass(binder.get(), callbackClass)) return STATUS_BAD_TYPE;
            ndk::ScopedAParcel call;
            ndk::ScopedAParcel reply;
            status = AIBinder_prepareTransaction(binder.get(), call.getR());
            if (status == STATUS_OK) status = ndk::AParcel_writeString(call.get(), text);
            if (status == STATUS_OK) {
                status = AIBinder_transact(binder.get(), peer::kCallbackEcho, call.getR(),
                                           reply.getR(), 0);
            }
            std::string answer;
            if (status == STATUS_OK) status = ndk::AParcel_readString(reply.get(), &answer);
            return status == STATUS_OK ? ndk::AParcel_writeString(out, answer) : status;
        }
        case peer::kBlock:
            for (;;) pause();
        default:
            return STATUS_UNKNOWN_TRANSACTION;
    }
}

const AIBinder_Class* peerClass() {
    static const AIBinder_Class* clazz =
        AIBinder_Class_define(peer::kDescriptor, onCreate, onDestroy, onTransact);
    return clazz;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        fprintf(stderr, "usage: binder_peer INSTANCE [POOL_EXTRA_THREADS]\n");
        return 2;
    }
    // "0": the main thread alone serves, so nested calls must come back to the waiting thread.
    const bool singleThread = argc > 2 && atoi(argv[2]) == 0;
    if (argc > 2) ABinderProcess_setThreadPoolMaxThreadCount(static_cast<uint32_t>(atoi(argv[2])));
    ndk::SpAIBinder service(AIBinder_new(peerClass(), nullptr));
    if (AServiceManager_addService(service.get(), argv[1]) != EX_NONE) return 1;
    if (!singleThread) ABinderProcess_startThreadPool();
    ABinderProcess_joinThreadPool();
    return 0;
}
