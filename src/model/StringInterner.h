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
    // Texts up to this long are told apart by their key alone.
    static constexpr size_t kCovered = 16;

    // The first and last 8 bytes (or 4, or three single bytes) of a text cover it whole up to
    // 16 bytes, so with the size they identify it without reading past its end. Longer texts
    // with the same key differ somewhere in the middle.
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
        uint64_t h = key.head ^ (key.tail + n) * 0xC2B2AE3D27D4EB4Full;
        for (size_t i = 8; i + 8 < n; ++i) // the middle of a long text, which the key leaves out
            h = (h ^ uint8_t(p[i])) * 0x100000001B3ull;
        // The slot is taken from the top bits, which a multiplication mixes from all the others.
        key.hash = h * 0x9E3779B97F4A7C15ull;
        return key;
    }

    StringInterner()
        : m_index(size_t(1) << kIndexBits, 0)
    {
        m_entries.reserve(256);
    }

    QString get(std::string_view text) { return get(text, keyOf(text)); }
    // The same with the text's key already at hand.
    QString get(std::string_view text, const Key &key)
    {
        const size_t mask = m_index.size() - 1;
        for (size_t i = key.hash >> m_shift;; i = (i + 1) & mask) {
            const uint32_t slot = m_index[i];
            if (slot == 0)
                return add(i, key, text, QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())));
            const Entry &entry = m_entries[slot - 1];
            if (entry.key == key && (text.size() <= kCovered || entry.text == text))
                return entry.value;
        }
    }

    // Makes get() hand out copies of text for its bytes; only ASCII texts up to 16
    // characters are taken. A static string (QStringLiteral) is copied without counting
    // references.
    void seed(const QString &text)
    {
        char bytes[kCovered];
        if (text.size() > qsizetype(kCovered))
            return;
        for (qsizetype i = 0; i < text.size(); ++i) {
            if (text[i].unicode() >= 0x80)
                return;
            bytes[i] = static_cast<char>(text[i].unicode());
        }
        const std::string_view view(bytes, static_cast<size_t>(text.size()));
        const Key key = keyOf(view);
        const size_t mask = m_index.size() - 1;
        size_t i = key.hash >> m_shift;
        while (m_index[i] != 0) {
            if (m_entries[m_index[i] - 1].key == key)
                return;
            i = (i + 1) & mask;
        }
        add(i, key, {}, text);
    }

    // Short texts shared, longer ones (mostly unique) converted.
    QString maybe(std::string_view text)
    {
        return text.size() <= kCovered ? get(text)
                                       : QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
    }

private:
    static constexpr int kIndexBits = 10;

    struct Entry {
        Key key;
        std::string_view text;
        QString value;
    };

    // text: the bytes, needed only where the key does not cover them.
    QString add(size_t slot, const Key &key, std::string_view text, const QString &value)
    {
        m_entries.push_back({ key, text, value });
        m_index[slot] = static_cast<uint32_t>(m_entries.size());
        if (m_entries.size() * 2 > m_index.size())
            grow();
        return m_entries.back().value;
    }

    void grow()
    {
        m_index.assign(m_index.size() * 2, 0);
        --m_shift;
        const size_t mask = m_index.size() - 1;
        for (size_t e = 0; e < m_entries.size(); ++e) {
            size_t i = m_entries[e].key.hash >> m_shift;
            while (m_index[i] != 0)
                i = (i + 1) & mask;
            m_index[i] = static_cast<uint32_t>(e + 1);
        }
    }

    std::vector<uint32_t> m_index; // open addressing: 0 free, else an entry's number + 1
    int m_shift = 64 - kIndexBits; // from a hash to a slot of m_index
    std::vector<Entry> m_entries;
};
