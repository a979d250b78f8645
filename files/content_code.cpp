// The two codes of a file's content, at the speed of memory.
//
// A table step of the CRC waits for the one before it. Sixteen steps at once need sixteen tables: table n holds what a
// byte leaves in the register after n more steps, and the register is the exclusive or of what its bytes leave.

#include "files/content_code.h"

#include <array>
#include <bit>
#include <cstring>

namespace kvtfile::detail {

namespace {

static_assert(std::endian::native == std::endian::little);

constexpr size_t GROUP = 4;
constexpr size_t STEPS = 16;
constexpr size_t BLOCK = STEPS * GROUP;

using Table = std::array<DWORD, 256>;

constexpr DWORD Step(const Table& table, DWORD crc, BYTE byte) {
    return crc >> 8 ^ table[(crc ^ byte) & 0xFF];
}

constexpr std::array<Table, STEPS> MakeTables() {
    std::array<Table, STEPS> tables = {};
    for (DWORD byte = 0; byte < 256; ++byte) {
        DWORD crc = byte;
        for (int bit = 0; bit < 8; ++bit) {
            crc = crc >> 1 ^ (crc & 1 ? 0xEDB88320 : 0);
        }
        tables[0][byte] = crc;
    }
    for (size_t n = 1; n < STEPS; ++n) {
        for (size_t byte = 0; byte < 256; ++byte) {
            tables[n][byte] = Step(tables[0], tables[n - 1][byte], 0);
        }
    }
    return tables;
}

constexpr std::array<Table, STEPS> TABLES = MakeTables();
static_assert(TABLES[0][1] == 0x77073096);

// The first bytes of four groups as the register takes them.
DWORD FirstBytes(const BYTE* groups) {
    return groups[0] | DWORD{groups[GROUP]} << 8 | DWORD{groups[2 * GROUP]} << 16 | DWORD{groups[3 * GROUP]} << 24;
}

// What four bytes leave behind, the first of them after `steps` more steps.
DWORD FourAt(size_t steps, DWORD bytes) {
    return TABLES[steps][bytes & 0xFF] ^ TABLES[steps - 1][bytes >> 8 & 0xFF] ^ TABLES[steps - 2][bytes >> 16 & 0xFF] ^
           TABLES[steps - 3][bytes >> 24];
}

}  // namespace

DWORD AddToCrc(DWORD crc, const BYTE* chunk, size_t size) {
    for (; size >= BLOCK; chunk += BLOCK, size -= BLOCK) {
        const DWORD later = FourAt(11, FirstBytes(chunk + 4 * GROUP)) ^ FourAt(7, FirstBytes(chunk + 8 * GROUP)) ^
                            FourAt(3, FirstBytes(chunk + 12 * GROUP));
        crc = FourAt(15, crc ^ FirstBytes(chunk)) ^ later;
    }
    for (size_t at = 0; at < size; at += GROUP) {
        crc = Step(TABLES[0], crc, chunk[at]);
    }
    return crc;
}

DWORD AddToChecksum(DWORD sum, const BYTE* chunk, size_t size) {
    // Sixteen sums side by side, which the compiler keeps in vector registers.
    std::array<DWORD, STEPS> sums = {};
    for (; size >= BLOCK; chunk += BLOCK, size -= BLOCK) {
        std::array<DWORD, STEPS> words;
        std::memcpy(words.data(), chunk, BLOCK);
        for (size_t i = 0; i < STEPS; ++i) {
            sums[i] += words[i];
        }
    }
    for (const DWORD part : sums) {
        sum += part;
    }
    for (size_t at = 0; at < size; ++at) {
        sum += DWORD{chunk[at]} << 8 * (at % GROUP);
    }
    return sum;
}

}  // namespace kvtfile::detail
