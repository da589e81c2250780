#pragma once

#include "core/json/JSONValue.h"

#include <cmath>
#include <concepts>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

/// How records are written as JSON and read from it: strictly, member by member, failing with `JSONError`. Members that
/// a record does not know are ignored.
namespace velmora {

/// A record that has a JSON form.
template <class T>
concept JSONRecord = requires(const T& record, const JSONValue& value) {
    { T::fromJSON(value) } -> std::same_as<T>;
    { record.toJSON() } -> std::same_as<JSONValue>;
};

namespace detail {

template <class T>
inline constexpr bool isList = false;
template <class Element>
inline constexpr bool isList<std::vector<Element>> = true;

template <class T>
inline constexpr bool isStringMap = false;
template <class Element, class Order>
inline constexpr bool isStringMap<std::map<std::string, Element, Order>> = true;

}  // namespace detail

/// `value` as a `T`: bool, std::string, a floating-point or an integer type (a number with a fraction or out of its
/// range does not fit), JSONValue itself, a record, or a std::vector or a std::map by std::string of any of these.
template <class T>
T decodeJSON(const JSONValue& value) {
    if constexpr (std::same_as<T, JSONValue>) {
        return value;
    } else if constexpr (JSONRecord<T>) {
        return T::fromJSON(value);
    } else if constexpr (detail::isList<T>) {
        if (!value.array()) throw JSONError("A member is not an array.");
        T elements;
        elements.reserve(value.array()->size());
        for (const JSONValue& element : *value.array())
            elements.push_back(decodeJSON<typename T::value_type>(element));
        return elements;
    } else if constexpr (detail::isStringMap<T>) {
        if (!value.object()) throw JSONError("A member is not an object.");
        T members;
        for (const auto& [key, member] : *value.object())
            members.emplace(key, decodeJSON<typename T::mapped_type>(member));
        return members;
    } else if constexpr (std::integral<T> && !std::same_as<T, bool>) {
        const auto number = value.number();
        // 2 to the number of value bits is exact as a double, unlike the largest integer itself.
        const double limit = std::ldexp(1.0, std::numeric_limits<T>::digits);
        const double least = std::is_signed_v<T> ? -limit : 0;
        if (!number || std::trunc(*number) != *number || *number < least || *number >= limit) {
            throw JSONError("A member is not an integer in range.");
        }
        return static_cast<T>(*number);
    } else {
        const T* const contents = std::get_if<T>(&value.payload());
        if (!contents) throw JSONError("A member has the wrong type.");
        return *contents;
    }
}

/// The member of the object `record` under `key`, which must be there.
template <class T>
T decodeMember(const JSONValue& record, std::string_view key) {
    const auto* const members = record.object();
    if (!members) throw JSONError("A record is not an object.");
    const auto member = members->find(key);
    if (member == members->end()) throw JSONError("A member is missing.");
    return decodeJSON<T>(member->second);
}

/// As `decodeMember`, but an absent or null member is nothing.
template <class T>
std::optional<T> decodeOptionalMember(const JSONValue& record, std::string_view key) {
    const auto* const members = record.object();
    if (!members) throw JSONError("A record is not an object.");
    if (record[key] == JSONValue(nullptr)) return std::nullopt;
    return decodeMember<T>(record, key);
}

/// The reverse of `decodeJSON`.
template <class T>
JSONValue encodeJSON(const T& value) {
    if constexpr (JSONRecord<T>) {
        return value.toJSON();
    } else if constexpr (detail::isList<T>) {
        JSONValue::Array elements;
        elements.reserve(value.size());
        for (const auto& element : value)
            elements.push_back(encodeJSON(element));
        return elements;
    } else if constexpr (detail::isStringMap<T>) {
        JSONValue::Object members;
        for (const auto& [key, member] : value)
            members.emplace(key, encodeJSON(member));
        return members;
    } else {
        return value;
    }
}

}  // namespace velmora
