// Decoder of cross-process binder messages: every check a received message must pass before
// any of it is used.
#include "wire.h"

#include <cstring>

namespace binder_host::rpc {

namespace {

bool fail(std::string* error, const char* what) {
    *error = what;
    return false;
}

}  // namespace

bool decodeHeader(const uint8_t* bytes, size_t size, WireHeader* header, size_t* bodySize,
                  std::string* error) {
    if (size != sizeof(WireHeader)) return fail(error, "short header");
    memcpy(header, bytes, sizeof(WireHeader));
    if (header->magic != kWireMagic) return fail(error, "bad magic");
    if (header->type < kMessageTransact || header->type > kMessageLimit) {
        return fail(error, "unknown message type");
    }
    if (header->dataSize > kMaxDataSize) return fail(error, "message too large");
    if (header->objectCount > kMaxObjects) return fail(error, "too many objects");
    if (header->fdCount > kMaxFds) return fail(error, "too many descriptors");
    if (header->fdCount > header->objectCount) return fail(error, "descriptors without records");
    if (static_cast<size_t>(header->objectCount) * kObjectRecordBytes > header->dataSize) {
        return fail(error, "more objects than the data can hold");
    }
    if (header->type == kMessageDecRef &&
        (header->objectCount != 0 || header->dataSize != 0 || header->code == 0)) {
        return fail(error, "malformed reference release");
    }
    if (header->type == kMessageChannel && (header->objectCount != 1 || header->fdCount != 1 ||
                                            header->dataSize != kObjectRecordBytes)) {
        return fail(error, "malformed channel message");
    }
    if (header->type == kMessageLimit &&
        (header->objectCount != 0 || header->dataSize != 0 || header->code == 0)) {
        return fail(error, "malformed limit message");
    }
    *bodySize = static_cast<size_t>(header->objectCount) * sizeof(WireObject) + header->dataSize;
    return true;
}

bool decodeBody(const WireHeader& header, const uint8_t* body, size_t size, size_t fdsReceived,
                DecodedBody* out, std::string* error) {
    const size_t objectBytes = static_cast<size_t>(header.objectCount) * sizeof(WireObject);
    if (size != objectBytes + header.dataSize) return fail(error, "body size mismatch");
    if (fdsReceived != header.fdCount) return fail(error, "descriptor count mismatch");
    out->objects.resize(header.objectCount);
    if (objectBytes > 0) memcpy(out->objects.data(), body, objectBytes);
    out->data = body + objectBytes;
    out->dataSize = header.dataSize;
    uint64_t fdsSeen = 0;
    size_t nextFree = 0;  // first offset a record may start at
    for (const WireObject& object : out->objects) {
        if (object.offset % 4 != 0) return fail(error, "misaligned object offset");
        if (object.offset < nextFree) return fail(error, "overlapping or unordered objects");
        if (static_cast<size_t>(object.offset) + kObjectRecordBytes > header.dataSize) {
            return fail(error, "object offset out of bounds");
        }
        nextFree = static_cast<size_t>(object.offset) + kObjectRecordBytes;
        switch (object.kind) {
            case kWireSenderBinder:
            case kWireReceiverBinder:
                if (object.handle == 0) return fail(error, "null object handle");
                break;
            case kWireFd:
                if (object.handle != fdsSeen) return fail(error, "descriptor records out of order");
                ++fdsSeen;
                break;
            default:
                return fail(error, "unknown object kind");
        }
    }
    if (fdsSeen != header.fdCount) return fail(error, "descriptor count mismatch");
    return true;
}

}  // namespace binder_host::rpc
