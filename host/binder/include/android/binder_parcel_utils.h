// Binder NDK C++ parcel helpers: the read/write templates that generated code calls.
#pragma once

#include <android/binder_auto_utils.h>
#include <android/binder_interface_utils.h>
#include <android/binder_internal_logging.h>
#include <android/binder_parcel.h>

#include <array>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

namespace ndk {

namespace internal {

template <typename T>
struct is_interface : std::false_type {};
template <typename T>
struct is_interface<std::shared_ptr<T>> : std::is_base_of<ICInterface, T> {};
template <typename T>
inline constexpr bool is_interface_v = is_interface<T>::value;

template <typename T, typename = void>
struct is_parcelable : std::false_type {};
template <typename T>
struct is_parcelable<
    T, std::void_t<decltype(std::declval<T&>().readFromParcel(std::declval<const AParcel*>())),
                   decltype(std::declval<const T&>().writeToParcel(std::declval<AParcel*>()))>>
    : std::true_type {};
template <typename T>
inline constexpr bool is_parcelable_v = is_parcelable<T>::value;

template <typename T>
struct is_nullable_parcelable : std::false_type {};
template <typename T>
struct is_nullable_parcelable<std::optional<T>> : is_parcelable<T> {};
template <typename T>
struct is_nullable_parcelable<std::unique_ptr<T>> : is_parcelable<T> {};
template <typename T>
inline constexpr bool is_nullable_parcelable_v = is_nullable_parcelable<T>::value;

template <typename T>
struct is_fixed_array : std::false_type {};
template <typename T, size_t N>
struct is_fixed_array<std::array<T, N>> : std::true_type {};
template <typename T>
inline constexpr bool is_fixed_array_v = is_fixed_array<T>::value;

template <typename T>
struct is_vector : std::false_type {};
template <typename T>
struct is_vector<std::vector<T>> : std::true_type {};
template <typename T>
inline constexpr bool is_vector_v = is_vector<T>::value;

template <typename T>
struct is_optional : std::false_type {};
template <typename T>
struct is_optional<std::optional<T>> : std::true_type {};
template <typename T>
inline constexpr bool is_optional_v = is_optional<T>::value;

template <typename T>
struct is_optional_vector : std::false_type {};
template <typename T>
struct is_optional_vector<std::optional<std::vector<T>>> : std::true_type {};
template <typename T>
inline constexpr bool is_optional_vector_v = is_optional_vector<T>::value;

template <typename T>
inline constexpr bool dependent_false_v = false;

}  // namespace internal

// Generic entry points, defined at the end once every overload they dispatch to is declared.
template <typename T>
static inline binder_status_t AParcel_writeData(AParcel* parcel, const T& value);
template <typename T>
static inline binder_status_t AParcel_readData(const AParcel* parcel, T* value);
template <typename T>
static inline binder_status_t AParcel_writeNullableData(AParcel* parcel, const T& value);
template <typename T>
static inline binder_status_t AParcel_readNullableData(const AParcel* parcel, T* value);

// ---- Binders and file descriptors ----

static inline binder_status_t AParcel_writeNullableStrongBinder(AParcel* parcel,
                                                                const SpAIBinder& binder) {
    return AParcel_writeStrongBinder(parcel, binder.get());
}

static inline binder_status_t AParcel_readNullableStrongBinder(const AParcel* parcel,
                                                               SpAIBinder* binder) {
    AIBinder* readBinder;
    binder_status_t status = AParcel_readStrongBinder(parcel, &readBinder);
    if (status == STATUS_OK) {
        binder->set(readBinder);
    }
    return status;
}

static inline binder_status_t AParcel_writeRequiredStrongBinder(AParcel* parcel,
                                                                const SpAIBinder& binder) {
    if (binder.get() == nullptr) {
        syslog(LOG_ERR, "Passing null binder object as non-@nullable AIDL IBinder");
        return STATUS_UNEXPECTED_NULL;
    }
    return AParcel_writeStrongBinder(parcel, binder.get());
}

static inline binder_status_t AParcel_readRequiredStrongBinder(const AParcel* parcel,
                                                               SpAIBinder* binder) {
    SpAIBinder ret;
    binder_status_t status = AParcel_readNullableStrongBinder(parcel, &ret);
    if (status == STATUS_OK) {
        if (ret.get() == nullptr) {
            return STATUS_UNEXPECTED_NULL;
        }
        *binder = std::move(ret);
    }
    return status;
}

static inline binder_status_t AParcel_writeNullableParcelFileDescriptor(
    AParcel* parcel, const ScopedFileDescriptor& fd) {
    return AParcel_writeParcelFileDescriptor(parcel, fd.get());
}

static inline binder_status_t AParcel_readNullableParcelFileDescriptor(const AParcel* parcel,
                                                                       ScopedFileDescriptor* fd) {
    int readFd;
    binder_status_t status = AParcel_readParcelFileDescriptor(parcel, &readFd);
    if (status == STATUS_OK) {
        fd->set(readFd);
    }
    return status;
}

static inline binder_status_t AParcel_writeRequiredParcelFileDescriptor(
    AParcel* parcel, const ScopedFileDescriptor& fd) {
    if (fd.get() < 0) {
        syslog(LOG_ERR, "Passing -1 file descriptor as non-@nullable AIDL ParcelFileDescriptor");
        return STATUS_UNEXPECTED_NULL;
    }
    return AParcel_writeParcelFileDescriptor(parcel, fd.get());
}

static inline binder_status_t AParcel_readRequiredParcelFileDescriptor(const AParcel* parcel,
                                                                       ScopedFileDescriptor* fd) {
    int readFd;
    binder_status_t status = AParcel_readParcelFileDescriptor(parcel, &readFd);
    if (status == STATUS_OK) {
        if (readFd < 0) {
            return STATUS_UNEXPECTED_NULL;
        }
        fd->set(readFd);
    }
    return status;
}

// ---- Strings ----

// Sizes the std::string for length - 1 characters plus the terminating NUL written by the reader.
static inline bool AParcel_stdStringAllocator(void* stringData, int32_t length, char** buffer) {
    if (length <= 0) {
        return false;
    }
    std::string* str = static_cast<std::string*>(stringData);
    str->resize(static_cast<size_t>(length) - 1);
    *buffer = &(*str)[0];
    return true;
}

static inline bool AParcel_nullableStdStringAllocator(void* stringData, int32_t length,
                                                      char** buffer) {
    auto* str = static_cast<std::optional<std::string>*>(stringData);
    if (length < 0) {
        *str = std::nullopt;
        return true;
    }
    *str = std::string{};
    return AParcel_stdStringAllocator(&**str, length, buffer);
}

static inline binder_status_t AParcel_writeString(AParcel* parcel, const std::string& str) {
    return AParcel_writeString(parcel, str.c_str(), static_cast<int32_t>(str.size()));
}

static inline binder_status_t AParcel_readString(const AParcel* parcel, std::string* str) {
    return AParcel_readString(parcel, static_cast<void*>(str), AParcel_stdStringAllocator);
}

static inline binder_status_t AParcel_writeString(AParcel* parcel,
                                                  const std::optional<std::string>& str) {
    if (!str) {
        return AParcel_writeString(parcel, nullptr, -1);
    }
    return AParcel_writeString(parcel, *str);
}

static inline binder_status_t AParcel_readString(const AParcel* parcel,
                                                 std::optional<std::string>* str) {
    return AParcel_readString(parcel, static_cast<void*>(str), AParcel_nullableStdStringAllocator);
}

// ---- Vector sizes ----

template <typename T>
static inline binder_status_t AParcel_writeVectorSize(AParcel* parcel, const std::vector<T>& vec) {
    if (vec.size() > static_cast<size_t>(std::numeric_limits<int32_t>::max())) {
        return STATUS_BAD_VALUE;
    }
    return AParcel_writeInt32(parcel, static_cast<int32_t>(vec.size()));
}

template <typename T>
static inline binder_status_t AParcel_writeVectorSize(AParcel* parcel,
                                                      const std::optional<std::vector<T>>& vec) {
    if (!vec) {
        return AParcel_writeInt32(parcel, -1);
    }
    return AParcel_writeVectorSize(parcel, *vec);
}

template <typename T>
static inline binder_status_t AParcel_resizeVector(const AParcel* parcel, std::vector<T>* vec) {
    int32_t size;
    binder_status_t err = AParcel_readInt32(parcel, &size);
    if (err != STATUS_OK) return err;
    if (size < 0) return STATUS_UNEXPECTED_NULL;
    // Guards against a hostile size before allocating.
    if (size > 1000000) return STATUS_NO_MEMORY;
    vec->resize(static_cast<size_t>(size));
    return STATUS_OK;
}

template <typename T>
static inline binder_status_t AParcel_resizeVector(const AParcel* parcel,
                                                   std::optional<std::vector<T>>* vec) {
    int32_t size;
    binder_status_t err = AParcel_readInt32(parcel, &size);
    if (err != STATUS_OK) return err;
    if (size < -1) return STATUS_UNEXPECTED_NULL;
    if (size == -1) {
        *vec = std::nullopt;
        return STATUS_OK;
    }
    if (size > 1000000) return STATUS_NO_MEMORY;
    *vec = std::optional<std::vector<T>>(std::vector<T>{});
    (*vec)->resize(static_cast<size_t>(size));
    return STATUS_OK;
}

// ---- Primitive arrays ----

template <typename T>
static inline bool AParcel_stdVectorAllocator(void* vectorData, int32_t length, T** outBuffer) {
    if (length < 0) return false;
    auto* vec = static_cast<std::vector<T>*>(vectorData);
    vec->resize(static_cast<size_t>(length));
    *outBuffer = vec->data();
    return true;
}

template <typename T>
static inline bool AParcel_nullableStdVectorAllocator(void* vectorData, int32_t length,
                                                      T** outBuffer) {
    auto* vec = static_cast<std::optional<std::vector<T>>*>(vectorData);
    if (length < 0) {
        *vec = std::nullopt;
        return true;
    }
    *vec = std::optional<std::vector<T>>(std::vector<T>{});
    (*vec)->resize(static_cast<size_t>(length));
    *outBuffer = (*vec)->data();
    return true;
}

// Byte arrays are std::vector<uint8_t> in C++ but int8_t in the C API.
static inline bool AParcel_stdVectorByteAllocator(void* vectorData, int32_t length,
                                                  int8_t** outBuffer) {
    return AParcel_stdVectorAllocator<uint8_t>(vectorData, length,
                                               reinterpret_cast<uint8_t**>(outBuffer));
}

static inline bool AParcel_nullableStdVectorByteAllocator(void* vectorData, int32_t length,
                                                          int8_t** outBuffer) {
    return AParcel_nullableStdVectorAllocator<uint8_t>(vectorData, length,
                                                       reinterpret_cast<uint8_t**>(outBuffer));
}

static inline bool AParcel_stdVectorBoolAllocator(void* vectorData, int32_t length) {
    if (length < 0) return false;
    static_cast<std::vector<bool>*>(vectorData)->resize(static_cast<size_t>(length));
    return true;
}

static inline bool AParcel_nullableStdVectorBoolAllocator(void* vectorData, int32_t length) {
    auto* vec = static_cast<std::optional<std::vector<bool>>*>(vectorData);
    if (length < 0) {
        *vec = std::nullopt;
        return true;
    }
    *vec = std::optional<std::vector<bool>>(std::vector<bool>{});
    (*vec)->resize(static_cast<size_t>(length));
    return true;
}

static inline bool AParcel_stdVectorGetter(const void* vectorData, size_t index) {
    return static_cast<const std::vector<bool>*>(vectorData)->at(index);
}
static inline void AParcel_stdVectorSetter(void* vectorData, size_t index, bool value) {
    static_cast<std::vector<bool>*>(vectorData)->at(index) = value;
}
static inline bool AParcel_nullableStdVectorGetter(const void* vectorData, size_t index) {
    return static_cast<const std::optional<std::vector<bool>>*>(vectorData)->value().at(index);
}
static inline void AParcel_nullableStdVectorSetter(void* vectorData, size_t index, bool value) {
    static_cast<std::optional<std::vector<bool>>*>(vectorData)->value().at(index) = value;
}

#define NDK_PRIMITIVE_VECTOR(TYPE, NAME)                                                         \
    static inline binder_status_t AParcel_writeVector(AParcel* parcel,                           \
                                                      const std::vector<TYPE>& vec) {            \
        return AParcel_write##NAME##Array(parcel, vec.data(), static_cast<int32_t>(vec.size())); \
    }                                                                                            \
    static inline binder_status_t AParcel_writeVector(                                           \
        AParcel* parcel, const std::optional<std::vector<TYPE>>& vec) {                          \
        if (!vec) return AParcel_write##NAME##Array(parcel, nullptr, -1);                        \
        return AParcel_writeVector(parcel, *vec);                                                \
    }                                                                                            \
    static inline binder_status_t AParcel_readVector(const AParcel* parcel,                      \
                                                     std::vector<TYPE>* vec) {                   \
        return AParcel_read##NAME##Array(parcel, static_cast<void*>(vec),                        \
                                         AParcel_stdVectorAllocator<TYPE>);                      \
    }                                                                                            \
    static inline binder_status_t AParcel_readVector(const AParcel* parcel,                      \
                                                     std::optional<std::vector<TYPE>>* vec) {    \
        return AParcel_read##NAME##Array(parcel, static_cast<void*>(vec),                        \
                                         AParcel_nullableStdVectorAllocator<TYPE>);              \
    }
NDK_PRIMITIVE_VECTOR(int32_t, Int32)
NDK_PRIMITIVE_VECTOR(uint32_t, Uint32)
NDK_PRIMITIVE_VECTOR(int64_t, Int64)
NDK_PRIMITIVE_VECTOR(uint64_t, Uint64)
NDK_PRIMITIVE_VECTOR(float, Float)
NDK_PRIMITIVE_VECTOR(double, Double)
NDK_PRIMITIVE_VECTOR(char16_t, Char)
#undef NDK_PRIMITIVE_VECTOR

static inline binder_status_t AParcel_writeVector(AParcel* parcel,
                                                  const std::vector<uint8_t>& vec) {
    return AParcel_writeByteArray(parcel, reinterpret_cast<const int8_t*>(vec.data()),
                                  static_cast<int32_t>(vec.size()));
}
static inline binder_status_t AParcel_writeVector(AParcel* parcel,
                                                  const std::optional<std::vector<uint8_t>>& vec) {
    if (!vec) return AParcel_writeByteArray(parcel, nullptr, -1);
    return AParcel_writeVector(parcel, *vec);
}
static inline binder_status_t AParcel_readVector(const AParcel* parcel, std::vector<uint8_t>* vec) {
    return AParcel_readByteArray(parcel, static_cast<void*>(vec), AParcel_stdVectorByteAllocator);
}
static inline binder_status_t AParcel_readVector(const AParcel* parcel,
                                                 std::optional<std::vector<uint8_t>>* vec) {
    return AParcel_readByteArray(parcel, static_cast<void*>(vec),
                                 AParcel_nullableStdVectorByteAllocator);
}

static inline binder_status_t AParcel_writeVector(AParcel* parcel, const std::vector<bool>& vec) {
    return AParcel_writeBoolArray(parcel, static_cast<const void*>(&vec),
                                  static_cast<int32_t>(vec.size()), AParcel_stdVectorGetter);
}
static inline binder_status_t AParcel_writeVector(AParcel* parcel,
                                                  const std::optional<std::vector<bool>>& vec) {
    if (!vec) return AParcel_writeBoolArray(parcel, nullptr, -1, AParcel_stdVectorGetter);
    return AParcel_writeBoolArray(parcel, static_cast<const void*>(&vec),
                                  static_cast<int32_t>(vec->size()),
                                  AParcel_nullableStdVectorGetter);
}
static inline binder_status_t AParcel_readVector(const AParcel* parcel, std::vector<bool>* vec) {
    return AParcel_readBoolArray(parcel, static_cast<void*>(vec), AParcel_stdVectorBoolAllocator,
                                 AParcel_stdVectorSetter);
}
static inline binder_status_t AParcel_readVector(const AParcel* parcel,
                                                 std::optional<std::vector<bool>>* vec) {
    return AParcel_readBoolArray(parcel, static_cast<void*>(vec),
                                 AParcel_nullableStdVectorBoolAllocator,
                                 AParcel_nullableStdVectorSetter);
}

// ---- String arrays ----

static inline bool AParcel_stdVectorStringAllocator(void* vectorData, int32_t length) {
    if (length < 0) return false;
    static_cast<std::vector<std::string>*>(vectorData)->resize(static_cast<size_t>(length));
    return true;
}
static inline bool AParcel_stdVectorStringElementAllocator(void* vectorData, size_t index,
                                                           int32_t length, char** buffer) {
    std::string& element = static_cast<std::vector<std::string>*>(vectorData)->at(index);
    return AParcel_stdStringAllocator(static_cast<void*>(&element), length, buffer);
}
static inline const char* AParcel_stdVectorStringElementGetter(const void* vectorData, size_t index,
                                                               int32_t* outLength) {
    const std::string& element =
        static_cast<const std::vector<std::string>*>(vectorData)->at(index);
    *outLength = static_cast<int32_t>(element.size());
    return element.c_str();
}

using NullableStringVector = std::optional<std::vector<std::optional<std::string>>>;

static inline bool AParcel_nullableStdVectorStringAllocator(void* vectorData, int32_t length) {
    auto* vec = static_cast<NullableStringVector*>(vectorData);
    if (length < 0) {
        *vec = std::nullopt;
        return true;
    }
    *vec = std::vector<std::optional<std::string>>{};
    (*vec)->resize(static_cast<size_t>(length));
    return true;
}
static inline bool AParcel_nullableStdVectorStringElementAllocator(void* vectorData, size_t index,
                                                                   int32_t length, char** buffer) {
    std::optional<std::string>& element =
        static_cast<NullableStringVector*>(vectorData)->value().at(index);
    return AParcel_nullableStdStringAllocator(static_cast<void*>(&element), length, buffer);
}
static inline const char* AParcel_nullableStdVectorStringElementGetter(const void* vectorData,
                                                                       size_t index,
                                                                       int32_t* outLength) {
    const std::optional<std::string>& element =
        static_cast<const NullableStringVector*>(vectorData)->value().at(index);
    if (!element) {
        *outLength = -1;
        return nullptr;
    }
    *outLength = static_cast<int32_t>(element->size());
    return element->c_str();
}

static inline binder_status_t AParcel_writeVector(AParcel* parcel,
                                                  const std::vector<std::string>& vec) {
    return AParcel_writeStringArray(parcel, static_cast<const void*>(&vec),
                                    static_cast<int32_t>(vec.size()),
                                    AParcel_stdVectorStringElementGetter);
}
static inline binder_status_t AParcel_readVector(const AParcel* parcel,
                                                 std::vector<std::string>* vec) {
    return AParcel_readStringArray(parcel, static_cast<void*>(vec),
                                   AParcel_stdVectorStringAllocator,
                                   AParcel_stdVectorStringElementAllocator);
}
static inline binder_status_t AParcel_writeVector(AParcel* parcel,
                                                  const NullableStringVector& vec) {
    return AParcel_writeStringArray(parcel, static_cast<const void*>(&vec),
                                    vec ? static_cast<int32_t>(vec->size()) : -1,
                                    AParcel_nullableStdVectorStringElementGetter);
}
static inline binder_status_t AParcel_readVector(const AParcel* parcel, NullableStringVector* vec) {
    return AParcel_readStringArray(parcel, static_cast<void*>(vec),
                                   AParcel_nullableStdVectorStringAllocator,
                                   AParcel_nullableStdVectorStringElementAllocator);
}

// ---- Parcelables ----

template <typename P>
static inline binder_status_t AParcel_writeParcelable(AParcel* parcel, const P& p) {
    if constexpr (internal::is_interface_v<P>) {
        return P::element_type::writeToParcel(parcel, p);
    } else {
        binder_status_t status = AParcel_writeInt32(parcel, 1);  // non-null
        if (status != STATUS_OK) return status;
        return p.writeToParcel(parcel);
    }
}

template <typename P>
static inline binder_status_t AParcel_readParcelable(const AParcel* parcel, P* p) {
    if constexpr (internal::is_interface_v<P>) {
        return P::element_type::readFromParcel(parcel, p);
    } else {
        int32_t null;
        binder_status_t status = AParcel_readInt32(parcel, &null);
        if (status != STATUS_OK) return status;
        if (null == 0) return STATUS_UNEXPECTED_NULL;
        return p->readFromParcel(parcel);
    }
}

template <typename P>
static inline binder_status_t AParcel_writeNullableParcelable(AParcel* parcel, const P& p) {
    if constexpr (internal::is_interface_v<P>) {
        return P::element_type::writeToParcel(parcel, p);
    } else {
        if (!p) return AParcel_writeInt32(parcel, 0);  // null
        binder_status_t status = AParcel_writeInt32(parcel, 1);
        if (status != STATUS_OK) return status;
        return p->writeToParcel(parcel);
    }
}

template <typename P>
static inline binder_status_t AParcel_readNullableParcelable(const AParcel* parcel, P* p) {
    if constexpr (internal::is_interface_v<P>) {
        return P::element_type::readFromParcel(parcel, p);
    } else {
        int32_t null;
        binder_status_t status = AParcel_readInt32(parcel, &null);
        if (status != STATUS_OK) return status;
        if (null == 0) {
            *p = {};
            return STATUS_OK;
        }
        if constexpr (internal::is_optional_v<P>) {
            p->emplace();
        } else {
            *p = std::make_unique<typename P::element_type>();
        }
        return (*p)->readFromParcel(parcel);
    }
}

// ---- Vectors of parcelables, descriptors, binders, interfaces and enums ----

template <typename P>
static inline binder_status_t AParcel_writeStdVectorParcelableElement(AParcel* parcel,
                                                                      const void* vectorData,
                                                                      size_t index) {
    return AParcel_writeData(parcel, static_cast<const std::vector<P>*>(vectorData)->at(index));
}

template <typename P>
static inline binder_status_t AParcel_readStdVectorParcelableElement(const AParcel* parcel,
                                                                     void* vectorData,
                                                                     size_t index) {
    return AParcel_readData(parcel, &static_cast<std::vector<P>*>(vectorData)->at(index));
}

template <typename P>
static inline binder_status_t AParcel_writeNullableStdVectorParcelableElement(
    AParcel* parcel, const void* vectorData, size_t index) {
    return AParcel_writeNullableData(
        parcel, static_cast<const std::optional<std::vector<P>>*>(vectorData)->value().at(index));
}

template <typename P>
static inline binder_status_t AParcel_readNullableStdVectorParcelableElement(const AParcel* parcel,
                                                                             void* vectorData,
                                                                             size_t index) {
    return AParcel_readNullableData(
        parcel, &static_cast<std::optional<std::vector<P>>*>(vectorData)->value().at(index));
}

template <typename P>
static inline bool AParcel_stdVectorExternalAllocator(void* vectorData, int32_t length) {
    if (length < 0) return false;
    static_cast<std::vector<P>*>(vectorData)->resize(static_cast<size_t>(length));
    return true;
}

template <typename P>
static inline bool AParcel_nullableStdVectorExternalAllocator(void* vectorData, int32_t length) {
    auto* vec = static_cast<std::optional<std::vector<P>>*>(vectorData);
    if (length < 0) {
        *vec = std::nullopt;
        return true;
    }
    *vec = std::optional<std::vector<P>>(std::vector<P>{});
    (*vec)->resize(static_cast<size_t>(length));
    return true;
}

template <typename E>
static inline binder_status_t AParcel_writeEnumArray(AParcel* parcel, const E* data,
                                                     int32_t length) {
    using U = std::underlying_type_t<E>;
    if constexpr (std::is_same_v<U, int8_t>) {
        return AParcel_writeByteArray(parcel, reinterpret_cast<const int8_t*>(data), length);
    } else if constexpr (std::is_same_v<U, int32_t>) {
        return AParcel_writeInt32Array(parcel, reinterpret_cast<const int32_t*>(data), length);
    } else if constexpr (std::is_same_v<U, int64_t>) {
        return AParcel_writeInt64Array(parcel, reinterpret_cast<const int64_t*>(data), length);
    } else {
        static_assert(internal::dependent_false_v<E>, "enum backing type not supported");
    }
}

template <typename E, typename Vec>
static inline binder_status_t AParcel_readEnumArray(const AParcel* parcel, Vec* vec) {
    using U = std::underlying_type_t<E>;
    constexpr bool kNullable = internal::is_optional_v<Vec>;
    auto allocator = [](void* data, int32_t length, U** out) -> bool {
        E* buffer = nullptr;
        bool ok = kNullable ? AParcel_nullableStdVectorAllocator<E>(data, length, &buffer)
                            : AParcel_stdVectorAllocator<E>(data, length, &buffer);
        *out = reinterpret_cast<U*>(buffer);
        return ok;
    };
    if constexpr (std::is_same_v<U, int8_t>) {
        return AParcel_readByteArray(parcel, static_cast<void*>(vec), allocator);
    } else if constexpr (std::is_same_v<U, int32_t>) {
        return AParcel_readInt32Array(parcel, static_cast<void*>(vec), allocator);
    } else if constexpr (std::is_same_v<U, int64_t>) {
        return AParcel_readInt64Array(parcel, static_cast<void*>(vec), allocator);
    } else {
        static_assert(internal::dependent_false_v<E>, "enum backing type not supported");
    }
}

template <typename P>
static inline binder_status_t AParcel_writeVector(AParcel* parcel, const std::vector<P>& vec) {
    if constexpr (std::is_enum_v<P>) {
        return AParcel_writeEnumArray(parcel, vec.data(), static_cast<int32_t>(vec.size()));
    } else {
        if (vec.size() > static_cast<size_t>(std::numeric_limits<int32_t>::max())) {
            return STATUS_BAD_VALUE;
        }
        return AParcel_writeParcelableArray(parcel, static_cast<const void*>(&vec),
                                            static_cast<int32_t>(vec.size()),
                                            AParcel_writeStdVectorParcelableElement<P>);
    }
}

template <typename P>
static inline binder_status_t AParcel_readVector(const AParcel* parcel, std::vector<P>* vec) {
    if constexpr (std::is_enum_v<P>) {
        return AParcel_readEnumArray<P>(parcel, vec);
    } else {
        return AParcel_readParcelableArray(parcel, static_cast<void*>(vec),
                                           AParcel_stdVectorExternalAllocator<P>,
                                           AParcel_readStdVectorParcelableElement<P>);
    }
}

template <typename P>
static inline binder_status_t AParcel_writeVector(AParcel* parcel,
                                                  const std::optional<std::vector<P>>& vec) {
    if constexpr (std::is_enum_v<P>) {
        if (!vec) return AParcel_writeEnumArray<P>(parcel, nullptr, -1);
        return AParcel_writeEnumArray(parcel, vec->data(), static_cast<int32_t>(vec->size()));
    } else {
        if (!vec) return AParcel_writeInt32(parcel, -1);
        if (vec->size() > static_cast<size_t>(std::numeric_limits<int32_t>::max())) {
            return STATUS_BAD_VALUE;
        }
        return AParcel_writeParcelableArray(parcel, static_cast<const void*>(&vec),
                                            static_cast<int32_t>(vec->size()),
                                            AParcel_writeNullableStdVectorParcelableElement<P>);
    }
}

template <typename P>
static inline binder_status_t AParcel_readVector(const AParcel* parcel,
                                                 std::optional<std::vector<P>>* vec) {
    if constexpr (std::is_enum_v<P>) {
        return AParcel_readEnumArray<P>(parcel, vec);
    } else {
        return AParcel_readParcelableArray(parcel, static_cast<void*>(vec),
                                           AParcel_nullableStdVectorExternalAllocator<P>,
                                           AParcel_readNullableStdVectorParcelableElement<P>);
    }
}

// ---- Generic dispatch ----

template <typename T>
static inline binder_status_t AParcel_writeData(AParcel* parcel, const T& value) {
    if constexpr (internal::is_vector_v<T>) {
        return AParcel_writeVector(parcel, value);
    } else if constexpr (internal::is_fixed_array_v<T>) {
        static_assert(internal::dependent_false_v<T>, "fixed-size arrays are not supported");
    } else if constexpr (std::is_same_v<std::string, T>) {
        return AParcel_writeString(parcel, value);
    } else if constexpr (std::is_same_v<bool, T>) {
        return AParcel_writeBool(parcel, value);
    } else if constexpr (std::is_same_v<int8_t, T> || std::is_same_v<uint8_t, T>) {
        return AParcel_writeByte(parcel, static_cast<int8_t>(value));
    } else if constexpr (std::is_same_v<char16_t, T>) {
        return AParcel_writeChar(parcel, value);
    } else if constexpr (std::is_same_v<int32_t, T>) {
        return AParcel_writeInt32(parcel, value);
    } else if constexpr (std::is_same_v<int64_t, T>) {
        return AParcel_writeInt64(parcel, value);
    } else if constexpr (std::is_same_v<float, T>) {
        return AParcel_writeFloat(parcel, value);
    } else if constexpr (std::is_same_v<double, T>) {
        return AParcel_writeDouble(parcel, value);
    } else if constexpr (std::is_same_v<ScopedFileDescriptor, T>) {
        return AParcel_writeRequiredParcelFileDescriptor(parcel, value);
    } else if constexpr (std::is_same_v<SpAIBinder, T>) {
        return AParcel_writeRequiredStrongBinder(parcel, value);
    } else if constexpr (std::is_enum_v<T>) {
        return AParcel_writeData(parcel, static_cast<std::underlying_type_t<T>>(value));
    } else if constexpr (internal::is_interface_v<T> || internal::is_parcelable_v<T>) {
        return AParcel_writeParcelable(parcel, value);
    } else {
        static_assert(internal::dependent_false_v<T>, "unsupported type for AParcel_writeData");
    }
}

template <typename T>
static inline binder_status_t AParcel_readData(const AParcel* parcel, T* value) {
    if constexpr (internal::is_vector_v<T>) {
        return AParcel_readVector(parcel, value);
    } else if constexpr (internal::is_fixed_array_v<T>) {
        static_assert(internal::dependent_false_v<T>, "fixed-size arrays are not supported");
    } else if constexpr (std::is_same_v<std::string, T>) {
        return AParcel_readString(parcel, value);
    } else if constexpr (std::is_same_v<bool, T>) {
        return AParcel_readBool(parcel, value);
    } else if constexpr (std::is_same_v<int8_t, T> || std::is_same_v<uint8_t, T>) {
        return AParcel_readByte(parcel, reinterpret_cast<int8_t*>(value));
    } else if constexpr (std::is_same_v<char16_t, T>) {
        return AParcel_readChar(parcel, value);
    } else if constexpr (std::is_same_v<int32_t, T>) {
        return AParcel_readInt32(parcel, value);
    } else if constexpr (std::is_same_v<int64_t, T>) {
        return AParcel_readInt64(parcel, value);
    } else if constexpr (std::is_same_v<float, T>) {
        return AParcel_readFloat(parcel, value);
    } else if constexpr (std::is_same_v<double, T>) {
        return AParcel_readDouble(parcel, value);
    } else if constexpr (std::is_same_v<ScopedFileDescriptor, T>) {
        return AParcel_readRequiredParcelFileDescriptor(parcel, value);
    } else if constexpr (std::is_same_v<SpAIBinder, T>) {
        return AParcel_readRequiredStrongBinder(parcel, value);
    } else if constexpr (std::is_enum_v<T>) {
        return AParcel_readData(parcel, reinterpret_cast<std::underlying_type_t<T>*>(value));
    } else if constexpr (internal::is_interface_v<T> || internal::is_parcelable_v<T>) {
        return AParcel_readParcelable(parcel, value);
    } else {
        static_assert(internal::dependent_false_v<T>, "unsupported type for AParcel_readData");
    }
}

template <typename T>
static inline binder_status_t AParcel_writeNullableData(AParcel* parcel, const T& value) {
    if constexpr (internal::is_optional_vector_v<T>) {
        return AParcel_writeVector(parcel, value);
    } else if constexpr (std::is_same_v<std::optional<std::string>, T>) {
        return AParcel_writeString(parcel, value);
    } else if constexpr (internal::is_nullable_parcelable_v<T> || internal::is_interface_v<T>) {
        return AParcel_writeNullableParcelable(parcel, value);
    } else if constexpr (std::is_same_v<ScopedFileDescriptor, T>) {
        return AParcel_writeNullableParcelFileDescriptor(parcel, value);
    } else if constexpr (std::is_same_v<SpAIBinder, T>) {
        return AParcel_writeNullableStrongBinder(parcel, value);
    } else {
        return AParcel_writeData(parcel, value);
    }
}

template <typename T>
static inline binder_status_t AParcel_readNullableData(const AParcel* parcel, T* value) {
    if constexpr (internal::is_optional_vector_v<T>) {
        return AParcel_readVector(parcel, value);
    } else if constexpr (std::is_same_v<std::optional<std::string>, T>) {
        return AParcel_readString(parcel, value);
    } else if constexpr (internal::is_nullable_parcelable_v<T> || internal::is_interface_v<T>) {
        return AParcel_readNullableParcelable(parcel, value);
    } else if constexpr (std::is_same_v<ScopedFileDescriptor, T>) {
        return AParcel_readNullableParcelFileDescriptor(parcel, value);
    } else if constexpr (std::is_same_v<SpAIBinder, T>) {
        return AParcel_readNullableStrongBinder(parcel, value);
    } else {
        return AParcel_readData(parcel, value);
    }
}

}  // namespace ndk
