// The list of names with its index: a table of positions with open addressing.
//
// Invariants. Short lists have no table and are searched from the start. Otherwise every position stands in the table
// exactly once, at the first free slot after the one its hash asks for when it was added; since positions are added in
// ascending order, the first equal name on the way is the first equal name of the list. A removed name leaves its slot
// behind as taken. At most half of the slots are taken.

#include <random>

#include "kvtfile/IniFile.h"
#include "platform/mfc/fold.h"

namespace kvtfile::detail {

namespace {

constexpr size_t SHORT_LIST = 16;
constexpr int32_t FREE = -1;
constexpr int32_t REMOVED = -2;

// Drawn once a process, so that nobody can write a file whose names all fall on one slot.
uint64_t Seed() {
    static const uint64_t seed = [] {
        std::random_device device;
        return (static_cast<uint64_t>(device()) << 32) | device();
    }();
    return seed;
}

uint32_t HashFolded(const CString& name) {
    uint64_t hash = Seed();
    for (LPCWSTR at = name; *at != 0; ++at) {
        hash = (hash ^ kvtmfc::FoldLower(*at)) * 0x9E3779B97F4A7C15u;
        hash ^= hash >> 29;
    }
    return static_cast<uint32_t>(hash >> 32);
}

}  // namespace

int NameList::Find(const CString& name) const {
    if (m_slots.empty()) {
        for (size_t at = 0; at < m_names.size(); ++at) {
            if (m_names[at].CompareNoCase(name) == 0) {
                return static_cast<int>(at);
            }
        }
        return -1;
    }
    const uint32_t hash = HashFolded(name);
    const size_t mask = m_slots.size() - 1;
    for (size_t slot = hash & mask; m_slots[slot].position != FREE; slot = (slot + 1) & mask) {
        const Slot& candidate = m_slots[slot];
        if (candidate.hash == hash && candidate.position != REMOVED &&
            (*this)[candidate.position].CompareNoCase(name) == 0) {
            return candidate.position;
        }
    }
    return -1;
}

void NameList::Add(const CString& name) {
    m_names.push_back(name);
    if (m_slots.empty() ? m_names.size() > SHORT_LIST : (m_taken + 1) * 2 > m_slots.size()) {
        Rebuild();
    } else if (!m_slots.empty()) {
        Index(Count() - 1);
    }
}

void NameList::RemoveAt(int at) {
    m_names.erase(m_names.begin() + at);
    for (Slot& slot : m_slots) {
        if (slot.position == at) {
            slot.position = REMOVED;
        } else if (slot.position > at) {
            --slot.position;
        }
    }
}

void NameList::Clear() {
    m_names.clear();
    m_slots.clear();
    m_taken = 0;
}

void NameList::Index(int position) {
    const uint32_t hash = HashFolded((*this)[position]);
    const size_t mask = m_slots.size() - 1;
    size_t slot = hash & mask;
    while (m_slots[slot].position != FREE) {
        slot = (slot + 1) & mask;
    }
    m_slots[slot] = Slot{hash, position};
    ++m_taken;
}

void NameList::Rebuild() {
    size_t size = 4 * SHORT_LIST;
    while (size < m_names.size() * 4) {
        size *= 2;
    }
    m_slots.assign(size, Slot{0, FREE});
    m_taken = 0;
    for (int position = 0; position < Count(); ++position) {
        Index(position);
    }
}

}  // namespace kvtfile::detail
