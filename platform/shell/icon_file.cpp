// .ico files, and the choice among an icon's images, which is the same for every kind of file.

#include "icon_file.h"

#include <algorithm>
#include <tuple>

namespace kvtshell {

namespace {

constexpr std::uint64_t kIcoHeaderSize = 6;
constexpr std::uint64_t kIcoEntrySize = 16;
constexpr std::uint16_t kIcoType = 1;

class IcoFile : public IconFile {
public:
    IcoFile(ByteSource& source, std::uint16_t images) : IconFile(source), m_images(images) {}

    size_t Count() const override { return 1; }

    // There are no ids to choose by.
    std::optional<size_t> Find(std::uint32_t) const override { return 0; }

private:
    std::vector<ImagePlace> Images(size_t) override {
        const size_t count = std::min<size_t>(m_images, kMaxImages);
        const auto entries = m_source.Read(kIcoHeaderSize, count * kIcoEntrySize);
        std::vector<ImagePlace> places;
        for (size_t i = 0; entries && i < count; ++i) {
            places.push_back({*DwordAt(*entries, i * kIcoEntrySize + 12), *DwordAt(*entries, i * kIcoEntrySize + 8)});
        }
        return places;
    }

    std::uint16_t m_images;
};

/// How well an image serves for a size; the greatest is the best.
auto Fitness(const IconFormat& format, int side) {
    const int larger = std::max(format.width, format.height);
    const bool exact = format.width == side && format.height == side;
    const bool enough = format.width >= side && format.height >= side;
    // Of those that are large enough the smallest loses least, of the others the largest.
    return std::tuple(exact, enough, enough ? -larger : larger, format.bits);
}

}  // namespace

std::unique_ptr<IconFile> OpenIco(ByteSource& source) {
    const auto header = source.Read(0, kIcoHeaderSize);
    if (!header || WordAt(*header, 0) != 0 || WordAt(*header, 2) != kIcoType || WordAt(*header, 4) == 0) {
        return nullptr;
    }
    return std::make_unique<IcoFile>(source, *WordAt(*header, 4));
}

std::unique_ptr<IconFile> IconFile::Open(ByteSource& source) {
    std::unique_ptr<IconFile> file = OpenIco(source);
    return file ? std::move(file) : OpenProgram(source);
}

std::optional<IconImage> IconFile::Load(size_t index, int side) {
    std::optional<IconFormat> best;
    ImagePlace bestPlace;
    for (const ImagePlace& place : Images(index)) {
        const auto header = m_source.Read(place.offset, std::min(place.size, kIconHeaderSize));
        const std::optional<IconFormat> format = header ? ReadIconFormat(*header, place.size) : std::nullopt;
        if (format && (!best || Fitness(*format, side) > Fitness(*best, side)) &&
            place.size <= m_source.Size() - place.offset) {
            best = format;
            bestPlace = place;
        }
    }
    if (!best) {
        return std::nullopt;
    }
    // What stands behind the image is not its business.
    const auto bytes = m_source.Read(bestPlace.offset, std::min(bestPlace.size, best->Size()));
    if (!bytes) {
        return std::nullopt;
    }
    IconImage image = DecodeIcon(*best, *bytes);
    return image.width == side && image.height == side ? image : Scaled(image, side, side);
}

}  // namespace kvtshell
