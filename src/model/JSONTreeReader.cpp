#include "model/JSONTreeReader.h"

#include <algorithm>
#include <span>

using simdjson::dom::element;
using simdjson::dom::element_type;

namespace {

bool isContainer(element_type type) { return type == element_type::ARRAY || type == element_type::OBJECT; }

// Objects are mostly small: insertion sort, in place and stable.
template<typename It, typename Less>
void sortStable(It first, It last, Less less)
{
    if (last - first > 16) {
        std::stable_sort(first, last, less);
        return;
    }
    for (It i = first; i != last; ++i) {
        for (It k = i; k != first && less(*k, *(k - 1)); --k)
            std::iter_swap(k, k - 1);
    }
}

} // namespace

JSONValue JSONTreeReader::read(element e)
{
    m_notes.clear();
    m_members = m_elements = 0;
    m_notes.push_back({{}, e, e.type()});
    if (isContainer(m_notes[0].type))
        noteChildren(0);
    JSONValue::TreeBuilder tree(m_members, m_elements);
    JSONValue value;
    fill(value, m_notes[0], tree);
    return value;
}

void JSONTreeReader::noteChildren(size_t container)
{
    const size_t begin = m_notes.size();
    const element e = m_notes[container].value;
    if (m_notes[container].type == element_type::ARRAY) {
        for (const element child : simdjson::dom::array(e.get_array().value_unsafe()))
            m_notes.push_back({{}, child, child.type()});
        m_elements += m_notes.size() - begin;
    } else {
        for (const auto field : simdjson::dom::object(e.get_object().value_unsafe()))
            m_notes.push_back({field.key, field.value, field.value.type()});
        m_members += m_notes.size() - begin;
    }
    const size_t end = m_notes.size();
    m_notes[container].children = static_cast<uint32_t>(begin);
    m_notes[container].count = static_cast<uint32_t>(end - begin);
    for (size_t k = begin; k < end; ++k) {
        if (isContainer(m_notes[k].type))
            noteChildren(k);
    }
}

void JSONTreeReader::fill(JSONValue &slot, Note &note, JSONValue::TreeBuilder &tree)
{
    const element e = note.value;
    switch (note.type) {
    case element_type::NULL_VALUE: break;
    case element_type::BOOL: slot = JSONValue::boolean(e.get_bool().value_unsafe()); break;
    case element_type::INT64:
    case element_type::UINT64:
    case element_type::DOUBLE: slot = JSONValue::number(e.get_double().value_unsafe()); break;
    case element_type::STRING: slot = JSONValue::string(m_interner.maybe(e.get_string().value_unsafe())); break;
    case element_type::ARRAY: {
        const std::span<JSONValue> items = tree.makeArray(slot, note.count);
        for (uint32_t k = 0; k < note.count; ++k)
            fill(items[k], m_notes[note.children + k], tree);
        break;
    }
    case element_type::OBJECT: fillObject(slot, note, tree); break;
    }
}

void JSONTreeReader::fillObject(JSONValue &slot, const Note &object, JSONValue::TreeBuilder &tree)
{
    // Sorted by key before the members are made, stable so that of equal keys the last one
    // comes last and is kept.
    const std::span<Note> fields(m_notes.data() + object.children, object.count);
    const auto less = [this](const Note &a, const Note &b) { return keyLess(a.key, b.key); };
    sortStable(fields.begin(), fields.end(), less);
    size_t unique = fields.size();
    for (size_t k = 0; k + 1 < fields.size(); ++k) {
        // Sorted, a key equals the next one unless it is less.
        fields[k].twin = !less(fields[k], fields[k + 1]);
        unique -= fields[k].twin;
    }
    const std::span<JSONValue::Member> members = tree.makeObject(slot, unique);
    auto member = members.begin();
    for (Note &field : fields) {
        if (field.twin)
            continue;
        member->first = m_interner.get(field.key);
        fill(member->second, field, tree);
        ++member;
    }
}

// JSONValue keeps keys in QString order (UTF-16 code units). On UTF-8 bytes that is byte
// order, except where a character from U+E000 on meets one beyond U+FFFF, so the bytes
// decide when they first differ in ASCII and the QStrings decide otherwise.
bool JSONTreeReader::keyLess(std::string_view a, std::string_view b)
{
    const auto [ia, ib] = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
    if (ib == b.end())
        return false;
    if (ia == a.end())
        return true;
    const auto ca = static_cast<unsigned char>(*ia), cb = static_cast<unsigned char>(*ib);
    if ((ca | cb) < 0x80)
        return ca < cb;
    return m_interner.get(a) < m_interner.get(b);
}
