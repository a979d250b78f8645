#pragma once

// The loop over a whole text that makes a record of every element. Well-formed text is handled here alone; it comes
// back to its caller with the first node that is not.
//
// The innermost open element and its last child so far are kept at hand, so that a new element is linked by writing to
// records that were just written. Names are not copied: an end tag is compared with the text at the open element's
// start.
//
// See block.h for what may be called here.

#include "xml/parser.h"
#include "xml/scanner.h"

namespace kvtfile {
namespace {

/// Whether a name that matched so far may end before `c`: at the end of the tag's name or at one of "=[]".
KVTFILE_INLINE bool EndsName(unsigned c) {
    const uint64_t set = (uint64_t(1) << ' ') | (uint64_t(1) << '\t') | (uint64_t(1) << '\n') | (uint64_t(1) << '\r') |
                         (uint64_t(1) << '/') | (uint64_t(1) << '>') | (uint64_t(1) << '=');
    return c < 64 ? ((set >> c) & 1) != 0 : c == '[' || c == ']';
}

/// The common case of an end tag: `length` characters equal to those of the start tag, where the name then ends. Both
/// texts can be read up to 8 characters behind either start, and `length` is not negative.
template <class Simd>
KVTFILE_INLINE bool IsSameName(const WCHAR* startName, const WCHAR* endName, ptrdiff_t length) {
    const WCHAR* const nameEnd = startName + length;
    while (length > 8) {
        if (!Simd::SameStart(startName, endName, 8))
            return false;
        startName += 8;
        endName += 8;
        length -= 8;
    }
    return Simd::SameStart(startName, endName, static_cast<int>(length)) && EndsName(*nameEnd);
}

/// Where the next record goes: a pointer that runs through a segment, and the index that it stands for.
template <class Parser>
class RecordCursor {
public:
    using Record = typename Parser::Record;

    explicit RecordCursor(Parser& parser) : m_parser(parser) { Aim(); }

    KVTFILE_INLINE unsigned Index() const { return m_index; }
    /// The record of an index.
    KVTFILE_INLINE Record* At(unsigned index) const { return m_parser.segments[index >> 16] + (index & 0xFFFF); }
    /// Whether the next record needs `MakeRoom`.
    KVTFILE_INLINE bool IsAtEnd() const { return m_next == m_end; }
    /// Goes on in the next segment, made when it is missing. Records may be elsewhere afterwards.
    void MakeRoom() {
        Settle();
        if (m_parser.free == m_parser.allocated)
            m_parser.Grow();
        Aim();
    }
    KVTFILE_INLINE Record* Take() {
        ++m_index;
        return m_next++;
    }
    void Settle() { m_parser.free = static_cast<int>(m_index); }

private:
    void Aim() {
        m_index = static_cast<unsigned>(m_parser.free);
        const unsigned allocated = static_cast<unsigned>(m_parser.allocated);
        if (m_index == allocated) {
            m_next = m_end = nullptr;
            return;
        }
        const unsigned segmentEnd = (m_index | 0xFFFF) + 1;
        m_next = At(m_index);
        m_end = m_next + ((segmentEnd < allocated ? segmentEnd : allocated) - m_index);
    }

    Parser& m_parser;
    Record* m_next;
    Record* m_end;
    unsigned m_index;
};

template <class Simd, bool tracked, class Parser>
inline ScannedNode BuildTree(Parser& parser) {
    using Record = typename Parser::Record;
    constexpr unsigned firstChild = 0x80000;

    const WCHAR* const text = parser.text;
    const Scanner<Simd> start(text, parser.limit, parser.position);
    Scanner<Simd> scanner = start;  // a copy that stays in registers
    RecordCursor<Parser> records(parser);
    unsigned open = static_cast<unsigned>(parser.open);
    unsigned last = static_cast<unsigned>(parser.last);
    unsigned level = static_cast<unsigned>(parser.startLevel + parser.depth);
    Record* openRecord = records.At(open);
    Record* lastRecord = records.At(last);
    ScannedNode node;

    for (;;) {
        const ptrdiff_t tag = scanner.NextTag();
        if (tag < 0) {
            node = ScannedNode{-2, scanner.Limit(), scanner.Limit(), false, NodeFault::None};
            break;
        }
        const unsigned c = text[tag + 1];
        if (c == '/') {
            const ptrdiff_t end = scanner.TagEnd(tag);
            if (end < 0) {
                node = scanner.Unterminated(tag, 0);
                break;
            }
            const ptrdiff_t length = end + 1 - tag;
            const bool readable = tag + length + 8 <= parser.limit;
            if (open == static_cast<unsigned>(parser.startParent) || !readable ||
                !IsSameName<Simd>(text + openRecord->start + 1, text + tag + 2, length - 3)) [[unlikely]] {
                parser.open = static_cast<int>(open);
                if (!parser.ClosesOpen(tag)) {
                    node = ScannedNode{0, tag, end + 1, false, NodeFault::None};
                    break;
                }
            }
            if (tracked)
                parser.NameClosed(static_cast<int>(open));
            openRecord->length = static_cast<int>(end + 1) - openRecord->start;
            openRecord->tagLengths |= static_cast<unsigned>(length) << 22;
            if (last != 0)
                records.At(static_cast<unsigned>(openRecord->child))->previous = static_cast<int>(last);
            last = open;
            lastRecord = openRecord;
            open = static_cast<unsigned>(openRecord->parent);
            openRecord = records.At(open);
            --level;
        } else if (IsNameStart(c)) {
            const ptrdiff_t end = scanner.TagEnd(tag);
            if (end < 0) {
                node = scanner.Unterminated(tag, 1);
                break;
            }
            if (records.IsAtEnd()) [[unlikely]] {
                records.MakeRoom();
                openRecord = records.At(open);
                lastRecord = records.At(last);
            }
            const unsigned index = records.Index();
            Record* const record = records.Take();
            const unsigned length = static_cast<unsigned>(end + 1 - tag);
            record->start = static_cast<int>(tag);
            record->length = static_cast<int>(length);
            record->tagLengths = length & 0x3FFFFF;
            record->parent = static_cast<int>(open);
            record->child = 0;
            record->next = 0;
            if (last != 0) {
                lastRecord->next = static_cast<int>(index);
                record->previous = static_cast<int>(last);
                record->flags = level & 0xFFFF;
            } else {
                openRecord->child = static_cast<int>(index);
                record->previous = static_cast<int>(index);
                record->flags = (level & 0xFFFF) | firstChild;
            }
            if (text[end - 1] == '/') {
                last = index;
                lastRecord = record;
            } else {
                open = index;
                openRecord = record;
                last = 0;
                ++level;
                if (tracked)
                    parser.NameOpened(static_cast<int>(index));
            }
        } else {
            node = scanner.Markup(tag);
            if (node.fault != NodeFault::None) [[unlikely]]
                break;
        }
    }

    records.Settle();
    parser.open = static_cast<int>(open);
    parser.last = static_cast<int>(last);
    parser.depth = static_cast<int>(level) - parser.startLevel;
    parser.position = node.end;
    return node;
}

template <class Simd, class Parser>
inline ScannedNode BuildTree(Parser& parser) {
    return parser.tracking ? BuildTree<Simd, true>(parser) : BuildTree<Simd, false>(parser);
}

}  // namespace
}  // namespace kvtfile
