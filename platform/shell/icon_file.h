#pragma once

/// @file
/// The icons of a file: of an .ico file, or of the resources of a Windows program or library.

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "byte_source.h"
#include "icon_image.h"

namespace kvtshell {

/// Where the bytes of one image stand in a file.
struct ImagePlace {
    std::uint64_t offset = 0;
    std::uint32_t size = 0;
};

/// A file whose structure holds icons. Each icon is a group of images of several sizes and depths.
class IconFile {
public:
    virtual ~IconFile() = default;

    /// @param source Must outlive the result.
    /// @return Null when the bytes are of neither kind.
    static std::unique_ptr<IconFile> Open(ByteSource& source);

    virtual size_t Count() const = 0;
    /// The index of the icon with a resource id; an .ico file has none, and its one icon answers to any.
    virtual std::optional<size_t> Find(std::uint32_t id) const = 0;

    /// An icon's pixels as a square: of its images the one of this size and of the deepest colour, else a larger one,
    /// else the largest, scaled. Nothing when the icon has no image that can be read: compressed ones (PNG) cannot.
    std::optional<IconImage> Load(size_t index, int side);

protected:
    explicit IconFile(ByteSource& source) : m_source(source) {}

    /// The images of an icon, as the file lists them.
    virtual std::vector<ImagePlace> Images(size_t index) = 0;

    ByteSource& m_source;
};

/// Opens an .ico file; null when it is none.
std::unique_ptr<IconFile> OpenIco(ByteSource& source);

/// Opens a program or library of 32 or 64 bits; null when it is none. One without icons has a count of 0.
std::unique_ptr<IconFile> OpenProgram(ByteSource& source);

/// Of one icon no more images than this are looked at.
constexpr size_t kMaxImages = 256;

}  // namespace kvtshell
