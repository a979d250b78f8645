// The reader of shell links: header, item list (skipped), LinkInfo, strings, extra blocks, in this order.
//
// Invariant: no offset or size of the file is used before it was checked against the block that it must lie in.

#include "link_file.h"

#include <algorithm>
#include <array>
#include <climits>

#include "platform/win32/winapi.h"

namespace kvtshell {

namespace {

constexpr std::uint32_t kHeaderSize = 0x4C;
constexpr std::array<std::uint8_t, 16> kLinkClass = {0x01, 0x14, 0x02, 0, 0, 0, 0, 0, 0xC0, 0, 0, 0, 0, 0, 0, 0x46};

enum LinkFlag : std::uint32_t {
    HasItemList = 0x001,
    HasLinkInfo = 0x002,
    HasName = 0x004,
    HasRelativePath = 0x008,
    HasWorkingFolder = 0x010,
    HasArguments = 0x020,
    HasIconLocation = 0x040,
    IsUnicode = 0x080,
    ForceNoLinkInfo = 0x100,
};

enum LinkInfoFlag : std::uint32_t { HasLocalPath = 1, HasNetworkPath = 2 };

constexpr std::uint32_t kLinkInfoHeader = 0x1C;
constexpr std::uint32_t kLinkInfoHeaderWithUnicode = 0x24;
constexpr std::uint32_t kNetworkHeaderWithUnicode = 0x14;
constexpr std::uint32_t kEnvironmentBlock = 0xA0000001;
constexpr size_t kEnvironmentCharacters = 260;

std::u16string FromAnsi(Bytes bytes) {
    if (bytes.empty() || bytes.size() > INT_MAX) {
        return {};
    }
    const auto* const text = reinterpret_cast<const char*>(bytes.data());
    const int size = static_cast<int>(bytes.size());
    const int length = ::MultiByteToWideChar(CP_ACP, 0, text, size, nullptr, 0);
    std::u16string wide(static_cast<size_t>(length), u'\0');
    ::MultiByteToWideChar(CP_ACP, 0, text, size, wide.data(), length);
    return wide;
}

std::u16string FromUnicode(Bytes bytes) {
    std::u16string text(bytes.size() / 2, u'\0');
    for (size_t i = 0; i < text.size(); ++i) {
        text[i] = static_cast<char16_t>(bytes[2 * i] | bytes[2 * i + 1] << 8);
    }
    return text;
}

/// The text at an offset up to its NUL, which must lie within the block.
std::optional<std::u16string> TextAt(Bytes block, std::uint32_t offset, bool unicode) {
    const std::optional<Bytes> rest = From(block, offset);
    if (!rest) {
        return std::nullopt;
    }
    const size_t width = unicode ? 2 : 1;
    for (size_t end = 0; end + width <= rest->size(); end += width) {
        if ((*rest)[end] == 0 && (!unicode || (*rest)[end + 1] == 0)) {
            return unicode ? FromUnicode(rest->first(end)) : FromAnsi(rest->first(end));
        }
    }
    return std::nullopt;
}

/// The text whose offset stands in the block's header: the Unicode form where the header has a place for it and it is
/// not empty, else the ANSI form.
std::optional<std::u16string> NamedText(Bytes block, std::uint64_t ansiField, bool unicodeHeader,
                                        std::uint64_t unicodeField) {
    if (unicodeHeader) {
        const std::uint32_t offset = DwordAt(block, unicodeField).value_or(0);
        if (offset != 0) {
            std::optional<std::u16string> text = TextAt(block, offset, true);
            if (!text || !text->empty()) {
                return text;
            }
        }
    }
    const std::uint32_t offset = DwordAt(block, ansiField).value_or(0);
    return offset == 0 ? std::nullopt : TextAt(block, offset, false);
}

/// The share's name in a CommonNetworkRelativeLink.
std::optional<std::u16string> ShareName(Bytes info, std::uint32_t offset) {
    const std::optional<Bytes> rest = From(info, offset);
    const std::optional<std::uint32_t> size = rest ? DwordAt(*rest, 0) : std::nullopt;
    const std::optional<Bytes> block = size ? PartOf(*rest, 0, *size) : std::nullopt;
    if (!block) {
        return std::nullopt;
    }
    const std::uint32_t nameOffset = DwordAt(*block, 8).value_or(0);
    return NamedText(*block, 8, nameOffset > kNetworkHeaderWithUnicode, 0x14);
}

std::u16string Joined(std::u16string folder, const std::u16string& rest) {
    if (!folder.empty() && folder.back() != u'\\' && !rest.empty() && rest.front() != u'\\') {
        folder += u'\\';
    }
    return folder + rest;
}

void ReadLinkInfo(Bytes info, LinkTargets& targets) {
    const std::optional<std::uint32_t> headerSize = DwordAt(info, 4);
    const std::optional<std::uint32_t> flags = DwordAt(info, 8);
    if (!headerSize || !flags || *headerSize < kLinkInfoHeader || *headerSize > info.size()) {
        return;
    }
    const bool unicode = *headerSize >= kLinkInfoHeaderWithUnicode;
    const std::optional<std::u16string> suffix = NamedText(info, 0x18, unicode, 0x20);
    if (!suffix) {
        return;
    }
    if ((*flags & HasLocalPath) != 0) {
        const std::optional<std::u16string> base = NamedText(info, 0x10, unicode, 0x1C);
        if (base && !base->empty()) {
            // The base ends in its own separator where one belongs between the two.
            targets.local = *base + *suffix;
        }
    }
    if ((*flags & HasNetworkPath) != 0) {
        const std::optional<std::u16string> share = ShareName(info, DwordAt(info, 0x14).value_or(0));
        if (share && !share->empty()) {
            targets.network = Joined(*share, *suffix);
        }
    }
}

/// Takes blocks one after another off the front of a file.
class Front {
public:
    explicit Front(Bytes bytes) : m_rest(bytes) {}

    Bytes Rest() const { return m_rest; }

    std::optional<Bytes> Take(std::uint64_t count) {
        const std::optional<Bytes> part = PartOf(m_rest, 0, count);
        if (part) {
            m_rest = m_rest.subspan(part->size());
        }
        return part;
    }

    /// A text with its number of characters before it.
    std::optional<std::u16string> TakeCounted(bool unicode) {
        const std::optional<std::uint16_t> count = WordAt(m_rest, 0);
        if (!count) {
            return std::nullopt;
        }
        Take(2);
        const std::optional<Bytes> text = Take(std::uint64_t{*count} * (unicode ? 2 : 1));
        if (!text) {
            return std::nullopt;
        }
        return unicode ? FromUnicode(*text) : FromAnsi(*text);
    }

private:
    Bytes m_rest;
};

/// The target with variables, when one of the extra blocks holds one. A block that is cut ends the list.
std::u16string EnvironmentTarget(Front blocks) {
    for (;;) {
        const std::optional<std::uint32_t> size = DwordAt(blocks.Rest(), 0);
        if (!size || *size < 8) {
            return {};
        }
        const std::optional<Bytes> block = blocks.Take(*size);
        if (!block) {
            return {};
        }
        if (DwordAt(*block, 4) != kEnvironmentBlock) {
            continue;
        }
        const std::optional<Bytes> ansi = PartOf(*block, 8, kEnvironmentCharacters);
        const std::optional<Bytes> wide = PartOf(*block, 8 + kEnvironmentCharacters, kEnvironmentCharacters * 2);
        std::optional<std::u16string> text = wide ? TextAt(*wide, 0, true) : std::nullopt;
        if ((!text || text->empty()) && ansi) {
            text = TextAt(*ansi, 0, false);
        }
        return text.value_or(std::u16string());
    }
}

}  // namespace

std::optional<LinkTargets> ParseLink(Bytes bytes) {
    const std::optional<Bytes> linkClass = PartOf(bytes, 4, kLinkClass.size());
    const std::optional<std::uint32_t> flags = DwordAt(bytes, 0x14);
    if (DwordAt(bytes, 0) != kHeaderSize || !linkClass || !flags ||
        !std::equal(linkClass->begin(), linkClass->end(), kLinkClass.begin())) {
        return std::nullopt;
    }
    Front front(bytes);
    LinkTargets targets;
    if (!front.Take(kHeaderSize)) {
        return std::nullopt;
    }
    if ((*flags & HasItemList) != 0) {
        const std::optional<std::uint16_t> size = WordAt(front.Rest(), 0);
        if (!size || !front.Take(std::uint64_t{2} + *size)) {
            return std::nullopt;
        }
    }
    if ((*flags & HasLinkInfo) != 0) {
        const std::optional<std::uint32_t> size = DwordAt(front.Rest(), 0);
        const std::optional<Bytes> info = size && *size >= 4 ? front.Take(*size) : std::nullopt;
        if (!info) {
            return std::nullopt;
        }
        if ((*flags & ForceNoLinkInfo) == 0) {
            ReadLinkInfo(*info, targets);
        }
    }
    for (const LinkFlag field : {HasName, HasRelativePath, HasWorkingFolder, HasArguments, HasIconLocation}) {
        if ((*flags & field) == 0) {
            continue;
        }
        std::optional<std::u16string> text = front.TakeCounted((*flags & IsUnicode) != 0);
        if (!text) {
            return std::nullopt;
        }
        if (field == HasRelativePath) {
            // Some writers count a NUL at the end.
            targets.relative = text->substr(0, text->find(u'\0'));
        }
    }
    targets.environment = EnvironmentTarget(front);
    return targets;
}

}  // namespace kvtshell
