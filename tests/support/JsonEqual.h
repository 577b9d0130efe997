// SPDX-License-Identifier: MIT
#pragma once

#include <simdjson.h>

#include <map>
#include <string>
#include <string_view>

namespace tallywick::testing {

// Compares two JSON texts as values: object key order does not matter,
// everything else does. Both must parse.
inline bool jsonValuesEqual(simdjson::dom::element a, simdjson::dom::element b) {
    using T = simdjson::dom::element_type;
    if (a.type() != b.type()) return false;
    switch (a.type()) {
        case T::OBJECT: {
            simdjson::dom::object x, y;
            if (a.get(x) || b.get(y)) return false;
            std::map<std::string_view, simdjson::dom::element> left, right;
            for (auto [k, v] : x) left.emplace(k, v);
            for (auto [k, v] : y) right.emplace(k, v);
            if (left.size() != right.size()) return false;
            for (auto& [k, v] : left) {
                auto it = right.find(k);
                if (it == right.end() || !jsonValuesEqual(v, it->second)) return false;
            }
            return true;
        }
        case T::ARRAY: {
            simdjson::dom::array x, y;
            if (a.get(x) || b.get(y)) return false;
            if (x.size() != y.size()) return false;
            auto i = x.begin(), j = y.begin();
            for (; i != x.end(); ++i, ++j) {
                if (!jsonValuesEqual(*i, *j)) return false;
            }
            return true;
        }
        case T::STRING: return a.get_string().value_unsafe() == b.get_string().value_unsafe();
        case T::INT64: return a.get_int64().value_unsafe() == b.get_int64().value_unsafe();
        case T::UINT64: return a.get_uint64().value_unsafe() == b.get_uint64().value_unsafe();
        case T::DOUBLE: return a.get_double().value_unsafe() == b.get_double().value_unsafe();
        case T::BOOL: return a.get_bool().value_unsafe() == b.get_bool().value_unsafe();
        case T::NULL_VALUE: return true;
    }
    return false;
}

inline bool jsonTextsEqual(std::string_view a, std::string_view b) {
    simdjson::dom::parser pa, pb;
    simdjson::dom::element ea, eb;
    if (pa.parse(a.data(), a.size()).get(ea) || pb.parse(b.data(), b.size()).get(eb)) return false;
    return jsonValuesEqual(ea, eb);
}

}  // namespace tallywick::testing
