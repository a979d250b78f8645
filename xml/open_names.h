#pragma once

// Which end tags could close one of the open elements: makes sure that end tags which close nothing cost the length of
// their name, however many elements are open.

#include <cstdint>
#include <unordered_map>

#include "kvtfile/types.h"

namespace kvtfile {

/// Counts, over all open elements, the end-tag names that would close them: the element's name up to its end and up to
/// each of "=[]". Names are kept as hashes of 61 bits; the base differs from one object to the next, so that a text
/// cannot be made to collide. A collision would cost a search in vain and change no result.
class OpenNames {
public:
    explicit OpenNames(bool ignoreCase);

    void Add(const WCHAR* name, int length) { Count(name, length, 1); }
    void Remove(const WCHAR* name, int length) { Count(name, length, -1); }
    /// Whether an end tag of this name closes any of the elements.
    bool MayClose(const WCHAR* name, int length) const;

private:
    void Count(const WCHAR* name, int length, int change);
    uint64_t Next(uint64_t hash, WCHAR c, bool& fold) const;

    uint64_t m_base;
    bool m_ignoreCase;
    std::unordered_map<uint64_t, int> m_counts;
};

}  // namespace kvtfile
