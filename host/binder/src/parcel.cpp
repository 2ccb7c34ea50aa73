// In-memory parcels with the NDK-backend encoding: primitives, UTF-16 strings, arrays, binders,
// file descriptors and the status header.
#include <android/binder_ibinder.h>
#include <android/binder_parcel.h>
#include <fcntl.h>
#include <string.h>
#include <syslog.h>
#include <unistd.h>

#include <limits>
#include <string>
#include <vector>

#include "binder_internal.h"
#include "parcel_internal.h"

using binder_host::kObjectBinder;
using binder_host::kObjectFd;
using binder_host::kObjectNullBinder;
using binder_host::logMessage;
using binder_host::ParcelObject;
using binder_host::pruneStatus;

namespace {

constexpr int32_t kExHasReplyHeader = -128;

size_t padded(size_t size) {
    return (size + 3) & ~static_cast<size_t>(3);
}

binder_status_t writeRaw(AParcel* parcel, const void* bytes, size_t size) {
    size_t total = padded(size);
    if (parcel->position > std::numeric_limits<int32_t>::max() - total) {
        return STATUS_NO_MEMORY;
    }
    size_t end = parcel->position + total;
    if (end > parcel->data.size()) {
        parcel->data.resize(end);
    }
    if (size > 0) {
        memcpy(parcel->data.data() + parcel->position, bytes, size);
    }
    memset(parcel->data.data() + parcel->position + size, 0, total - size);
    parcel->position = end;
    return STATUS_OK;
}

binder_status_t readRaw(const AParcel* parcel, void* bytes, size_t size) {
    size_t total = padded(size);
    if (parcel->position > parcel->data.size() || parcel->data.size() - parcel->position < total) {
        return STATUS_NOT_ENOUGH_DATA;
    }
    if (size > 0) {
        memcpy(bytes, parcel->data.data() + parcel->position, size);
    }
    parcel->position += total;
    return STATUS_OK;
}

template <typename T>
binder_status_t writeValue(AParcel* parcel, T value) {
    if (parcel == nullptr) return STATUS_UNEXPECTED_NULL;
    return writeRaw(parcel, &value, sizeof(T));
}

template <typename T>
binder_status_t readValue(const AParcel* parcel, T* value) {
    if (parcel == nullptr || value == nullptr) return STATUS_UNEXPECTED_NULL;
    return readRaw(parcel, value, sizeof(T));
}

// Bytes left after the read position.
size_t remaining(const AParcel* parcel) {
    return parcel->position >= parcel->data.size() ? 0 : parcel->data.size() - parcel->position;
}

// ---- UTF-8 / UTF-16 ----

bool utf8ToUtf16(const char* in, size_t size, std::u16string* out) {
    const auto* s = reinterpret_cast<const uint8_t*>(in);
    size_t i = 0;
    while (i < size) {
        uint32_t cp;
        size_t extra;
        uint8_t c = s[i];
        if (c < 0x80) {
            cp = c;
            extra = 0;
        } else if ((c & 0xE0) == 0xC0) {
            cp = c & 0x1F;
            extra = 1;
        } else if ((c & 0xF0) == 0xE0) {
            cp = c & 0x0F;
            extra = 2;
        } else if ((c & 0xF8) == 0xF0) {
            cp = c & 0x07;
            extra = 3;
        } else {
            return false;
        }
        if (size - i - 1 < extra) return false;
        for (size_t k = 1; k <= extra; ++k) {
            if ((s[i + k] & 0xC0) != 0x80) return false;
            cp = (cp << 6) | (s[i + k] & 0x3F);
        }
        static const uint32_t kMin[] = {0, 0x80, 0x800, 0x10000};
        if (cp < kMin[extra] || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return false;
        if (cp >= 0x10000) {
            cp -= 0x10000;
            out->push_back(static_cast<char16_t>(0xD800 + (cp >> 10)));
            out->push_back(static_cast<char16_t>(0xDC00 + (cp & 0x3FF)));
        } else {
            out->push_back(static_cast<char16_t>(cp));
        }
        i += extra + 1;
    }
    return true;
}

std::string utf16ToUtf8(const char16_t* in, size_t size) {
    std::string out;
    for (size_t i = 0; i < size; ++i) {
        uint32_t cp = in[i];
        if (cp >= 0xD800 && cp <= 0xDBFF && i + 1 < size && in[i + 1] >= 0xDC00 &&
            in[i + 1] <= 0xDFFF) {
            cp = 0x10000 + ((cp - 0xD800) << 10) + (in[i + 1] - 0xDC00);
            ++i;
        }
        if (cp < 0x80) {
            out += static_cast<char>(cp);
        } else if (cp < 0x800) {
            out += static_cast<char>(0xC0 | (cp >> 6));
            out += static_cast<char>(0x80 | (cp & 0x3F));
        } else if (cp < 0x10000) {
            out += static_cast<char>(0xE0 | (cp >> 12));
            out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (cp & 0x3F));
        } else {
            out += static_cast<char>(0xF0 | (cp >> 18));
            out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
            out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (cp & 0x3F));
        }
    }
    return out;
}

binder_status_t writeString16(AParcel* parcel, const std::u16string& str) {
    binder_status_t status = writeValue<int32_t>(parcel, static_cast<int32_t>(str.size()));
    if (status != STATUS_OK) return status;
    return writeRaw(parcel, str.c_str(), (str.size() + 1) * sizeof(char16_t));
}

enum class String16Read { kOk, kNull, kMalformed };

// Reads a UTF-16 string. A null string consumes its length word; a short or unterminated one
// leaves the position where it was.
String16Read readString16(const AParcel* parcel, std::u16string* str) {
    size_t before = parcel->position;
    int32_t length;
    if (readValue(parcel, &length) != STATUS_OK) return String16Read::kMalformed;
    if (length == -1) return String16Read::kNull;
    size_t bytes = (static_cast<size_t>(length) + 1) * sizeof(char16_t);
    if (length < 0 || remaining(parcel) < padded(bytes)) {
        parcel->position = before;
        return String16Read::kMalformed;
    }
    const uint8_t* start = parcel->data.data() + parcel->position;
    str->resize(static_cast<size_t>(length) + 1);
    memcpy(&(*str)[0], start, bytes);
    if ((*str)[static_cast<size_t>(length)] != u'\0') {
        parcel->position = before;
        return String16Read::kMalformed;
    }
    str->resize(static_cast<size_t>(length));
    parcel->position += padded(bytes);
    return String16Read::kOk;
}

// ---- Objects ----

binder_status_t writeObject(AParcel* parcel, int32_t kind, ParcelObject object) {
    object.offset = parcel->position;
    int32_t index = static_cast<int32_t>(parcel->objects.size());
    // Records are appended only: an overwrite in the middle would break the table's order.
    if (parcel->position != parcel->data.size()) return STATUS_INVALID_OPERATION;
    binder_status_t status = writeValue<int32_t>(parcel, kind);
    if (status == STATUS_OK) status = writeValue<int32_t>(parcel, index);
    if (status != STATUS_OK) return status;
    parcel->objects.push_back(std::move(object));
    return STATUS_OK;
}

// Reads an object record; *object is NULL for a null binder. A record must sit exactly where
// the object table says it does.
binder_status_t readObject(const AParcel* parcel, int32_t* kind, const ParcelObject** object) {
    size_t offset = parcel->position;
    int32_t index;
    binder_status_t status = readValue(parcel, kind);
    if (status == STATUS_OK) status = readValue(parcel, &index);
    if (status != STATUS_OK) return status;
    *object = nullptr;
    if (*kind == kObjectNullBinder) return STATUS_OK;
    if (index < 0 || static_cast<size_t>(index) >= parcel->objects.size()) return STATUS_BAD_TYPE;
    const ParcelObject& found = parcel->objects[static_cast<size_t>(index)];
    if (found.offset != offset) return STATUS_BAD_TYPE;
    *object = &found;
    return STATUS_OK;
}

// Shared checks of the array writers.
binder_status_t checkArrayArgs(const void* data, int32_t length) {
    if (length < -1) return STATUS_BAD_VALUE;
    if (data != nullptr && length < 0) return STATUS_BAD_VALUE;
    if (data == nullptr && length > 0) return STATUS_BAD_VALUE;
    return STATUS_OK;
}

template <typename T>
binder_status_t writePackedArray(AParcel* parcel, const T* data, int32_t length) {
    if (parcel == nullptr) return STATUS_UNEXPECTED_NULL;
    binder_status_t status = checkArrayArgs(data, length);
    if (status != STATUS_OK) return status;
    status = writeValue<int32_t>(parcel, length);
    if (status != STATUS_OK || data == nullptr || length <= 0) return status;
    if (static_cast<size_t>(length) > std::numeric_limits<int32_t>::max() / sizeof(T)) {
        return STATUS_NO_MEMORY;
    }
    return writeRaw(parcel, data, sizeof(T) * static_cast<size_t>(length));
}

template <typename T, typename Allocator>
binder_status_t readPackedArray(const AParcel* parcel, void* arrayData, Allocator allocator) {
    if (parcel == nullptr) return STATUS_UNEXPECTED_NULL;
    int32_t length;
    binder_status_t status = readValue(parcel, &length);
    if (status != STATUS_OK) return status;
    if (length < -1) return STATUS_BAD_VALUE;
    if (length > 0 && static_cast<size_t>(length) > remaining(parcel) / sizeof(T)) {
        return STATUS_NO_MEMORY;
    }
    T* buffer = nullptr;
    if (!allocator(arrayData, length, &buffer)) {
        return length < 0 ? STATUS_UNEXPECTED_NULL : STATUS_NO_MEMORY;
    }
    if (length <= 0) return STATUS_OK;
    if (buffer == nullptr) return STATUS_NO_MEMORY;
    return readRaw(parcel, buffer, sizeof(T) * static_cast<size_t>(length));
}

// Arrays whose elements each take one int32 (char16_t, bool).
template <typename T, typename Allocator>
binder_status_t readWideArray(const AParcel* parcel, void* arrayData, Allocator allocator) {
    if (parcel == nullptr) return STATUS_UNEXPECTED_NULL;
    int32_t length;
    binder_status_t status = readValue(parcel, &length);
    if (status != STATUS_OK) return status;
    if (length < -1) return STATUS_BAD_VALUE;
    if (length > 0 && static_cast<size_t>(length) > remaining(parcel) / sizeof(int32_t)) {
        return STATUS_NO_MEMORY;
    }
    T* buffer = nullptr;
    if (!allocator(arrayData, length, &buffer)) {
        return length < 0 ? STATUS_UNEXPECTED_NULL : STATUS_NO_MEMORY;
    }
    if (length <= 0) return STATUS_OK;
    if (buffer == nullptr) return STATUS_NO_MEMORY;
    for (int32_t i = 0; i < length; ++i) {
        int32_t value;
        status = readValue(parcel, &value);
        if (status != STATUS_OK) return status;
        buffer[i] = static_cast<T>(value);
    }
    return STATUS_OK;
}

}  // namespace

namespace binder_host {

AParcel* newParcelFor(const AIBinder* target) {
    AParcel* parcel = new AParcel();
    parcel->target = target;
    return parcel;
}

const AIBinder* parcelTarget(const AParcel* parcel) {
    return parcel->target;
}

binder_status_t writeInterfaceToken(AParcel* parcel, const std::string& descriptor) {
    return AParcel_writeString(parcel, descriptor.c_str(), static_cast<int32_t>(descriptor.size()));
}

bool checkInterfaceToken(const AParcel* parcel, const std::string& descriptor) {
    std::u16string token;
    std::u16string expected;
    utf8ToUtf16(descriptor.data(), descriptor.size(), &expected);
    return readString16(parcel, &token) == String16Read::kOk && token == expected;
}

}  // namespace binder_host

void AParcel_delete(AParcel* parcel) {
    delete parcel;
}

AParcel* AParcel_create() {
    return binder_host::newParcelFor(nullptr);
}

binder_status_t AParcel_setDataPosition(const AParcel* parcel, int32_t position) {
    if (position < 0) return STATUS_BAD_VALUE;
    parcel->position = static_cast<size_t>(position);
    return STATUS_OK;
}

int32_t AParcel_getDataPosition(const AParcel* parcel) {
    return static_cast<int32_t>(parcel->position);
}

int32_t AParcel_getDataSize(const AParcel* parcel) {
    return static_cast<int32_t>(parcel->data.size());
}

binder_status_t AParcel_reset(AParcel* parcel) {
    parcel->objects.clear();
    parcel->data.clear();
    parcel->position = 0;
    return STATUS_OK;
}

binder_status_t AParcel_appendFrom(const AParcel* from, AParcel* to, int32_t start, int32_t size) {
    if (from == nullptr || to == nullptr) return STATUS_UNEXPECTED_NULL;
    if (start < 0 || size < 0 || static_cast<size_t>(start) > from->data.size() ||
        from->data.size() - static_cast<size_t>(start) < static_cast<size_t>(size)) {
        return STATUS_BAD_VALUE;
    }
    size_t base = to->data.size();
    to->data.insert(to->data.end(), from->data.begin() + start, from->data.begin() + start + size);
    // Objects inside the range are copied with their own references and re-indexed.
    for (const ParcelObject& object : from->objects) {
        size_t begin = static_cast<size_t>(start);
        if (object.offset < begin || object.offset + 8 > begin + static_cast<size_t>(size)) {
            continue;
        }
        ParcelObject copy;
        copy.offset = base + (object.offset - begin);
        copy.binder = object.binder;
        if (object.fd.get() >= 0) {
            copy.fd.set(fcntl(object.fd.get(), F_DUPFD_CLOEXEC, 0));
            if (copy.fd.get() < 0) return pruneStatus(-errno);
        }
        int32_t index = static_cast<int32_t>(to->objects.size());
        memcpy(to->data.data() + copy.offset + sizeof(int32_t), &index, sizeof(index));
        to->objects.push_back(std::move(copy));
    }
    to->position = to->data.size();
    return STATUS_OK;
}

binder_status_t AParcel_marshal(const AParcel* parcel, uint8_t* buffer, size_t start, size_t len) {
    if (!parcel->objects.empty()) return STATUS_INVALID_OPERATION;
    if (start > parcel->data.size() || parcel->data.size() - start < len) return STATUS_BAD_VALUE;
    if (len > 0) memcpy(buffer, parcel->data.data() + start, len);
    return STATUS_OK;
}

binder_status_t AParcel_unmarshal(AParcel* parcel, const uint8_t* buffer, size_t len) {
    parcel->objects.clear();
    parcel->data.assign(buffer, buffer + len);
    parcel->position = parcel->data.size();
    return STATUS_OK;
}

binder_status_t AParcel_writeStrongBinder(AParcel* parcel, AIBinder* binder) {
    if (parcel == nullptr) return STATUS_UNEXPECTED_NULL;
    if (binder == nullptr) {
        binder_status_t status = writeValue<int32_t>(parcel, kObjectNullBinder);
        if (status != STATUS_OK) return status;
        return writeValue<int32_t>(parcel, 0);
    }
    ParcelObject object;
    AIBinder_incStrong(binder);
    object.binder.set(binder);
    return writeObject(parcel, kObjectBinder, std::move(object));
}

binder_status_t AParcel_readStrongBinder(const AParcel* parcel, AIBinder** binder) {
    if (parcel == nullptr || binder == nullptr) return STATUS_UNEXPECTED_NULL;
    int32_t kind;
    const ParcelObject* object;
    binder_status_t status = readObject(parcel, &kind, &object);
    if (status != STATUS_OK) return pruneStatus(status);
    if (object == nullptr) {
        *binder = nullptr;
        return STATUS_OK;
    }
    if (kind != kObjectBinder || object->binder.get() == nullptr) return STATUS_BAD_TYPE;
    AIBinder_incStrong(object->binder.get());
    *binder = object->binder.get();
    return STATUS_OK;
}

binder_status_t AParcel_writeParcelFileDescriptor(AParcel* parcel, int fd) {
    if (parcel == nullptr) return STATUS_UNEXPECTED_NULL;
    if (fd == -1) return writeValue<int32_t>(parcel, 0);
    if (fd < 0) return STATUS_UNKNOWN_ERROR;
    ParcelObject object;
    object.fd.set(fcntl(fd, F_DUPFD_CLOEXEC, 0));
    if (object.fd.get() < 0) return pruneStatus(-errno);
    binder_status_t status = writeValue<int32_t>(parcel, 1);
    if (status == STATUS_OK) status = writeValue<int32_t>(parcel, 0);  // no comm channel
    if (status != STATUS_OK) return status;
    return writeObject(parcel, kObjectFd, std::move(object));
}

binder_status_t AParcel_readParcelFileDescriptor(const AParcel* parcel, int* fd) {
    if (parcel == nullptr || fd == nullptr) return STATUS_UNEXPECTED_NULL;
    int32_t present;
    binder_status_t status = readValue(parcel, &present);
    if (status != STATUS_OK) return status;
    if (present == 0) {
        *fd = -1;
        return STATUS_OK;
    }
    int32_t comm;
    status = readValue(parcel, &comm);
    if (status != STATUS_OK) return status;
    int32_t kind;
    const ParcelObject* object;
    status = readObject(parcel, &kind, &object);
    if (status != STATUS_OK) return status;
    if (kind != kObjectFd || object == nullptr) return STATUS_BAD_TYPE;
    if (object->handedOver) {
        binder_host::logMessage(LOG_ERR, "Descriptor at parcel position %zu was already read",
                                object->offset);
        return STATUS_BAD_VALUE;
    }
    if (object->fd.get() < 0) return STATUS_BAD_TYPE;
    if (parcel->received) {
        object->handedOver = true;
        *fd = object->fd.release();
        return STATUS_OK;
    }
    int dup = fcntl(object->fd.get(), F_DUPFD_CLOEXEC, 0);
    if (dup < 0) return STATUS_BAD_VALUE;
    *fd = dup;
    return STATUS_OK;
}

binder_status_t AParcel_writeStatusHeader(AParcel* parcel, const AStatus* status) {
    if (parcel == nullptr || status == nullptr) return STATUS_UNEXPECTED_NULL;
    if (status->exception == EX_TRANSACTION_FAILED) {
        return pruneStatus(status->errorCode);
    }
    binder_status_t result = writeValue<int32_t>(parcel, status->exception);
    if (result != STATUS_OK || status->exception == EX_NONE) return result;
    std::u16string message;
    if (!utf8ToUtf16(status->message.data(), status->message.size(), &message)) {
        message.clear();
    }
    result = writeString16(parcel, message);
    if (result == STATUS_OK) result = writeValue<int32_t>(parcel, 0);  // no remote stack trace
    if (result == STATUS_OK && status->exception == EX_SERVICE_SPECIFIC) {
        result = writeValue<int32_t>(parcel, status->errorCode);
    } else if (result == STATUS_OK && status->exception == EX_PARCELABLE) {
        result = writeValue<int32_t>(parcel, 0);
    }
    return result;
}

binder_status_t AParcel_readStatusHeader(const AParcel* parcel, AStatus** status) {
    if (parcel == nullptr || status == nullptr) return STATUS_UNEXPECTED_NULL;
    int32_t exception;
    binder_status_t result = readValue(parcel, &exception);
    if (result != STATUS_OK) return result;
    if (exception == kExHasReplyHeader) {
        size_t headerStart = parcel->position;
        int32_t headerSize;
        result = readValue(parcel, &headerSize);
        if (result != STATUS_OK) return result;
        if (headerSize < 0 || static_cast<size_t>(headerSize) > parcel->data.size() - headerStart) {
            return STATUS_BAD_VALUE;
        }
        parcel->position = headerStart + static_cast<size_t>(headerSize);
        exception = EX_NONE;
    }
    if (exception == EX_NONE) {
        *status = AStatus_fromStatus(STATUS_OK);
        return STATUS_OK;
    }
    // A null message reads as empty.
    std::u16string message;
    if (readString16(parcel, &message) == String16Read::kMalformed) {
        return STATUS_NOT_ENOUGH_DATA;
    }
    size_t traceStart = parcel->position;
    int32_t traceSize;
    result = readValue(parcel, &traceSize);
    if (result != STATUS_OK) return result;
    if (traceSize < 0 || static_cast<size_t>(traceSize) > parcel->data.size() - traceStart) {
        return STATUS_BAD_VALUE;
    }
    if (traceSize > 0) parcel->position = traceStart + static_cast<size_t>(traceSize);
    int32_t code = 0;
    if (exception == EX_SERVICE_SPECIFIC) {
        result = readValue(parcel, &code);
        if (result != STATUS_OK) return result;
    } else if (exception == EX_PARCELABLE) {
        size_t blobStart = parcel->position;
        int32_t blobSize;
        result = readValue(parcel, &blobSize);
        if (result != STATUS_OK) return result;
        if (blobSize < 0 || static_cast<size_t>(blobSize) > parcel->data.size() - blobStart) {
            return STATUS_BAD_VALUE;
        }
        if (blobSize > 0) parcel->position = blobStart + static_cast<size_t>(blobSize);
    }
    std::string text = utf16ToUtf8(message.data(), message.size());
    *status = exception == EX_SERVICE_SPECIFIC
                  ? AStatus_fromServiceSpecificErrorWithMessage(code, text.c_str())
                  : AStatus_fromExceptionCodeWithMessage(exception, text.c_str());
    return STATUS_OK;
}

binder_status_t AParcel_writeString(AParcel* parcel, const char* string, int32_t length) {
    if (parcel == nullptr) return STATUS_UNEXPECTED_NULL;
    if (string == nullptr) {
        if (length != -1) return STATUS_BAD_VALUE;
        return writeValue<int32_t>(parcel, -1);
    }
    if (length < 0) return STATUS_BAD_VALUE;
    std::u16string utf16;
    if (!utf8ToUtf16(string, static_cast<size_t>(length), &utf16)) return STATUS_BAD_VALUE;
    return writeString16(parcel, utf16);
}

binder_status_t AParcel_readString(const AParcel* parcel, void* stringData,
                                   AParcel_stringAllocator allocator) {
    if (parcel == nullptr) return STATUS_UNEXPECTED_NULL;
    std::u16string utf16;
    if (readString16(parcel, &utf16) != String16Read::kOk) {
        // Null, short and unterminated strings all read as null.
        char* unused = nullptr;
        return allocator(stringData, -1, &unused) ? STATUS_OK : STATUS_UNEXPECTED_NULL;
    }
    std::string utf8 = utf16ToUtf8(utf16.data(), utf16.size());
    char* buffer = nullptr;
    if (!allocator(stringData, static_cast<int32_t>(utf8.size() + 1), &buffer) ||
        buffer == nullptr) {
        return STATUS_NO_MEMORY;
    }
    memcpy(buffer, utf8.c_str(), utf8.size() + 1);
    return STATUS_OK;
}

binder_status_t AParcel_writeStringArray(AParcel* parcel, const void* arrayData, int32_t length,
                                         AParcel_stringArrayElementGetter getter) {
    if (parcel == nullptr) return STATUS_UNEXPECTED_NULL;
    if (length < -1) return STATUS_BAD_VALUE;
    binder_status_t status = writeValue<int32_t>(parcel, length);
    for (int32_t i = 0; status == STATUS_OK && i < length; ++i) {
        int32_t elementLength = 0;
        const char* element = getter(arrayData, static_cast<size_t>(i), &elementLength);
        if (element == nullptr && elementLength != -1) return STATUS_BAD_VALUE;
        status = AParcel_writeString(parcel, element, elementLength);
    }
    return status;
}

binder_status_t AParcel_readStringArray(const AParcel* parcel, void* arrayData,
                                        AParcel_stringArrayAllocator allocator,
                                        AParcel_stringArrayElementAllocator elementAllocator) {
    if (parcel == nullptr) return STATUS_UNEXPECTED_NULL;
    int32_t length;
    binder_status_t status = readValue(parcel, &length);
    if (status != STATUS_OK) return status;
    if (length < -1) return STATUS_BAD_VALUE;
    if (length > 0 && static_cast<size_t>(length) > remaining(parcel) / sizeof(int32_t)) {
        return STATUS_NO_MEMORY;
    }
    if (!allocator(arrayData, length)) return STATUS_NO_MEMORY;
    for (int32_t i = 0; i < length; ++i) {
        struct Element {
            void* arrayData;
            size_t index;
            AParcel_stringArrayElementAllocator allocator;
        } element{arrayData, static_cast<size_t>(i), elementAllocator};
        status = AParcel_readString(parcel, &element, [](void* data, int32_t len, char** buffer) {
            auto* e = static_cast<Element*>(data);
            return e->allocator(e->arrayData, e->index, len, buffer);
        });
        if (status != STATUS_OK) return status;
    }
    return STATUS_OK;
}

binder_status_t AParcel_writeParcelableArray(AParcel* parcel, const void* arrayData, int32_t length,
                                             AParcel_writeParcelableElement elementWriter) {
    if (parcel == nullptr) return STATUS_UNEXPECTED_NULL;
    if (length < 0) return writeValue<int32_t>(parcel, -1);
    binder_status_t status = writeValue<int32_t>(parcel, length);
    for (int32_t i = 0; status == STATUS_OK && i < length; ++i) {
        status = elementWriter(parcel, arrayData, static_cast<size_t>(i));
    }
    return status;
}

binder_status_t AParcel_readParcelableArray(const AParcel* parcel, void* arrayData,
                                            AParcel_parcelableArrayAllocator allocator,
                                            AParcel_readParcelableElement elementReader) {
    if (parcel == nullptr) return STATUS_UNEXPECTED_NULL;
    int32_t length;
    binder_status_t status = readValue(parcel, &length);
    if (status != STATUS_OK) return status;
    if (length > 0 && static_cast<size_t>(length) > remaining(parcel) / sizeof(int32_t)) {
        return STATUS_NO_MEMORY;
    }
    if (!allocator(arrayData, length)) return STATUS_NO_MEMORY;
    for (int32_t i = 0; i < length; ++i) {
        status = elementReader(parcel, arrayData, static_cast<size_t>(i));
        if (status != STATUS_OK) return status;
    }
    return STATUS_OK;
}

binder_status_t AParcel_writeInt32(AParcel* p, int32_t v) {
    return writeValue(p, v);
}
binder_status_t AParcel_writeUint32(AParcel* p, uint32_t v) {
    return writeValue(p, v);
}
binder_status_t AParcel_writeInt64(AParcel* p, int64_t v) {
    return writeValue(p, v);
}
binder_status_t AParcel_writeUint64(AParcel* p, uint64_t v) {
    return writeValue(p, v);
}
binder_status_t AParcel_writeFloat(AParcel* p, float v) {
    return writeValue(p, v);
}
binder_status_t AParcel_writeDouble(AParcel* p, double v) {
    return writeValue(p, v);
}
binder_status_t AParcel_writeBool(AParcel* p, bool v) {
    return writeValue<int32_t>(p, v ? 1 : 0);
}
binder_status_t AParcel_writeChar(AParcel* p, char16_t v) {
    return writeValue<int32_t>(p, v);
}
binder_status_t AParcel_writeByte(AParcel* p, int8_t v) {
    return writeValue<int32_t>(p, v);
}

binder_status_t AParcel_readInt32(const AParcel* p, int32_t* v) {
    return readValue(p, v);
}
binder_status_t AParcel_readUint32(const AParcel* p, uint32_t* v) {
    return readValue(p, v);
}
binder_status_t AParcel_readInt64(const AParcel* p, int64_t* v) {
    return readValue(p, v);
}
binder_status_t AParcel_readUint64(const AParcel* p, uint64_t* v) {
    return readValue(p, v);
}
binder_status_t AParcel_readFloat(const AParcel* p, float* v) {
    return readValue(p, v);
}
binder_status_t AParcel_readDouble(const AParcel* p, double* v) {
    return readValue(p, v);
}

binder_status_t AParcel_readBool(const AParcel* p, bool* v) {
    int32_t word;
    binder_status_t status = readValue(p, &word);
    if (status == STATUS_OK) *v = word != 0;
    return status;
}

binder_status_t AParcel_readChar(const AParcel* p, char16_t* v) {
    int32_t word;
    binder_status_t status = readValue(p, &word);
    if (status == STATUS_OK) *v = static_cast<char16_t>(word);
    return status;
}

binder_status_t AParcel_readByte(const AParcel* p, int8_t* v) {
    int32_t word;
    binder_status_t status = readValue(p, &word);
    if (status == STATUS_OK) *v = static_cast<int8_t>(word);
    return status;
}

binder_status_t AParcel_writeInt32Array(AParcel* p, const int32_t* a, int32_t n) {
    return writePackedArray(p, a, n);
}
binder_status_t AParcel_writeUint32Array(AParcel* p, const uint32_t* a, int32_t n) {
    return writePackedArray(p, a, n);
}
binder_status_t AParcel_writeInt64Array(AParcel* p, const int64_t* a, int32_t n) {
    return writePackedArray(p, a, n);
}
binder_status_t AParcel_writeUint64Array(AParcel* p, const uint64_t* a, int32_t n) {
    return writePackedArray(p, a, n);
}
binder_status_t AParcel_writeFloatArray(AParcel* p, const float* a, int32_t n) {
    return writePackedArray(p, a, n);
}
binder_status_t AParcel_writeDoubleArray(AParcel* p, const double* a, int32_t n) {
    return writePackedArray(p, a, n);
}
binder_status_t AParcel_writeByteArray(AParcel* p, const int8_t* a, int32_t n) {
    return writePackedArray(p, a, n);
}

binder_status_t AParcel_writeCharArray(AParcel* p, const char16_t* a, int32_t n) {
    if (p == nullptr) return STATUS_UNEXPECTED_NULL;
    binder_status_t status = checkArrayArgs(a, n);
    if (status != STATUS_OK) return status;
    status = writeValue<int32_t>(p, n);
    for (int32_t i = 0; status == STATUS_OK && a != nullptr && i < n; ++i) {
        status = writeValue<int32_t>(p, a[i]);
    }
    return status;
}

binder_status_t AParcel_writeBoolArray(AParcel* p, const void* arrayData, int32_t length,
                                       AParcel_boolArrayGetter getter) {
    if (p == nullptr) return STATUS_UNEXPECTED_NULL;
    if (length < 0) return writeValue<int32_t>(p, -1);
    binder_status_t status = writeValue<int32_t>(p, length);
    for (int32_t i = 0; status == STATUS_OK && i < length; ++i) {
        status = writeValue<int32_t>(p, getter(arrayData, static_cast<size_t>(i)) ? 1 : 0);
    }
    return status;
}

binder_status_t AParcel_readInt32Array(const AParcel* p, void* d, AParcel_int32ArrayAllocator a) {
    return readPackedArray<int32_t>(p, d, a);
}
binder_status_t AParcel_readUint32Array(const AParcel* p, void* d, AParcel_uint32ArrayAllocator a) {
    return readPackedArray<uint32_t>(p, d, a);
}
binder_status_t AParcel_readInt64Array(const AParcel* p, void* d, AParcel_int64ArrayAllocator a) {
    return readPackedArray<int64_t>(p, d, a);
}
binder_status_t AParcel_readUint64Array(const AParcel* p, void* d, AParcel_uint64ArrayAllocator a) {
    return readPackedArray<uint64_t>(p, d, a);
}
binder_status_t AParcel_readFloatArray(const AParcel* p, void* d, AParcel_floatArrayAllocator a) {
    return readPackedArray<float>(p, d, a);
}
binder_status_t AParcel_readDoubleArray(const AParcel* p, void* d, AParcel_doubleArrayAllocator a) {
    return readPackedArray<double>(p, d, a);
}
binder_status_t AParcel_readByteArray(const AParcel* p, void* d, AParcel_byteArrayAllocator a) {
    return readPackedArray<int8_t>(p, d, a);
}
binder_status_t AParcel_readCharArray(const AParcel* p, void* d, AParcel_charArrayAllocator a) {
    return readWideArray<char16_t>(p, d, a);
}

binder_status_t AParcel_readBoolArray(const AParcel* p, void* arrayData,
                                      AParcel_boolArrayAllocator allocator,
                                      AParcel_boolArraySetter setter) {
    if (p == nullptr) return STATUS_UNEXPECTED_NULL;
    int32_t length;
    binder_status_t status = readValue(p, &length);
    if (status != STATUS_OK) return status;
    if (length < -1) return STATUS_BAD_VALUE;
    if (length > 0 && static_cast<size_t>(length) > remaining(p) / sizeof(int32_t)) {
        return STATUS_NO_MEMORY;
    }
    if (!allocator(arrayData, length)) {
        return length < 0 ? STATUS_UNEXPECTED_NULL : STATUS_NO_MEMORY;
    }
    for (int32_t i = 0; i < length; ++i) {
        int32_t word;
        status = readValue(p, &word);
        if (status != STATUS_OK) return status;
        setter(arrayData, static_cast<size_t>(i), word != 0);
    }
    return STATUS_OK;
}
