#pragma once

/// @file
/// Bytes that are read in parts, wherever they lie: programs with icons are too large to be read whole.

#include <cstdint>
#include <optional>
#include <vector>

#include "bytes.h"
#include "platform/io/io.h"

namespace kvtshell {

class ByteSource {
public:
    virtual ~ByteSource() = default;

    virtual std::uint64_t Size() const = 0;

    /// All of the `count` bytes at an offset, or nothing. Memory is taken only for bytes that are there.
    std::optional<std::vector<std::uint8_t>> Read(std::uint64_t offset, std::uint64_t count) {
        if (offset > Size() || count > Size() - offset) {
            return std::nullopt;
        }
        std::vector<std::uint8_t> bytes(static_cast<size_t>(count));
        return Fill(offset, bytes) ? std::optional(std::move(bytes)) : std::nullopt;
    }

private:
    /// Fills the bytes from an offset; they lie within the size.
    virtual bool Fill(std::uint64_t offset, std::span<std::uint8_t> bytes) = 0;
};

/// A block of memory, which must outlive it.
class MemorySource : public ByteSource {
public:
    explicit MemorySource(Bytes bytes) : m_bytes(bytes) {}

    std::uint64_t Size() const override { return m_bytes.size(); }

private:
    bool Fill(std::uint64_t offset, std::span<std::uint8_t> bytes) override {
        const Bytes part = *PartOf(m_bytes, offset, bytes.size());
        std::copy(part.begin(), part.end(), bytes.begin());
        return true;
    }

    Bytes m_bytes;
};

/// An open file. One that shrinks meanwhile gives nothing where it ended.
class FileSource : public ByteSource {
public:
    /// @return 0, or the error that opening the file or asking for its size gives.
    kvtio::Error Open(LPCWSTR path) {
        const kvtio::Error error = m_file.Open(path, kvtio::Access::Read, kvtio::Disposition::OpenExisting);
        return error != ERROR_SUCCESS ? error : m_file.Size(m_size);
    }

    std::uint64_t Size() const override { return m_size; }

private:
    bool Fill(std::uint64_t offset, std::span<std::uint8_t> bytes) override {
        std::uint64_t position = 0;
        size_t got = 0;
        return m_file.Seek(static_cast<std::int64_t>(offset), FILE_BEGIN, position) == ERROR_SUCCESS &&
               m_file.Read(bytes.data(), bytes.size(), got) == ERROR_SUCCESS && got == bytes.size();
    }

    kvtio::File m_file;
    std::uint64_t m_size = 0;
};

}  // namespace kvtshell
