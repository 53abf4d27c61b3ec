#pragma once

#include "model/JSONValue.h"
#include "model/StringInterner.h"

#include <simdjson.h>

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

// Turns values of a simdjson DOM into JSONValues, the arrays and objects under each value in
// one tree (see JSONValue::TreeBuilder). One pass over the DOM notes every container's
// children and counts the slots; the tree is then made from the notes. Lives for one
// document: the notes' buffer and the object shapes are kept from value to value.
class JSONTreeReader
{
public:
    explicit JSONTreeReader(StringInterner &interner)
        : m_interner(interner)
    {
    }

    JSONValue read(simdjson::dom::element e);

private:
    static constexpr int kShapeBits = 8;
    static constexpr size_t kShapes = size_t(1) << kShapeBits;

    // A value with its key (in an object) and, for a container, where its own children
    // are noted in m_notes.
    struct Note {
        std::string_view key;
        simdjson::dom::element value;
        simdjson::dom::element_type type;
        uint32_t children = 0;
        uint32_t count = 0;
    };

    // The objects of a document mostly come in a few shapes, the same keys in the same
    // order: a shape's member order and shared key texts are worked out once.
    struct Shape {
        uint64_t hash = 0;
        std::vector<std::pair<StringInterner::Key, std::string_view>> keys; // document order
        std::vector<std::pair<uint32_t, QString>> members; // sorted: (the key's place, the key)
    };

    void noteChildren(size_t container);
    void fill(JSONValue &slot, const Note &note, JSONValue::TreeBuilder &tree);
    void fillObject(JSONValue &slot, const Note &object, JSONValue::TreeBuilder &tree);
    const Shape &shapeOf(std::span<const Note> fields);
    void learn(Shape &shape, uint64_t hash, std::span<const Note> fields, std::span<const StringInterner::Key> keys);
    bool keyLess(std::string_view a, std::string_view b);

    StringInterner &m_interner;
    std::vector<Note> m_notes;
    size_t m_members = 0;
    size_t m_elements = 0;
    std::vector<Shape> m_shapes; // by hash, made with the first object; the last shape seen wins a place
};
