#pragma once

// The node scanner. It finds the characters that matter 64 at a time (`Simd::Classify`) and then goes from bit to bit
// instead of from character to character. Each block is classified once while scanning forward; long runs of plain
// text are only tested for "<".
//
// A tag's end is its first ">" outside quotes. Nearly always that is the first ">" at all, and then the tag holds
// double quotes only, in pairs: a parity tells. Everything else walks from quote to quote.
//
// See block.h for what may be called here.

#include "xml/block.h"
#include "xml/scanned_node.h"

namespace kvtfile {
namespace {

KVTFILE_INLINE bool IsNameStart(unsigned c) {
    return c >= 'a' || (c >= 'A' && c <= 'Z') || c == '_' || c == ':';
}

KVTFILE_INLINE bool IsBlank(unsigned c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

template <class Simd>
class Scanner {
public:
    static constexpr ptrdiff_t none = -1;

    /// Scans `text` from `pos`; `text[limit]` is NUL, and an earlier NUL ends the text too.
    Scanner(const WCHAR* text, ptrdiff_t limit, ptrdiff_t pos) : m_text(text), m_limit(limit) { Load(pos); }

    /// End of the text, final once a search has come back with `none`.
    ptrdiff_t Limit() const { return m_limit; }

    /// Goes on at `pos`.
    void Seek(ptrdiff_t pos) {
        if (pos >= m_base && pos - m_base < blockSize)
            m_rest = ~uint64_t(0) << (pos - m_base);
        else
            Load(pos);
    }

    /// Offset of the next "<", and goes on behind it; `none` at the end of the text.
    KVTFILE_INLINE ptrdiff_t NextTag() {
        uint64_t found = m_block.lt & m_rest;
        if (found == 0) {
            if (m_limit - m_base >= 2 * blockSize) [[likely]]
                LoadWhole(m_base + blockSize);
            found = m_block.lt & m_rest;
            if (found == 0) {
                Scanner aside(*this);
                found = aside.NextBlockWithTag();
                *this = aside;
                if (found == 0)
                    return none;
            }
        }
        m_rest &= ~UpToLowest(found);
        return m_base + LowestBit(found);
    }

    /// Offset of the ">" that ends the tag whose "<" (at `tag`) was just found, and goes on behind it; `none` when the
    /// text ends first.
    KVTFILE_INLINE ptrdiff_t TagEnd(ptrdiff_t tag) {
        uint64_t doubled = 0;  // as odd as the number of double quotes
        uint64_t single = 0;
        for (;;) {
            const uint64_t found = m_block.gt & m_rest;
            const uint64_t upTo = UpToLowest(found) & m_rest;
            doubled ^= m_block.dq & upTo;
            single |= m_block.sq & upTo;
            if (found != 0) [[likely]] {
                if (single != 0 || IsOddCount(doubled)) [[unlikely]]
                    break;
                m_rest &= ~upTo;
                return m_base + LowestBit(found);
            }
            if (m_limit - m_base < 2 * blockSize) [[unlikely]]
                break;
            LoadWhole(m_base + blockSize);
        }
        Scanner aside(*this);
        const ptrdiff_t end = aside.TagEndByQuotes(tag);
        *this = aside;
        return end;
    }

    /// Scans one node at `pos`, where the scanner stands.
    ScannedNode Node(ptrdiff_t pos) {
        if (pos >= m_limit)
            return ScannedNode{-2, m_limit, m_limit, false, NodeFault::None};
        if (m_text[pos] != '<') {
            const ptrdiff_t found = NextTag();
            const ptrdiff_t end = found == none ? m_limit : found;
            Seek(end);
            ptrdiff_t i = pos;
            while (i < end && IsBlank(m_text[i]))
                ++i;
            return ScannedNode{i == end ? 4 : 2, pos, end, false, NodeFault::None};
        }
        NextTag();
        const unsigned c = m_text[pos + 1];
        const bool endTag = c == '/';
        if (!endTag && !IsNameStart(c))
            return Markup(pos);
        const ptrdiff_t end = TagEnd(pos);
        if (end == none)
            return Unterminated(pos, endTag ? 0 : 1);
        return ScannedNode{endTag ? 0 : 1, pos, end + 1, !endTag && m_text[end - 1] == '/', NodeFault::None};
    }

    /// A node whose end is the end of the text.
    KVTFILE_INLINE ScannedNode Unterminated(ptrdiff_t tag, int type) {
        Scanner aside(*this);
        const ScannedNode node = aside.CutShort(tag, type);
        *this = aside;
        return node;
    }

    /// Scans the rest of a node that starts with "<" at `tag` and is neither a start nor an end tag.
    KVTFILE_INLINE ScannedNode Markup(ptrdiff_t tag) {
        Scanner aside(*this);
        const ScannedNode node = aside.OtherMarkup(tag);
        *this = aside;
        return node;
    }

private:
    // The rest works on a copy of the scanner, since what a call can reach by address does not stay in registers.

    KVTFILE_OUTLINE ScannedNode CutShort(ptrdiff_t tag, int type) {
        SeekEnd();
        return ScannedNode{type, tag, m_limit, false, NodeFault::Unterminated};
    }

    KVTFILE_OUTLINE ScannedNode OtherMarkup(ptrdiff_t tag) {
        const unsigned c = m_text[tag + 1];
        if (c == '?')
            return EndedBy(tag, 16, tag + 2, '?', 0);
        if (c == '!') {
            const unsigned kind = m_text[tag + 2];
            switch (kind) {
                case '-':
                    if (m_text[tag + 3] == '-')
                        return EndedBy(tag, 32, tag + 4, '-', '-');
                    return Fault(tag, tag + 3, NodeFault::CommentTag);
                case '[':
                    if (m_text[tag + 3] == 'C')
                        return EndedBy(tag, 8, tag + 4, ']', ']');
                    return Fault(tag, tag + 3, NodeFault::Tag);
                case 'D': {
                    const ptrdiff_t end = FindDocTypeEnd(m_text, m_limit, tag + 2);
                    if (end < 0)
                        return CutShort(tag, 64);
                    Seek(end);
                    return ScannedNode{64, tag, end, false, NodeFault::None};
                }
                case 'E':
                case 'A':
                case 'N':
                    return EndedBy(tag, 64, tag + 3, 0, 0);
                default:
                    return Fault(tag, tag + 2, NodeFault::Bang);
            }
        }
        return Fault(tag, tag + 1, NodeFault::TagNameCharacter);
    }

    /// Classifies a block that the text fills. A NUL in it becomes the end of the text.
    KVTFILE_INLINE void LoadWhole(ptrdiff_t pos) {
        m_base = pos;
        m_rest = ~uint64_t(0);
        Simd::Classify(m_text + pos, m_block);
        if (m_block.nul != 0) [[unlikely]] {
            Scanner aside(*this);
            aside.CutAtNul();
            *this = aside;
        }
    }

    KVTFILE_OUTLINE void Load(ptrdiff_t pos) {
        if (m_limit - pos >= blockSize) {
            LoadWhole(pos);
        } else {
            LoadTail(pos);
            CutAtNul();
        }
    }

    /// The last block, which the text does not fill.
    void LoadTail(ptrdiff_t pos) {
        m_base = pos;
        m_rest = ~uint64_t(0);
        WCHAR tail[blockSize] = {};
        for (ptrdiff_t i = pos; i < m_limit; ++i)
            tail[i - pos] = m_text[i];
        Simd::Classify(tail, m_block);
    }

    KVTFILE_OUTLINE void CutAtNul() {
        const uint64_t before = (m_block.nul & -m_block.nul) - 1;
        m_limit = m_base + LowestBit(m_block.nul);
        m_block.lt &= before;
        m_block.gt &= before;
        m_block.dq &= before;
        m_block.sq &= before;
    }

    bool IsLastBlock() const { return m_limit - m_base < blockSize; }

    /// Finds where the text ends, so that `Limit` is final, and leaves nothing to be found.
    void SeekEnd() {
        while (!IsLastBlock())
            Load(m_base + blockSize);
        m_rest = 0;
    }

    /// The "<" of the next block that has any, from a block whose rest has none; 0 at the end of the text.
    KVTFILE_OUTLINE uint64_t NextBlockWithTag() {
        do {
            if (IsLastBlock())
                return 0;
            ptrdiff_t next = m_base + blockSize;
            while (m_limit - next >= blockSize && Simd::IsPlainText(m_text + next))
                next += blockSize;
            Load(next);
        } while (m_block.lt == 0);
        return m_block.lt;
    }

    /// The end of a tag by the rule itself, from quote to quote.
    KVTFILE_OUTLINE ptrdiff_t TagEndByQuotes(ptrdiff_t tag) {
        Seek(tag + 1);
        unsigned quote = 0;
        for (;;) {
            uint64_t found = quote == 0 ? m_block.gt | m_block.dq | m_block.sq : quote == '"' ? m_block.dq : m_block.sq;
            found &= m_rest;
            if (found == 0) {
                if (IsLastBlock())
                    return none;
                Load(m_base + blockSize);
                continue;
            }
            m_rest &= ~UpToLowest(found);
            const ptrdiff_t at = m_base + LowestBit(found);
            if (quote != 0)
                quote = 0;
            else if (m_text[at] == '>')
                return at;
            else
                quote = m_text[at];
        }
    }

    /// A node that ends at the first ">" from `from` on which follows `last`, which follows `beforeLast` (0: nothing).
    ScannedNode EndedBy(ptrdiff_t tag, int type, ptrdiff_t from, unsigned last, unsigned beforeLast) {
        const ptrdiff_t least = from + (last != 0) + (beforeLast != 0);
        Seek(from < m_limit ? from : m_limit);
        for (;;) {
            const uint64_t found = m_block.gt & m_rest;
            if (found == 0) {
                if (IsLastBlock())
                    return CutShort(tag, type);
                Load(m_base + blockSize);
                continue;
            }
            m_rest &= ~UpToLowest(found);
            const ptrdiff_t at = m_base + LowestBit(found);
            if (at >= least && (last == 0 || m_text[at - 1] == last) &&
                (beforeLast == 0 || m_text[at - 2] == beforeLast))
                return ScannedNode{type, tag, at + 1, false, NodeFault::None};
        }
    }

    /// An error node that ends with the offending character at `offending`, or with the text.
    ScannedNode Fault(ptrdiff_t tag, ptrdiff_t offending, NodeFault fault) {
        for (ptrdiff_t i = tag + 1; i <= offending; ++i) {
            if (i >= m_limit || m_text[i] == 0)
                return CutShort(tag, nodeUndecided);
        }
        Seek(offending + 1);
        return ScannedNode{-1, tag, offending + 1, false, fault};
    }

    const WCHAR* m_text;
    ptrdiff_t m_limit;
    ptrdiff_t m_base;
    uint64_t m_rest;  ///< bits of the block that are still ahead
    Block m_block;
};

}  // namespace
}  // namespace kvtfile
