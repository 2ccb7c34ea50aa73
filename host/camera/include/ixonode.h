// Node-facing records of the camera framework: the node services table, image lists, per-request
// buffer records and the per-request frame-rate-conversion bookkeeping.
#pragma once

#include <cstdint>

// Upper bounds of an image list.
#define IXO_MAX_PLANES 8
#define IXO_MAX_IMAGES 8

// Format codes of an image.
enum IxoFormat : uint32_t {
    IxoFormatUnknown = 0,
    IxoFormatY8 = 1,       // one luma plane
    IxoFormatYUV420P = 2,  // three planes: Y, U, V
    IxoFormatNV12 = 3,     // Y plane, then interleaved CbCr at half height
    IxoFormatNV21 = 4,     // Y plane, then interleaved CrCb at half height
};

// Table of framework services handed to a node; opaque to nodes that only test it.
struct IxoNodeInterface {
    void* pReserved;
};

// Geometry of one plane.
struct IxoPlaneLayout {
    uint32_t height;    // rows
    uint32_t stride;    // bytes per row
    uint32_t scanline;  // rows allotted per plane (>= height)
};

// Format description of an image: copied as a whole between image lists.
struct IxoImageFormat {
    uint32_t width;
    uint32_t height;
    uint32_t format;  // IxoFormat
    IxoPlaneLayout planeLayout[IXO_MAX_PLANES];
    uint32_t alignment;
};

// An image list: one or more images of one format, each with up to eight planes.
// Polymorphic; GetHandleAddress is its first virtual operation.
class IxoImageList {
  public:
    virtual ~IxoImageList() = default;
    // Address of the buffer's native handle pointer, or null when it has none. The base list has
    // none; camera buffer objects override this.
    virtual void* GetHandleAddress() { return nullptr; }

    IxoImageFormat formatBlock = {};
    uint32_t numberOfPlanes = 0;
    uint64_t planeSize[IXO_MAX_PLANES] = {};
    uint32_t numberOfImages = 0;
    uint8_t* pAddr[IXO_MAX_IMAGES][IXO_MAX_PLANES] = {};
    int32_t bufferFd = -1;               // descriptor of an internally allocated buffer
    IxoImageList* pImageList = nullptr;  // camera buffer object backing this image
};

// Frame-rate-conversion bookkeeping of one request.
struct IxoFrcRatioInfo {
    uint8_t inputQueuedNum;   // input buffers of this request queued so far (wraps at 256)
    uint8_t outputQueuedNum;  // output buffers of this request queued so far (wraps at 256)
    uint8_t inputDoneNum;
    uint8_t outputDoneNum;
    uint32_t frcRatio;  // output frames per input frame
};

// A node's per-request buffer record.
struct IxoRequestBufferInfo {
    uint64_t requestId;
    uint64_t frameTimestamp;           // timestamp of the request's input frame
    uint64_t inputCookie;              // its address identifies the input buffer
    IxoImageList* pImageBuffer;        // the request's input image
    uint64_t outputCookie;             // its address identifies the output buffer
    IxoImageList* pOutputImageBuffer;  // the request's output image
    IxoFrcRatioInfo* pFrcRatioInfo;    // may be null
    void* pPrivate;                    // the node's own
};
