// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string_view>
#include <tuple>
#include <utility>
#include <variant>
#include <vector>

#include <tallywick/model/TallywickCoding.h>

#include "model/coding/ValueCoding.h"

namespace tallywick::coding {

// A record is described once by its key set, a tuple of (key, member) pairs in
// field order; reading and writing both follow it, so keys cannot drift apart.
template <class Record, class Member>
struct Field {
    std::string_view key;
    Member Record::*member;
};

template <class Record, class Member>
constexpr Field<Record, Member> field(std::string_view key, Member Record::*member) {
    return {key, member};
}

template <class... Fields>
constexpr auto keySet(Fields... fields) {
    return std::tuple<Fields...>{fields...};
}

// Specialised per record: static constexpr auto keys = keySet(...);
template <class T>
struct RecordKeys;

template <class T>
concept Record = requires {
    RecordKeys<T>::keys;
};

// A one-key enumeration wraps std::variant<Cases...> in a member `value`;
// each case is a record with a static `caseName`.
template <class T>
concept OneOf = requires(T t) {
    typename T::Value;
    t.value;
};

template <class T>
struct IsOptional : std::false_type {};
template <class T>
struct IsOptional<std::optional<T>> : std::true_type {};

template <class T>
bool readValue(Reader& r, Element e, std::vector<T>& out);
template <Record T>
bool readValue(Reader& r, Element e, T& out);
template <OneOf T>
bool readValue(Reader& r, Element e, T& out);

template <class T>
void writeValue(JsonWriter& w, const std::vector<T>& values);
template <Record T>
void writeValue(JsonWriter& w, const T& record);
template <OneOf T>
void writeValue(JsonWriter& w, const T& message);

template <class T>
bool readValue(Reader& r, Element e, std::vector<T>& out) {
    simdjson::dom::array array;
    if (e.get(array) != simdjson::SUCCESS) return r.typeMismatch("an array", e);
    out.clear();
    out.reserve(array.size());
    std::size_t index = 0;
    for (Element item : array) {
        if (!readValue(r, item, out.emplace_back())) return r.atIndex(index);
        ++index;
    }
    return true;
}

template <class T>
void writeValue(JsonWriter& w, const std::vector<T>& values) {
    w.beginArray();
    for (const auto& item : values) writeValue(w, item);
    w.endArray();
}

// The key is a constant here, so each test compiles to a length check and a
// few word compares rather than a call to memcmp; this is the decoder's
// innermost loop.
template <class R, std::size_t I>
bool isKey(std::string_view name) {
    constexpr std::string_view key = std::get<I>(RecordKeys<R>::keys).key;
    return name.size() == key.size() && std::memcmp(name.data(), key.data(), key.size()) == 0;
}

template <class R, std::size_t... I>
int findKey(std::string_view name, std::index_sequence<I...>) {
    int found = -1;
    (void)((isKey<R, I>(name) ? (found = int(I), true) : false) || ...);
    return found;
}

template <class R, class M>
bool readField(Reader& r, Element e, R& out, const Field<R, M>& f) {
    auto& target = out.*(f.member);
    if (e.is_null()) {
        if constexpr (IsOptional<M>::value) {
            target.reset();
            return true;
        } else {
            return r.fail(DecodeError::Kind::valueNotFound, "Expected a value but found null");
        }
    }
    if constexpr (IsOptional<M>::value) {
        return readValue(r, e, target.emplace());
    } else {
        return readValue(r, e, target);
    }
}

template <class R, class Keys, std::size_t... I>
bool readFieldAt(Reader& r, Element e, R& out, const Keys& keys, int index, std::index_sequence<I...>) {
    bool ok = true;
    (void)((int(I) == index ? (ok = readField(r, e, out, std::get<I>(keys)), true) : false) || ...);
    return ok;
}

bool failMissingKey(Reader& r, std::string_view key);
bool failDuplicateKey(Reader& r, std::string_view key);

// Reads the members of `out` from an object; `out` starts default-built.
template <Record R>
bool readValue(Reader& r, Element e, R& out) {
    constexpr auto& keys = RecordKeys<R>::keys;
    constexpr std::size_t count = std::tuple_size_v<std::remove_cvref_t<decltype(keys)>>;
    static_assert(count <= 32);
    using Indices = std::make_index_sequence<count>;
    simdjson::dom::object object;
    if (e.get(object) != simdjson::SUCCESS) return r.typeMismatch("an object", e);
    if constexpr (count == 0) {
        return true;  // a case without values: the object's contents are not looked at
    } else {
        std::uint32_t seen = 0;
        for (auto [name, value] : object) {
            const int index = findKey<R>(name, Indices{});
            if (index < 0) continue;
            const std::uint32_t bit = 1u << index;
            if (seen & bit) return failDuplicateKey(r, name);
            seen |= bit;
            if (!readFieldAt(r, value, out, keys, index, Indices{})) return r.at(name);
        }
        bool ok = true;
        [&]<std::size_t... I>(std::index_sequence<I...>) {
            ((ok = ok && (IsOptional<std::remove_cvref_t<decltype(out.*(std::get<I>(keys).member))>>::value ||
                          (seen & (1u << I)) || failMissingKey(r, std::get<I>(keys).key))),
             ...);
        }
        (Indices{});
        return ok;
    }
}

template <class R, class M>
void writeField(JsonWriter& w, const R& record, const Field<R, M>& f) {
    const auto& value = record.*(f.member);
    if constexpr (IsOptional<M>::value) {
        if (!value) return;  // absent optionals are left out, never written as null
        w.key(f.key);
        writeValue(w, *value);
    } else {
        w.key(f.key);
        writeValue(w, value);
    }
}

template <class R, class Keys>
void writeObject(JsonWriter& w, const R& record, const Keys& keys) {
    w.beginObject();
    std::apply([&](const auto&... fields) { (writeField(w, record, fields), ...); }, keys);
    w.endObject();
}

template <Record T>
void writeValue(JsonWriter& w, const T& record) {
    writeObject(w, record, RecordKeys<T>::keys);
}

bool failCaseCount(Reader& r);

template <class Variant, std::size_t... I>
int caseIndex(std::string_view name, std::index_sequence<I...>) {
    int found = -1;
    (void)((std::variant_alternative_t<I, Variant>::caseName == name ? (found = int(I), true) : false) ||
           ...);
    return found;
}

template <class Variant, std::size_t... I>
bool readCase(Reader& r, Element inner, Variant& out, int index, std::index_sequence<I...>) {
    bool ok = true;
    (void)((int(I) == index ? (ok = readValue(r, inner, out.template emplace<I>()), true) : false) || ...);
    return ok;
}

// Exactly one key of the object must name a case; keys naming no case are
// skipped, not counted. The case's own object is then read as a record.
template <OneOf T>
bool readValue(Reader& r, Element e, T& out) {
    using Variant = typename T::Value;
    using Cases = std::make_index_sequence<std::variant_size_v<Variant>>;
    simdjson::dom::object object;
    if (e.get(object) != simdjson::SUCCESS) return r.typeMismatch("an object", e);
    int found = -1;
    int matches = 0;
    std::string_view foundName;
    Element inner;
    for (auto [name, value] : object) {
        const int index = caseIndex<Variant>(name, Cases{});
        if (index < 0) continue;
        ++matches;
        found = index;
        foundName = name;
        inner = value;
    }
    if (matches != 1) return failCaseCount(r);
    return readCase(r, inner, out.value, found, Cases{}) || r.at(foundName);
}

template <OneOf T>
void writeValue(JsonWriter& w, const T& message) {
    std::visit(
        [&](const auto& item) {
            w.beginObject();
            w.key(std::remove_cvref_t<decltype(item)>::caseName);
            writeValue(w, item);
            w.endObject();
        },
        message.value);
}

template <class T>
DecodeResult<T> decodeText(std::string_view text, bool padded) {
    Reader reader;
    Element root;
    if (!parseDocument(reader, text, padded, root)) return fail(reader.takeError());
    T value{};
    const bool ok = readValue(reader, root, value);
    releaseParserAfter(text.size());
    if (!ok) return fail(reader.takeError());
    return value;
}

template <class T>
std::optional<std::string> encodeText(const T& value) {
    JsonWriter writer;
    writeValue(writer, value);
    return std::move(writer).finish();
}

}  // namespace tallywick::coding

namespace tallywick::TallywickCoding {

template <WireCodable T>
DecodeResult<T> decodeResult(std::string_view text) {
    return coding::decodeText<T>(text, false);
}

template <WireCodable T>
DecodeResult<T> decodeResultInPlace(const std::string& text) {
    return coding::decodeText<T>(text, text.capacity() - text.size() >= kReadPadding);
}

template <WireCodable T>
std::optional<std::string> encodeToString(const T& value) {
    return coding::encodeText(value);
}

}  // namespace tallywick::TallywickCoding

// Instantiates the public entry points for one type, in that type's own .cpp.
#define TALLYWICK_INSTANTIATE_CODING(Type)                                                          \
    template ::tallywick::DecodeResult<Type> tallywick::TallywickCoding::decodeResult<Type>(        \
        std::string_view);                                                                          \
    template ::tallywick::DecodeResult<Type> tallywick::TallywickCoding::decodeResultInPlace<Type>( \
        const std::string&);                                                                        \
    template std::optional<std::string> tallywick::TallywickCoding::encodeToString<Type>(const Type&);
