// android::internal::ToString: the text form used by generated toString() methods.
#pragma once

#include <android/binder_auto_utils.h>
#include <android/binder_interface_utils.h>

#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>

namespace android {
namespace internal {

namespace details {

template <typename T, typename = void>
struct HasToStringMember : std::false_type {};
template <typename T>
struct HasToStringMember<T, std::void_t<decltype(std::declval<const T&>().toString())>>
    : std::true_type {};

template <typename T, typename = void>
struct HasToStringFunction : std::false_type {};
template <typename T>
struct HasToStringFunction<T, std::void_t<decltype(toString(std::declval<const T&>()))>>
    : std::true_type {};

template <typename T, typename = void>
struct IsIterable : std::false_type {};
template <typename T>
struct IsIterable<T, std::void_t<decltype(std::begin(std::declval<const T&>())),
                                 decltype(std::end(std::declval<const T&>()))>> : std::true_type {};

template <typename T>
struct IsPointerLike : std::false_type {};
template <typename T>
struct IsPointerLike<std::optional<T>> : std::true_type {};
template <typename T, typename D>
struct IsPointerLike<std::unique_ptr<T, D>> : std::true_type {};
template <typename T>
struct IsPointerLike<std::shared_ptr<T>> : std::true_type {};
template <typename T>
struct IsPointerLike<T*> : std::true_type {};

template <typename T>
struct IsInterfacePointer : std::false_type {};
template <typename T>
struct IsInterfacePointer<std::shared_ptr<T>> : std::is_base_of<::ndk::ICInterface, T> {};

// A lone surrogate is encoded as its own three-byte sequence.
inline std::string char16ToUtf8(char16_t c) {
    uint32_t cp = c;
    std::string out;
    if (cp < 0x80) {
        out += static_cast<char>(cp);
    } else if (cp < 0x800) {
        out += static_cast<char>(0xC0 | (cp >> 6));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
        out += static_cast<char>(0xE0 | (cp >> 12));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    }
    return out;
}

}  // namespace details

template <typename T>
std::string ToString(const T& t) {
    if constexpr (std::is_same_v<bool, T>) {
        return t ? "true" : "false";
    } else if constexpr (std::is_same_v<char16_t, T>) {
        return details::char16ToUtf8(t);
    } else if constexpr (std::is_arithmetic_v<T>) {
        return std::to_string(t);
    } else if constexpr (std::is_same_v<std::string, T>) {
        return t;
    } else if constexpr (std::is_same_v<::ndk::SpAIBinder, T>) {
        std::stringstream ss;
        ss << "binder:" << std::hex << t.get();
        return ss.str();
    } else if constexpr (std::is_same_v<::ndk::ScopedFileDescriptor, T>) {
        return "fd:" + std::to_string(t.get());
    } else if constexpr (std::is_base_of_v<::ndk::ICInterface, T> ||
                         details::IsInterfacePointer<T>::value) {
        return "<interface>";
    } else if constexpr (details::IsPointerLike<T>::value) {
        if (!t) {
            return "(null)";
        }
        return ToString(*t);
    } else if constexpr (details::HasToStringMember<T>::value) {
        return t.toString();
    } else if constexpr (details::HasToStringFunction<T>::value) {
        return toString(t);
    } else if constexpr (details::IsIterable<T>::value) {
        std::stringstream out;
        bool first = true;
        out << "[";
        for (const auto& e : t) {
            if (first) {
                first = false;
            } else {
                out << ", ";
            }
            out << ToString(e);
        }
        out << "]";
        return out.str();
    } else {
        return "{no toString() implemented}";
    }
}

}  // namespace internal
}  // namespace android
