// The calls between the cross-process tests and their peer process (binder_peer).
#pragma once

#include <android/binder_ibinder.h>

namespace peer {

constexpr const char* kDescriptor = "test.IPeer";
constexpr const char* kCallbackDescriptor = "test.IPeerCallback";

// Calls on the peer's service.
enum Code : transaction_code_t {
    kEcho = FIRST_CALL_TRANSACTION,  // string -> the same string
    kCaller,                         // -> int32 calling pid, int32 calling uid
    kDescribeFd,                     // fd -> int32 fd number, int64 dev, int64 inode, string text
    kKeepFd,                         // fd -> (the peer keeps a duplicate)
    kReadKeptFd,                     // -> string: the kept file's text, read through mmap
    kMakeFd,                         // string -> fd of a new file holding the string
    kReturnBinder,                   // binder -> the same binder
    kIsOwnObject,                    // binder -> bool: it is one of the peer's own objects
    kHoldBinder,                     // binder -> (the peer keeps a reference)
    kDropBinder,                     // -> (the peer releases it)
    kNewObject,                      // -> a new object of the peer
    kLiveObjects,                    // -> int32: the peer's objects still alive
    kCallBack,                       // callback, string -> the callback's kCallbackEcho result
    kBlock,                          // -> never answers
};

// Calls on the tests' callback object.
enum CallbackCode : transaction_code_t {
    kCallbackEcho = FIRST_CALL_TRANSACTION,  // string -> the string, through the peer's kEcho
};

}  // namespace peer
