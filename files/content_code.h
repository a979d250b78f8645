#pragma once

/// @file
/// The two codes of a file's content, chunk by chunk.

#include <cstddef>

#include "kvtfile/types.h"

namespace kvtfile::detail {

/// The register after a chunk: one table step of the reflected CRC-32 (polynomial 0xEDB88320) for the first byte of
/// each group of four, a group that the chunk's end cuts off included.
DWORD AddToCrc(DWORD crc, const BYTE* chunk, size_t size);

/// The sum after a chunk: its little-endian 32-bit words modulo 2^32; what the chunk's end cuts off counts as zeros.
DWORD AddToChecksum(DWORD sum, const BYTE* chunk, size_t size);

}  // namespace kvtfile::detail
