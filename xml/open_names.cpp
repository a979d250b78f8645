// Hashes of the names of open elements: polynomials modulo the prime 2^61 - 1.
//
// Two names compare equal exactly when they agree after this change: under ignore-case, ASCII capitals become small
// letters up to the first character outside ASCII, and nothing changes behind it.

#include "xml/open_names.h"

namespace kvtfile {

namespace {

constexpr uint64_t prime = (uint64_t(1) << 61) - 1;

uint64_t MultiplyModulo(uint64_t a, uint64_t b) {
    // Both are below 2^61; split so that no partial product overflows.
    const uint64_t aHigh = a >> 31, aLow = a & 0x7FFFFFFF;
    const uint64_t bHigh = b >> 31, bLow = b & 0x7FFFFFFF;
    const uint64_t middle = aLow * bHigh + aHigh * bLow;
    const uint64_t sum = aHigh * bHigh * 2 + (middle >> 30) + ((middle & 0x3FFFFFFF) << 31) + aLow * bLow;
    const uint64_t folded = (sum & prime) + (sum >> 61);
    return folded >= prime ? folded - prime : folded;
}

bool EndsPart(WCHAR c) {
    return c == '=' || c == '[' || c == ']';
}

}  // namespace

OpenNames::OpenNames(bool ignoreCase) : m_ignoreCase(ignoreCase) {
    const auto where = static_cast<uint64_t>(reinterpret_cast<uintptr_t>(this));
    m_base = (where * 0x9E3779B97F4A7C15u >> 4) % (prime - 0x20000) + 0x10001;
}

uint64_t OpenNames::Next(uint64_t hash, WCHAR c, bool& fold) const {
    if (c >= 0x80)
        fold = false;
    else if (fold && c >= 'A' && c <= 'Z')
        c = static_cast<WCHAR>(c + ('a' - 'A'));
    const uint64_t next = MultiplyModulo(hash, m_base) + c + 1u;
    return next >= prime ? next - prime : next;
}

bool OpenNames::MayClose(const WCHAR* name, int length) const {
    uint64_t hash = 0;
    bool fold = m_ignoreCase;
    for (int i = 0; i < length; ++i)
        hash = Next(hash, name[i], fold);
    return m_counts.find(hash) != m_counts.end();
}

void OpenNames::Count(const WCHAR* name, int length, int change) {
    uint64_t hash = 0;
    bool fold = m_ignoreCase;
    for (int i = 0; i <= length; ++i) {
        if (i == length || EndsPart(name[i])) {
            const auto found = m_counts.try_emplace(hash, 0).first;
            found->second += change;
            if (found->second == 0)
                m_counts.erase(found);
        }
        if (i < length)
            hash = Next(hash, name[i], fold);
    }
}

}  // namespace kvtfile
