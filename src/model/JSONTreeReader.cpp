#include "model/JSONTreeReader.h"

#include <QVarLengthArray>

#include <algorithm>
#include <numeric>
#include <span>

using simdjson::dom::element;
using simdjson::dom::element_type;

namespace {

bool isContainer(element_type type)
{
    return type == element_type::ARRAY || type == element_type::OBJECT;
}

// Objects are mostly small: insertion sort, in place and stable.
template<typename It, typename Less> void sortStable(It first, It last, Less less)
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
    m_notes.push_back({ {}, e, e.type() });
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
            m_notes.push_back({ {}, child, child.type() });
        m_elements += m_notes.size() - begin;
    } else {
        for (const auto field : simdjson::dom::object(e.get_object().value_unsafe()))
            m_notes.push_back({ field.key, field.value, field.value.type() });
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

void JSONTreeReader::fill(JSONValue &slot, const Note &note, JSONValue::TreeBuilder &tree)
{
    const element e = note.value;
    switch (note.type) {
    case element_type::NULL_VALUE:
        break;
    case element_type::BOOL:
        slot = JSONValue::boolean(e.get_bool().value_unsafe());
        break;
    case element_type::INT64:
    case element_type::UINT64:
    case element_type::DOUBLE:
        slot = JSONValue::number(e.get_double().value_unsafe());
        break;
    case element_type::STRING:
        slot = JSONValue::string(m_interner.maybe(e.get_string().value_unsafe()));
        break;
    case element_type::ARRAY: {
        const std::span<JSONValue> items = tree.makeArray(slot, note.count);
        for (uint32_t k = 0; k < note.count; ++k)
            fill(items[k], m_notes[note.children + k], tree);
        break;
    }
    case element_type::OBJECT:
        fillObject(slot, note, tree);
        break;
    }
}

void JSONTreeReader::fillObject(JSONValue &slot, const Note &object, JSONValue::TreeBuilder &tree)
{
    const std::span<const Note> fields(m_notes.data() + object.children, object.count);
    const Shape &shape = shapeOf(fields);
    const std::span<JSONValue::Member> members = tree.makeObject(slot, shape.members.size());
    // The keys first: the members' own objects may take the shape's place.
    QVarLengthArray<uint32_t, 16> places;
    for (size_t k = 0; k < members.size(); ++k) {
        members[k].first = shape.members[k].second;
        places.append(shape.members[k].first);
    }
    for (size_t k = 0; k < members.size(); ++k)
        fill(members[k].second, fields[places[k]], tree);
}

const JSONTreeReader::Shape &JSONTreeReader::shapeOf(std::span<const Note> fields)
{
    QVarLengthArray<StringInterner::Key, 16> keys;
    uint64_t hash = fields.size();
    for (const Note &field : fields) {
        keys.append(StringInterner::keyOf(field.key));
        hash = (hash ^ keys.back().hash) * 0x9E3779B97F4A7C15ull;
    }
    if (m_shapes.empty())
        m_shapes.resize(kShapes);
    Shape &shape = m_shapes[hash >> (64 - kShapeBits)];
    bool same = shape.hash == hash && shape.keys.size() == fields.size();
    for (size_t k = 0; same && k < fields.size(); ++k) {
        const auto &[key, text] = shape.keys[k];
        same = key == keys[k] && (key.size <= StringInterner::kCovered || text == fields[k].key);
    }
    if (!same)
        learn(shape, hash, fields, keys);
    return shape;
}

void JSONTreeReader::learn(
    Shape &shape, uint64_t hash, std::span<const Note> fields, std::span<const StringInterner::Key> keys)
{
    shape.hash = hash;
    shape.keys.clear();
    for (size_t k = 0; k < fields.size(); ++k)
        shape.keys.emplace_back(keys[k], fields[k].key);
    // The members sorted by key, stable so that of equal keys the last one comes last and is
    // kept.
    QVarLengthArray<uint32_t, 16> order(static_cast<qsizetype>(fields.size()));
    std::iota(order.begin(), order.end(), 0u);
    const auto less = [&](uint32_t a, uint32_t b) { return keyLess(fields[a].key, fields[b].key); };
    sortStable(order.begin(), order.end(), less);
    shape.members.clear();
    for (qsizetype k = 0; k < order.size(); ++k) {
        // Sorted, a key equals the next one unless it is less.
        if (k + 1 < order.size() && !less(order[k], order[k + 1]))
            continue;
        shape.members.emplace_back(order[k], m_interner.get(fields[order[k]].key, keys[order[k]]));
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
