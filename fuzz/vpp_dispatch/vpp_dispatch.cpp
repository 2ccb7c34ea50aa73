// libFuzzer target: arbitrary IVppService and IVppSession transactions (code and parcel built
// from the input) sent to an in-process reference service through its binders.
//
// Input: a sequence of transactions, each
//   target (byte: 0 the service, 1 and 2 a session of its own), code offset (byte, added to
//   FIRST_CALL_TRANSACTION), item count (byte), then items of the parcel, each a tag byte and
//   its data:
//     0 int32 (4 bytes, little endian)    1 int64 (8 bytes)
//     2 string (length byte, bytes)        3 binder (byte: null, callbacks, session 1 and 2,
//                                            service)
//     4 descriptor (byte: a memfd of 0, 3072, 4096 or 65536 bytes)
//     5 parcelable start (a size placeholder)  6 parcelable end (the size is filled in)
//     7 int32 1 (a non-null marker)
// Every session is terminated at the end of an input; descriptors are counted before and after.
#include <aidl/vendor/zux/hardware/vpp/BnVppCallbacks.h>
#include <android/binder_ibinder.h>
#include <android/binder_parcel.h>
#include <android/binder_process.h>
#include <dirent.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "vppservice/vpp_service.h"

namespace {

using ::aidl::vendor::zux::hardware::vpp::BnVppCallbacks;
using ::aidl::vendor::zux::hardware::vpp::FlushDone;
using ::aidl::vendor::zux::hardware::vpp::IVppSession;
using ::aidl::vendor::zux::hardware::vpp::ReconfigDone;
using ::aidl::vendor::zux::hardware::vpp::VppBuffer;
using ::aidl::vendor::zux::hardware::vpp::VppError;

constexpr size_t kSessions = 2;
constexpr size_t kMaxItems = 32;
constexpr size_t kMemfdSizes[] = {0, 3072, 4096, 65536};

class QuietCallbacks : public BnVppCallbacks {
  public:
    ndk::ScopedAStatus eventDrainDone(VppError* r) override { return Ok(r); }
    ndk::ScopedAStatus eventError(VppError, VppError* r) override { return Ok(r); }
    ndk::ScopedAStatus eventFlushDone(const FlushDone&, VppError* r) override { return Ok(r); }
    ndk::ScopedAStatus eventReconfigDone(const ReconfigDone&, VppError* r) override {
        return Ok(r);
    }
    ndk::ScopedAStatus inputBufferDone(const VppBuffer&, VppError* r) override { return Ok(r); }
    ndk::ScopedAStatus outputBufferDone(const VppBuffer&, VppError* r) override { return Ok(r); }

  private:
    static ndk::ScopedAStatus Ok(VppError* r) {
        *r = VppError::VPP_OK;
        return ndk::ScopedAStatus::ok();
    }
};

int OpenFdCount() {
    int count = 0;
    DIR* dir = opendir("/proc/self/fd");
    while (dirent* entry = readdir(dir)) count += entry->d_name[0] != '.';
    closedir(dir);
    return count - 1;
}

// Reads the input front to back; past its end every read gives zeros.
class Reader {
  public:
    Reader(const uint8_t* data, size_t size) : data_(data), size_(size) {}
    bool done() const { return pos_ >= size_; }
    uint8_t Byte() { return pos_ < size_ ? data_[pos_++] : 0; }
    uint64_t Bytes(int count) {
        uint64_t value = 0;
        for (int i = 0; i < count; ++i) value |= static_cast<uint64_t>(Byte()) << (8 * i);
        return value;
    }

  private:
    const uint8_t* data_;
    size_t size_;
    size_t pos_ = 0;
};

// What one input works with: the service, two sessions, a callbacks object, memfds.
struct World {
    std::shared_ptr<::aidl::vendor::zux::hardware::vpp::IVppService> service;
    std::shared_ptr<IVppSession> sessions[kSessions];
    std::shared_ptr<QuietCallbacks> callbacks = ndk::SharedRefBase::make<QuietCallbacks>();
    int memfds[sizeof(kMemfdSizes) / sizeof(kMemfdSizes[0])] = {-1, -1, -1, -1};

    ~World() {
        for (auto& session : sessions) {
            if (session) session->term();
        }
        for (int fd : memfds) {
            if (fd >= 0) close(fd);
        }
    }
    int Memfd(size_t index) {
        if (memfds[index] < 0) {
            memfds[index] = memfd_create("vpp-dispatch", MFD_CLOEXEC);
            if (memfds[index] >= 0 && ftruncate(memfds[index], kMemfdSizes[index]) != 0) {
                abort();
            }
        }
        return memfds[index];
    }
    ndk::SpAIBinder Binder(uint8_t choice) {
        switch (choice % 5) {
            case 1:
                return callbacks->asBinder();
            case 2:
            case 3:
                return sessions[choice % 5 - 2] ? sessions[choice % 5 - 2]->asBinder()
                                                : ndk::SpAIBinder();
            case 4:
                return service->asBinder();
            default:
                return ndk::SpAIBinder();
        }
    }
};

void WriteItems(Reader* in, World* world, AParcel* parcel) {
    std::vector<int32_t> open;
    const size_t items = in->Byte() % kMaxItems;
    for (size_t i = 0; i < items && !in->done(); ++i) {
        switch (in->Byte() % 8) {
            case 0:
                AParcel_writeInt32(parcel, static_cast<int32_t>(in->Bytes(4)));
                break;
            case 1:
                AParcel_writeInt64(parcel, static_cast<int64_t>(in->Bytes(8)));
                break;
            case 2: {
                std::string text;
                const uint8_t length = in->Byte();
                for (uint8_t c = 0; c < length && !in->done(); ++c) {
                    text.push_back(static_cast<char>(in->Byte()));
                }
                AParcel_writeString(parcel, text.data(), static_cast<int32_t>(text.size()));
                break;
            }
            case 3: {
                ndk::SpAIBinder binder = world->Binder(in->Byte());
                AParcel_writeStrongBinder(parcel, binder.get());
                break;
            }
            case 4:
                AParcel_writeParcelFileDescriptor(
                    parcel, world->Memfd(in->Byte() % (sizeof(kMemfdSizes) / sizeof(size_t))));
                break;
            case 5:
                open.push_back(AParcel_getDataPosition(parcel));
                AParcel_writeInt32(parcel, 0);
                break;
            case 6:
                if (!open.empty()) {
                    const int32_t end = AParcel_getDataPosition(parcel);
                    AParcel_setDataPosition(parcel, open.back());
                    AParcel_writeInt32(parcel, end - open.back());
                    AParcel_setDataPosition(parcel, end);
                    open.pop_back();
                }
                break;
            default:
                AParcel_writeInt32(parcel, 1);
                break;
        }
    }
}

std::unique_ptr<vppservice::ServiceHandle>& Service() {
    static std::unique_ptr<vppservice::ServiceHandle> handle = [] {
        ABinderProcess_startThreadPool();
        return vppservice::RegisterService("fuzz");
    }();
    return handle;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (Service() == nullptr) abort();
    const int fdsBefore = OpenFdCount();
    {
        World world;
        world.service = Service()->service();
        for (auto& session : world.sessions) {
            if (!world.service->getNewVppSession(0, &session).isOk()) abort();
        }
        Reader in(data, size);
        while (!in.done()) {
            const uint8_t target = in.Byte() % (kSessions + 1);
            const transaction_code_t code = FIRST_CALL_TRANSACTION + in.Byte();
            ndk::SpAIBinder binder =
                target == 0 ? world.service->asBinder() : world.sessions[target - 1]->asBinder();
            AParcel* parcel = nullptr;
            if (AIBinder_prepareTransaction(binder.get(), &parcel) != STATUS_OK) abort();
            WriteItems(&in, &world, parcel);
            AParcel* reply = nullptr;
            AIBinder_transact(binder.get(), code, &parcel, &reply, 0);
            // A session made by getNewVppSession lives in the reply and ends with it.
            AParcel_delete(reply);
        }
    }
    if (Service()->liveSessionCount() != 0) {
        fprintf(stderr, "vpp_dispatch: sessions outlived their clients\n");
        abort();
    }
    if (OpenFdCount() != fdsBefore) {
        fprintf(stderr, "vpp_dispatch: %d descriptors before, %d after\n", fdsBefore,
                OpenFdCount());
        abort();
    }
    return 0;
}
