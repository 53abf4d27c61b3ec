#pragma once

#include <QString>

#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

// Object keys, peers, types and other short texts repeat throughout a document: one shared
// QString each saves most of the allocations of a decode. Lives for one decode: texts are
// remembered by views into the parser's buffer.
class StringInterner
{
public:
    StringInterner() : m_slots(512) { }

    const QString &get(std::string_view text)
    {
        const Key key = keyOf(text);
        if (m_used * 2 >= m_slots.size())
            grow();
        const size_t mask = m_slots.size() - 1;
        for (size_t i = key.hash & mask;; i = (i + 1) & mask) {
            Slot &slot = m_slots[i];
            if (!slot.used) {
                slot.used = true;
                slot.key = key;
                slot.text = text;
                slot.value = QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
                ++m_used;
                return slot.value;
            }
            if (slot.key == key && (text.size() <= kCovered || slot.text == text))
                return slot.value;
        }
    }

    // Short texts shared, longer ones (mostly unique) converted.
    QString maybe(std::string_view text)
    {
        return text.size() <= kCovered ? get(text) : QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
    }

private:
    // Texts up to this long are told apart by their key alone.
    static constexpr size_t kCovered = 16;

    // The first and last 8 bytes (or 4, or three single bytes) of a text cover it whole up to
    // 16 bytes, so with the size they identify it without reading past its end.
    struct Key {
        uint64_t head = 0;
        uint64_t tail = 0;
        uint64_t size = 0;
        uint64_t hash = 0;
        bool operator==(const Key &o) const { return head == o.head && tail == o.tail && size == o.size; }
    };

    static Key keyOf(std::string_view text)
    {
        const char *p = text.data();
        const size_t n = text.size();
        Key key;
        key.size = n;
        if (n >= 8) {
            std::memcpy(&key.head, p, 8);
            std::memcpy(&key.tail, p + n - 8, 8);
        } else if (n >= 4) {
            uint32_t head, tail;
            std::memcpy(&head, p, 4);
            std::memcpy(&tail, p + n - 4, 4);
            key.head = head;
            key.tail = tail;
        } else if (n > 0) {
            key.head = uint64_t(uint8_t(p[0])) | uint64_t(uint8_t(p[n / 2])) << 8 | uint64_t(uint8_t(p[n - 1])) << 16;
        }
        uint64_t h = (key.head ^ (key.tail << 31 | key.tail >> 33) ^ n) * 0x9E3779B97F4A7C15ull;
        for (size_t i = 8; i + 8 < n; ++i) // the middle of a long text, which the key leaves out
            h = (h ^ uint8_t(p[i])) * 0x100000001B3ull;
        key.hash = h ^ (h >> 32);
        return key;
    }

    struct Slot {
        Key key;
        std::string_view text;
        bool used = false;
        QString value;
    };

    void grow()
    {
        std::vector<Slot> old(m_slots.size() * 2);
        old.swap(m_slots);
        const size_t mask = m_slots.size() - 1;
        for (Slot &slot : old) {
            if (!slot.used)
                continue;
            size_t i = slot.key.hash & mask;
            while (m_slots[i].used)
                i = (i + 1) & mask;
            m_slots[i] = std::move(slot);
        }
    }

    std::vector<Slot> m_slots;
    size_t m_used = 0;
};
