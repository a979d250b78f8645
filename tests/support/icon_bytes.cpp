#include "tests/support/icon_bytes.h"

#include <algorithm>
#include <cstdio>

#include "tests/support/little_endian.h"

namespace kvttest {

namespace {

std::uint32_t Length(const std::string& bytes) {
    return static_cast<std::uint32_t>(bytes.size());
}

char ByteOf(Rgba colour, int shift) {
    return static_cast<char>(colour >> shift);
}

/// Rows of bits, the highest first, filled up to four bytes.
class BitRow {
public:
    void Add(std::uint32_t value, int bits) {
        for (int bit = bits; bit-- > 0;) {
            if (m_count % 8 == 0) {
                m_bytes += '\0';
            }
            m_bytes.back() =
                static_cast<char>(m_bytes.back() | static_cast<char>((value >> bit & 1) << (7 - m_count % 8)));
            ++m_count;
        }
    }

    std::string Bytes() const { return m_bytes + std::string((4 - m_bytes.size() % 4) % 4, '\0'); }

private:
    std::string m_bytes;
    size_t m_count = 0;
};

std::string ColourRow(const Picture& picture, int y, int bits, const std::vector<Rgba>& palette) {
    BitRow row;
    for (int x = 0; x < picture.width; ++x) {
        const Rgba pixel = picture.pixels[static_cast<size_t>(y * picture.width + x)];
        const std::uint32_t red = pixel >> 24, green = pixel >> 16 & 0xFF, blue = pixel >> 8 & 0xFF;
        if (bits <= 8) {
            const auto found = std::find(palette.begin(), palette.end(), pixel >> 8);
            row.Add(static_cast<std::uint32_t>(found - palette.begin()), bits);
        } else if (bits == 16) {
            const std::uint32_t value = red >> 3 << 10 | green >> 3 << 5 | blue >> 3;
            row.Add(value & 0xFF, 8);
            row.Add(value >> 8, 8);
        } else {
            row.Add(blue << 16 | green << 8 | red, 24);
            if (bits == 32) {
                row.Add(pixel & 0xFF, 8);
            }
        }
    }
    return row.Bytes();
}

std::string MaskRow(const Picture& picture, int y) {
    BitRow row;
    for (int x = 0; x < picture.width; ++x) {
        row.Add((picture.pixels[static_cast<size_t>(y * picture.width + x)] & 0xFF) != 0xFF ? 1 : 0, 1);
    }
    return row.Bytes();
}

/// An entry of a directory of images, but for where the image is.
std::string ImageEntry(const std::string& image) {
    const auto side = [&image](size_t at) { return image[at]; };  // 256 is 0
    const char height =
        static_cast<char>((static_cast<unsigned char>(image[8]) | static_cast<unsigned char>(image[9]) << 8) / 2);
    return std::string{side(4), height, '\0', '\0'} + Word(1) + image.substr(14, 2) + Dword(Length(image));
}

/// A folder of resources and, behind all folders, what its entries lead to.
struct Resource {
    std::uint32_t id = 0;
    std::vector<Resource> children;
    std::string data;  // of a leaf
};

size_t FoldersSize(const Resource& node) {
    size_t size = node.children.empty() ? 16 : 16 + 8 * node.children.size();
    for (const Resource& child : node.children) {
        size += FoldersSize(child);
    }
    return size;
}

/// Lays out a tree of resources that stands at an address: every folder in front of what it leads to, the data behind.
std::string LayOut(const Resource& root, std::uint32_t address) {
    std::string folders(FoldersSize(root), '\0');
    std::string data;
    std::uint32_t used = 0;
    const std::function<std::uint32_t(const Resource&)> place = [&](const Resource& node) -> std::uint32_t {
        const std::uint32_t at = used;
        std::string block;
        if (node.children.empty()) {
            used += 16;
            block = Dword(address + Length(folders) + Length(data)) + Dword(Length(node.data)) + Dword(0) + Dword(0);
            data += node.data + std::string((4 - node.data.size() % 4) % 4, '\0');
        } else {
            used += 16 + 8 * static_cast<std::uint32_t>(node.children.size());
            block = std::string(12, '\0') + Word(0) + Word(static_cast<std::uint16_t>(node.children.size()));
            for (const Resource& child : node.children) {
                const std::uint32_t offset = place(child);
                block += Dword(child.id) + Dword(offset | (child.children.empty() ? 0 : 0x80000000));
            }
        }
        folders.replace(at, block.size(), block);
        return at;
    };
    place(root);
    return folders + data;
}

}  // namespace

Picture Picture::Square(int side, const std::function<Rgba(int x, int y)>& colour) {
    Picture picture{side, side, {}};
    for (int y = 0; y < side; ++y) {
        for (int x = 0; x < side; ++x) {
            picture.pixels.push_back(colour(x, y));
        }
    }
    return picture;
}

std::string Picture::Bytes() const {
    std::string bytes;
    for (const Rgba pixel : pixels) {
        bytes += {ByteOf(pixel, 24), ByteOf(pixel, 16), ByteOf(pixel, 8), ByteOf(pixel, 0)};
    }
    return bytes;
}

std::string Shown(const std::string& rgba) {
    if (rgba.size() % 4 != 0) {
        return std::to_string(rgba.size()) + " bytes";
    }
    std::string text;
    for (size_t at = 0, next = 0; at < rgba.size(); at = next) {
        const std::string pixel = rgba.substr(at, 4);
        for (next = at; rgba.compare(next, 4, pixel) == 0; next += 4) {
        }
        char shown[32];
        std::snprintf(shown, sizeof shown, "%02X%02X%02X%02X x %zu", static_cast<unsigned char>(pixel[0]),
                      static_cast<unsigned char>(pixel[1]), static_cast<unsigned char>(pixel[2]),
                      static_cast<unsigned char>(pixel[3]), (next - at) / 4);
        text += (text.empty() ? "" : ", ") + std::string(shown);
    }
    return text;
}

std::string ImageBytes(const Picture& picture, int bits) {
    std::vector<Rgba> palette;
    if (bits <= 8) {
        for (const Rgba pixel : picture.pixels) {
            if (std::find(palette.begin(), palette.end(), pixel >> 8) == palette.end()) {
                palette.push_back(pixel >> 8);
            }
        }
        palette.resize(size_t{1} << bits);
    }
    std::string image = Dword(40) + Dword(static_cast<std::uint32_t>(picture.width)) +
                        Dword(static_cast<std::uint32_t>(picture.height * 2)) + Word(1) +
                        Word(static_cast<std::uint16_t>(bits)) + std::string(24, '\0');
    for (const Rgba colour : palette) {
        image += {ByteOf(colour, 0), ByteOf(colour, 8), ByteOf(colour, 16), '\0'};
    }
    for (int y = picture.height; y-- > 0;) {
        image += ColourRow(picture, y, bits, palette);
    }
    for (int y = picture.height; y-- > 0;) {
        image += MaskRow(picture, y);
    }
    return image;
}

std::string IcoBytes(const std::vector<std::string>& images) {
    std::string file = Word(0) + Word(1) + Word(static_cast<std::uint16_t>(images.size()));
    std::string data;
    const auto start = static_cast<std::uint32_t>(6 + 16 * images.size());
    for (const std::string& image : images) {
        file += ImageEntry(image) + Dword(start + Length(data));
        data += image;
    }
    return file + data;
}

std::string ProgramBytes(const Icons& icons, bool wide) {
    constexpr std::uint32_t kAddress = 0x1000;
    constexpr std::uint32_t kOffset = 0x200;
    Resource images{3, {}, ""};
    Resource groups{14, {}, ""};
    for (const auto& [id, icon] : icons) {
        std::string group = Word(0) + Word(1) + Word(static_cast<std::uint16_t>(icon.size()));
        for (const std::string& image : icon) {
            const auto imageId = static_cast<std::uint16_t>(images.children.size() + 1);
            group += ImageEntry(image) + Word(imageId);
            images.children.push_back({imageId, {{0x409, {}, image}}, ""});
        }
        groups.children.push_back({id, {{0x409, {}, group}}, ""});
    }
    const std::string resources = icons.empty() ? "" : LayOut({0, {images, groups}, ""}, kAddress);
    const std::uint32_t rounded = (Length(resources) + 0x1FF) / 0x200 * 0x200;

    std::string file = "MZ" + std::string(0x3A, '\0') + Dword(0x40) + std::string("PE\0\0", 4);
    // Machine, sections, time, symbols, size of the optional header, that this is a library.
    file += Word(wide ? 0x8664 : 0x14C) + Word(1) + std::string(12, '\0') + Word(wide ? 0xF0 : 0xE0) + Word(0x2102);
    std::string optional = Word(wide ? 0x20B : 0x10B) + std::string(wide ? 22 : 26, '\0') +
                           (wide ? Dword(0x80000000) + Dword(1) : Dword(0x10000000)) + Dword(0x1000) + Dword(0x200);
    optional += Word(6) + Word(0) + Word(0) + Word(0) + Word(6) + Word(0) + Dword(0);
    // Size in memory, of the headers, checksum, a program with windows, room for stack and heap, directories.
    optional += Dword(kAddress + (rounded + 0xFFF) / 0x1000 * 0x1000) + Dword(kOffset) + Dword(0) + Word(2) + Word(0) +
                std::string(wide ? 32 : 16, '\0') + Dword(0) + Dword(16);
    optional +=
        std::string(16, '\0') + (icons.empty() ? std::string(8, '\0') : Dword(kAddress) + Dword(Length(resources)));
    optional.resize(wide ? 0xF0 : 0xE0);
    file += optional + std::string(".rsrc\0\0\0", 8) + Dword(Length(resources)) + Dword(kAddress) + Dword(rounded) +
            Dword(kOffset) + std::string(12, '\0') + Dword(0x40000040);
    file.resize(kOffset);
    file += resources;
    file.resize(kOffset + rounded);
    return file;
}

}  // namespace kvttest
