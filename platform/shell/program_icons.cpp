// The icon resources of Windows programs and libraries (PE, 32 and 64 bits).
//
// Resources are a tree of three levels: type, id, language. The trees of the two types that matter are walked to that
// fixed depth; each folder of the tree is read in one piece, whose size its two 16-bit counts bound.

#include <algorithm>

#include "icon_file.h"

namespace kvtshell {

namespace {

constexpr std::uint16_t kDosSignature = 0x5A4D;
constexpr std::uint32_t kPeSignature = 0x00004550;
constexpr std::uint16_t kOptional32 = 0x10B;
constexpr std::uint16_t kOptional64 = 0x20B;
constexpr std::uint64_t kCoffSize = 24;  // with the signature
constexpr std::uint64_t kSectionSize = 40;
constexpr std::uint16_t kMaxSections = 96;

constexpr std::uint32_t kIconType = 3;
constexpr std::uint32_t kGroupIconType = 14;
constexpr std::uint64_t kFolderHeaderSize = 16;
constexpr std::uint64_t kFolderEntrySize = 8;
constexpr std::uint64_t kDataEntrySize = 16;
constexpr std::uint64_t kGroupHeaderSize = 6;
constexpr std::uint64_t kGroupEntrySize = 14;
constexpr std::uint32_t kHighBit = 0x80000000;

struct Section {
    std::uint32_t address = 0;  ///< Where it stands in memory.
    std::uint32_t size = 0;     ///< In the file.
    std::uint64_t offset = 0;   ///< In the file.
};

/// An entry of a folder of resources.
struct Entry {
    bool named = false;
    std::uint32_t id = 0;
    bool isFolder = false;
    std::uint32_t offset = 0;  ///< From the start of the resources.
};

class Program : public IconFile {
public:
    explicit Program(ByteSource& source) : IconFile(source) {}

    /// @return false: not a program.
    bool Read() {
        const auto dos = m_source.Read(0, 0x40);
        if (!dos || WordAt(*dos, 0) != kDosSignature) {
            return false;
        }
        const std::uint64_t start = *DwordAt(*dos, 0x3C);
        const auto coff = m_source.Read(start, kCoffSize);
        if (!coff || DwordAt(*coff, 0) != kPeSignature) {
            return false;
        }
        const std::uint16_t optionalSize = *WordAt(*coff, 20);
        const auto optional = m_source.Read(start + kCoffSize, optionalSize);
        const std::optional<std::uint16_t> magic = optional ? WordAt(*optional, 0) : std::nullopt;
        if (magic != kOptional32 && magic != kOptional64) {
            return false;
        }
        const std::uint16_t sections = std::min(*WordAt(*coff, 6), kMaxSections);
        const auto table = m_source.Read(start + kCoffSize + optionalSize, sections * kSectionSize);
        if (!table) {
            return false;
        }
        for (std::uint64_t at = 0; at < table->size(); at += kSectionSize) {
            m_sections.push_back({*DwordAt(*table, at + 12), *DwordAt(*table, at + 16), *DwordAt(*table, at + 20)});
        }
        // The directories begin with their number; the third is that of the resources.
        const std::uint64_t directories = magic == kOptional32 ? 92 : 108;
        const std::uint32_t known = DwordAt(*optional, directories).value_or(0);
        const std::optional<std::uint32_t> address = DwordAt(*optional, directories + 4 + 16);
        if (known > 2 && address && *address != 0) {
            ReadResources(*address);
        }
        return true;
    }

    size_t Count() const override { return m_groups.size(); }

    std::optional<size_t> Find(std::uint32_t id) const override {
        const auto found = std::find_if(m_groups.begin(), m_groups.end(),
                                        [id](const Entry& entry) { return !entry.named && entry.id == id; });
        return found == m_groups.end() ? std::nullopt : std::optional(static_cast<size_t>(found - m_groups.begin()));
    }

private:
    void ReadResources(std::uint32_t address) {
        const std::optional<std::uint64_t> offset = OffsetOf(address, kFolderHeaderSize);
        if (!offset) {
            return;
        }
        m_resources = *offset;
        for (const Entry& type : ReadFolder(0)) {
            if (type.named || !type.isFolder) {
                continue;
            }
            if (type.id == kGroupIconType && m_groups.empty()) {
                m_groups = ReadFolder(type.offset);
            } else if (type.id == kIconType && m_icons.empty()) {
                m_icons = ReadFolder(type.offset);
            }
        }
    }

    /// Where an address in memory stands in the file, if that many bytes stand there.
    std::optional<std::uint64_t> OffsetOf(std::uint32_t address, std::uint64_t size) const {
        for (const Section& section : m_sections) {
            const std::uint64_t within = std::uint64_t{address} - section.address;
            if (address >= section.address && within < section.size && size <= section.size - within) {
                return section.offset + within;
            }
        }
        return std::nullopt;
    }

    /// The entries of a folder, or the first `most` of them.
    std::vector<Entry> ReadFolder(std::uint32_t offset, std::uint64_t most = 2 * 0xFFFF) {
        const auto header = m_source.Read(m_resources + offset, kFolderHeaderSize);
        if (!header) {
            return {};
        }
        const std::uint64_t all = std::uint64_t{*WordAt(*header, 12)} + *WordAt(*header, 14);
        const std::uint64_t count = std::min(all, most);
        const auto table = m_source.Read(m_resources + offset + kFolderHeaderSize, count * kFolderEntrySize);
        std::vector<Entry> entries;
        for (std::uint64_t i = 0; table && i < count; ++i) {
            const std::uint32_t name = *DwordAt(*table, i * kFolderEntrySize);
            const std::uint32_t place = *DwordAt(*table, i * kFolderEntrySize + 4);
            entries.push_back({(name & kHighBit) != 0, name & ~kHighBit, (place & kHighBit) != 0, place & ~kHighBit});
        }
        return entries;
    }

    /// Where the data of an id's first language stands.
    std::optional<ImagePlace> DataOf(const Entry& id) {
        Entry data = id;
        if (data.isFolder) {
            const std::vector<Entry> languages = ReadFolder(data.offset, 1);
            if (languages.empty()) {
                return std::nullopt;
            }
            data = languages.front();
        }
        const auto entry = data.isFolder ? std::nullopt : m_source.Read(m_resources + data.offset, kDataEntrySize);
        if (!entry) {
            return std::nullopt;
        }
        const std::uint32_t size = *DwordAt(*entry, 4);
        const std::optional<std::uint64_t> offset = OffsetOf(*DwordAt(*entry, 0), size);
        return offset ? std::optional(ImagePlace{*offset, size}) : std::nullopt;
    }

    std::vector<ImagePlace> Images(size_t index) override {
        const std::optional<ImagePlace> place = DataOf(m_groups[index]);
        const auto header =
            place && place->size >= kGroupHeaderSize ? m_source.Read(place->offset, kGroupHeaderSize) : std::nullopt;
        if (!header) {
            return {};
        }
        const std::uint64_t count = std::min<std::uint64_t>(*WordAt(*header, 4), kMaxImages);
        const auto table = kGroupHeaderSize + count * kGroupEntrySize <= place->size
                               ? m_source.Read(place->offset + kGroupHeaderSize, count * kGroupEntrySize)
                               : std::nullopt;
        std::vector<ImagePlace> places;
        for (std::uint64_t i = 0; table && i < count; ++i) {
            const std::uint16_t id = *WordAt(*table, i * kGroupEntrySize + 12);
            const auto icon = std::find_if(m_icons.begin(), m_icons.end(),
                                           [id](const Entry& entry) { return !entry.named && entry.id == id; });
            if (icon == m_icons.end()) {
                continue;
            }
            if (const std::optional<ImagePlace> image = DataOf(*icon)) {
                places.push_back(*image);
            }
        }
        return places;
    }

    std::vector<Section> m_sections;
    std::uint64_t m_resources = 0;
    std::vector<Entry> m_groups;
    std::vector<Entry> m_icons;
};

}  // namespace

std::unique_ptr<IconFile> OpenProgram(ByteSource& source) {
    auto program = std::make_unique<Program>(source);
    return program->Read() ? std::move(program) : nullptr;
}

}  // namespace kvtshell
