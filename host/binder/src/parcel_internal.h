// Internal parcel layout and hooks used by the binder objects and the cross-process transport.
#pragma once

#include <android/binder_auto_utils.h>
#include <android/binder_ibinder.h>
#include <android/binder_parcel.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace binder_host {

// Object records in the data stream: a kind word followed by an index into the object table.
enum : int32_t {
    kObjectNullBinder = 0,
    kObjectBinder = 1,
    kObjectFd = 2,
};

// Size of an object record in the data stream.
constexpr size_t kObjectRecordSize = 8;

struct ParcelObject {
    size_t offset = 0;       // of the record in the data
    ndk::SpAIBinder binder;  // the parcel's own strong reference
    // Owned by the parcel; a received parcel hands it to its reader (see AParcel::received).
    mutable ndk::ScopedFileDescriptor fd;
    mutable bool handedOver = false;
};

// A new empty parcel bound to target (NULL: bound to nothing, like AParcel_create).
AParcel* newParcelFor(const AIBinder* target);

// The binder a parcel was prepared for.
const AIBinder* parcelTarget(const AParcel* parcel);

binder_status_t writeInterfaceToken(AParcel* parcel, const std::string& descriptor);

// Reads the interface token at the read position; true when it equals descriptor.
bool checkInterfaceToken(const AParcel* parcel, const std::string& descriptor);

}  // namespace binder_host

struct AParcel {
    const AIBinder* target = nullptr;
    std::vector<uint8_t> data;
    mutable size_t position = 0;
    // In increasing offset order; each record's index word is its place in this table.
    std::vector<binder_host::ParcelObject> objects;
    // Built by the transport from a message of another process. Its descriptors were installed
    // in this process for it alone, so reading one hands the descriptor itself to the reader
    // (once) instead of a duplicate that the parcel's deletion would then pair with a close of
    // its own: two system calls fewer per descriptor on every call across processes.
    bool received = false;
};
