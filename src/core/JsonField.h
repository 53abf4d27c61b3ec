#pragma once

#include <optional>
#include <utility>

// The one rule every decoder of ours applies to a record's fields, whatever JSON library
// read the record: a required field must be there with its type; an optional field that is
// absent or null is absent, and one of any other type makes the whole record invalid.
//
// `json` adapts a library's value type V: json.isAbsent(v), json.isNull(v) and
// json.get(v, T &out), which is false when v is not a T.
namespace JsonField {

template<typename Json, typename V, typename T> bool required(const Json &json, const V &v, T &out)
{
    return !json.isAbsent(v) && json.get(v, out);
}

template<typename Json, typename V, typename T> bool optional(const Json &json, const V &v, std::optional<T> &out)
{
    if (json.isAbsent(v) || json.isNull(v)) {
        out.reset();
        return true;
    }
    T value;
    if (!json.get(v, value))
        return false;
    out = std::move(value);
    return true;
}

} // namespace JsonField
