// Wire format of cross-process binder messages and its decoder, the part a hostile peer reaches.
//
// A message on the stream is a fixed header, then objectCount object records, then dataSize
// bytes of parcel data. Descriptors travel beside the message as SCM_RIGHTS, attached to its
// first byte, in the order of the message's descriptor records.
//
// A connection between two processes is a set of channels (stream sockets). The first, the
// socket the connecting side opened, carries control messages only (channels, limits, reference
// releases) and tells each side when the other goes away. The others carry calls: socket pairs,
// one end sent over the first channel in a channel message. Each belongs to the side that sends
// calls on it, one call (with the nested calls made on its behalf) at a time, so that the
// calling thread reads its own reply and the peer's thread that reads a call is the one that
// runs it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace binder_host::rpc {

constexpr uint32_t kWireMagic = 0x31574842;  // "BHW1"

// Reference releases travel on the control channel, so they may overtake a message sent earlier
// on a call channel that names the same object (a call to it, or the object coming home in a
// reply). A release therefore carries in `id` how many such uses of the object the sender made
// since its previous release of it; the owner keeps the object until it has seen them all.
enum MessageType : uint32_t {
    kMessageTransact = 1,  // a call; a reply follows unless it is oneway
    kMessageReply = 2,     // the answer to the transaction with the same id
    kMessageDecRef = 3,    // the peer dropped `count` of the references it received to `target`
    kMessageChannel = 4,   // one descriptor record: a channel on which the sender will send calls
    kMessageLimit = 5,     // code: how many call channels the sender serves (at least 1)
};

// Limits of one message, as on a device's binder buffer.
constexpr size_t kMaxDataSize = size_t{1024} * 1024;
constexpr size_t kMaxFds = 253;  // what one SCM_RIGHTS message can carry
// Size of an object's record (kind word, index word) in the parcel data.
constexpr size_t kObjectRecordBytes = 8;
constexpr size_t kMaxObjects = kMaxDataSize / kObjectRecordBytes;

struct WireHeader {
    uint32_t magic;
    uint32_t type;
    uint64_t id;      // transact: id, echoed by the reply; decref: uses counted (see below)
    uint64_t target;  // transact: the receiver's object (0: the connection's root)
                      // decref: the receiver's object whose references are dropped
    uint32_t code;    // transact: code; reply: status; decref: count; limit: limit
    uint32_t flags;   // transact: FLAG_ONEWAY
    uint32_t objectCount;
    uint32_t fdCount;
    uint32_t dataSize;
    uint32_t reserved;
};
static_assert(sizeof(WireHeader) == 48, "wire header layout");

enum WireObjectKind : uint32_t {
    kWireSenderBinder = 1,    // an object of the sender: a proxy in the receiver
    kWireReceiverBinder = 2,  // an object of the receiver coming home
    kWireFd = 3,              // handle: index among the message's descriptors
};

struct WireObject {
    uint32_t offset;  // of the object's record in the parcel data
    uint32_t kind;
    uint64_t handle;
};
static_assert(sizeof(WireObject) == 16, "wire object layout");

// Validates a header on its own. On success *bodySize is the number of bytes that follow it.
bool decodeHeader(const uint8_t* bytes, size_t size, WireHeader* header, size_t* bodySize,
                  std::string* error);

struct DecodedBody {
    std::vector<WireObject> objects;
    const uint8_t* data = nullptr;  // points into the body
    size_t dataSize = 0;
};

// Validates a body against its (already decoded) header and the number of descriptors that
// arrived with the message: record kinds, in-bounds non-overlapping increasing offsets, one
// descriptor record per descriptor received, in order.
bool decodeBody(const WireHeader& header, const uint8_t* body, size_t size, size_t fdsReceived,
                DecodedBody* out, std::string* error);

}  // namespace binder_host::rpc
