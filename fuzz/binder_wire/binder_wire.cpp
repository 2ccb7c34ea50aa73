// libFuzzer target: the decoder of cross-process binder messages, the first code a hostile
// peer's bytes reach. The input's first byte is the number of descriptors that "arrived" with the
// message; the rest is the message as read from the socket (header, then body).
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "rpc/wire.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace binder_host::rpc;
    if (size == 0) return 0;
    const size_t fdsReceived = data[0];
    const uint8_t* message = data + 1;
    const size_t messageSize = size - 1;
    WireHeader header{};
    size_t bodySize = 0;
    std::string error;
    // The receiver reads exactly one header, then the body it announces.
    if (!decodeHeader(message, std::min(messageSize, sizeof(WireHeader)), &header, &bodySize,
                      &error)) {
        if (error.empty()) abort();  // every refusal says why: it becomes the log line
        return 0;
    }
    if (bodySize > kMaxDataSize + kMaxObjects * sizeof(WireObject)) abort();
    DecodedBody body;
    const uint8_t* bodyBytes = message + sizeof(WireHeader);
    const size_t bodyBytesSize = messageSize - sizeof(WireHeader);
    if (!decodeBody(header, bodyBytes, bodyBytesSize, fdsReceived, &body, &error)) {
        if (error.empty()) abort();
        return 0;
    }
    if (bodyBytesSize != bodySize) abort();
    // What the decoder accepted is what the receiver then relies on.
    if (body.dataSize != header.dataSize || body.objects.size() != header.objectCount) abort();
    if (body.data < bodyBytes || body.data + body.dataSize > bodyBytes + bodySize) abort();
    size_t fds = 0;
    uint32_t end = 0;
    for (const WireObject& object : body.objects) {
        if (object.offset < end || object.offset + kObjectRecordBytes > body.dataSize) abort();
        end = object.offset + static_cast<uint32_t>(kObjectRecordBytes);
        if (object.kind == kWireFd) {
            if (object.handle != fds) abort();
            ++fds;
        }
    }
    if (fds != fdsReceived) abort();
    return 0;
}
