// Iteration over the values of AIDL enums (the generated headers specialise enum_values).
#pragma once

#include <iterator>
#include <type_traits>

namespace ndk {

namespace internal {

// Deliberately incomplete: an enum without a generated specialisation fails to compile.
template <typename EnumType>
class invalid_type;

template <typename EnumType>
constexpr invalid_type<EnumType> enum_values;

}  // namespace internal

// Range over all declared values of EnumType, in declaration order.
template <typename EnumType>
struct enum_range {
    constexpr auto begin() const { return std::begin(internal::enum_values<EnumType>); }
    constexpr auto end() const { return std::end(internal::enum_values<EnumType>); }
};

}  // namespace ndk
