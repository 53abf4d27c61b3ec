#pragma once

#include "model/JSONValue.h"
#include "model/StringInterner.h"

#include <simdjson.h>

#include <cstdint>
#include <string_view>
#include <vector>

// Turns values of a simdjson DOM into JSONValues, the arrays and objects under each value in
// one tree (see JSONValue::TreeBuilder). One pass over the DOM notes every container's
// children and counts the slots; the tree is then made from the notes. Lives for one
// document: the notes' buffer is kept from value to value.
class JSONTreeReader
{
public:
    explicit JSONTreeReader(StringInterner &interner) : m_interner(interner) { }

    JSONValue read(simdjson::dom::element e);

private:
    // A value with its key (in an object) and, for a container, where its own children
    // are noted in m_notes.
    struct Note {
        std::string_view key;
        simdjson::dom::element value;
        simdjson::dom::element_type type;
        bool twin = false; // an object member whose key comes again later
        uint32_t children = 0;
        uint32_t count = 0;
    };

    void noteChildren(size_t container);
    void fill(JSONValue &slot, Note &note, JSONValue::TreeBuilder &tree);
    void fillObject(JSONValue &slot, const Note &object, JSONValue::TreeBuilder &tree);
    bool keyLess(std::string_view a, std::string_view b);

    StringInterner &m_interner;
    std::vector<Note> m_notes;
    size_t m_members = 0;
    size_t m_elements = 0;
};
