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
inline bool EndsName(unsigned c) {
    const uint64_t set = (uint64_t(1) << ' ') | (uint64_t(1) << '\t') | (uint64_t(1) << '\n') | (uint64_t(1) << '\r') |
                         (uint64_t(1) << '/') | (uint64_t(1) << '>') | (uint64_t(1) << '=');
    return c < 64 ? ((set >> c) & 1) != 0 : c == '[' || c == ']';
}

/// The common case of an end tag: `length` characters equal to those of the start tag, where the name then ends. Both
/// texts can be read up to 8 characters behind either start, and `length` is not negative.
template <class Simd>
inline bool IsSameName(const WCHAR* startName, const WCHAR* endName, ptrdiff_t length) {
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

template <class Simd, bool tracked, class Parser>
inline ScannedNode BuildTree(Parser& parser) {
    using Record = typename Parser::Record;
    constexpr unsigned firstChild = 0x80000;

    const WCHAR* const text = parser.text;
    Scanner<Simd> scanner(text, parser.limit, parser.position);
    Record** segments = parser.segments;
    const auto at = [&segments](int index) { return &segments[index >> 16][index & 0xFFFF]; };
    int next = parser.free;
    int allocated = parser.allocated;
    int open = parser.open;
    int last = parser.last;
    unsigned level = static_cast<unsigned>(parser.startLevel + parser.depth);
    Record* openRecord = at(open);
    Record* lastRecord = at(last);
    ScannedNode node;

    for (;;) {
        const ptrdiff_t tag = scanner.NextTag();
        if (tag < 0) {
            node = ScannedNode{-2, scanner.Limit(), scanner.Limit(), false, NodeFault::None};
            break;
        }
        const unsigned c = text[tag + 1];
        if (IsNameStart(c)) {
            const ptrdiff_t end = scanner.TagEnd(tag);
            if (end < 0) {
                node = scanner.Unterminated(tag, 1);
                break;
            }
            if (next == allocated) [[unlikely]] {
                parser.free = next;
                parser.Grow();
                segments = parser.segments;
                allocated = parser.allocated;
                openRecord = at(open);
                lastRecord = at(last);
            }
            const int index = next++;
            Record* const record = at(index);
            const int length = static_cast<int>(end + 1 - tag);
            record->start = static_cast<int>(tag);
            record->length = length;
            record->tagLengths = static_cast<unsigned>(length) & 0x3FFFFF;
            record->parent = open;
            record->child = 0;
            record->next = 0;
            if (last != 0) {
                lastRecord->next = index;
                record->previous = last;
                record->flags = level & 0xFFFF;
            } else {
                openRecord->child = index;
                record->previous = index;
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
                    parser.NameOpened(index);
            }
        } else if (c == '/') {
            const ptrdiff_t end = scanner.TagEnd(tag);
            if (end < 0) {
                node = scanner.Unterminated(tag, 0);
                break;
            }
            const int length = static_cast<int>(end + 1 - tag);
            const bool closes = open != parser.startParent &&
                                (tag + length + 8 <= parser.limit &&
                                         IsSameName<Simd>(text + openRecord->start + 1, text + tag + 2, length - 3)
                                     ? true
                                     : (parser.open = open, parser.ClosesOpen(tag, end + 1)));
            if (!closes) [[unlikely]] {
                node = ScannedNode{0, tag, end + 1, false, NodeFault::None};
                break;
            }
            if (tracked)
                parser.NameClosed(open);
            openRecord->length = static_cast<int>(end + 1) - openRecord->start;
            openRecord->tagLengths |= static_cast<unsigned>(length) << 22;
            if (last != 0)
                at(openRecord->child)->previous = last;
            last = open;
            lastRecord = openRecord;
            open = openRecord->parent;
            openRecord = at(open);
            --level;
        } else {
            node = scanner.Markup(tag);
            if (node.fault != NodeFault::None) [[unlikely]]
                break;
        }
    }

    parser.free = next;
    parser.open = open;
    parser.last = last;
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
