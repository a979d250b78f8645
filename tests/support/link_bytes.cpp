#include "tests/support/link_bytes.h"

#include "tests/support/little_endian.h"

namespace kvttest {

namespace {

/// The low halves of the units: enough for ASCII.
std::string Narrow(const std::u16string& text) {
    std::string bytes;
    for (const char16_t unit : text) {
        bytes += static_cast<char>(unit);
    }
    return bytes;
}

std::string Counted(const std::u16string& text, bool unicode) {
    return Word(static_cast<std::uint16_t>(text.size())) + (unicode ? Utf16(text) : Narrow(text));
}

std::string Terminated(const std::string& text) {
    return text + '\0';
}

std::string Terminated16(const std::u16string& text) {
    return Utf16(text) + std::string(2, '\0');
}

std::uint32_t Length(const std::string& bytes) {
    return static_cast<std::uint32_t>(bytes.size());
}

std::string ShareBlock(const LinkParts::Info& info) {
    const std::uint32_t header = info.wideShare ? 0x1C : 0x14;
    const std::string name = Terminated(info.share.value_or(""));
    std::string rest = name;
    std::string more;
    if (info.wideShare) {
        more = Dword(header + Length(rest)) + Dword(0);
        rest += Terminated16(*info.wideShare);
    }
    // Size, no device, the name, no device's name, a provider of the system's own.
    return Dword(header + Length(rest)) + Dword(2) + Dword(header) + Dword(0) + Dword(0x00020000) + more + rest;
}

std::string InfoBlock(const LinkParts::Info& info) {
    const std::uint32_t header = info.IsWide() ? 0x24 : 0x1C;
    // A fixed disk with a serial number and an empty label.
    const std::string volume = Dword(0x11) + Dword(3) + Dword(0x12345678) + Dword(0x10) + '\0';
    std::string rest;
    const auto add = [&rest, header](const std::string& part) {
        const std::uint32_t offset = header + Length(rest);
        rest += part;
        return offset;
    };
    std::uint32_t volumeAt = 0, localAt = 0, shareAt = 0, wideLocalAt = 0, wideSuffixAt = 0;
    if (info.local || info.wideLocal) {
        volumeAt = add(volume);
        localAt = add(Terminated(info.local.value_or("")));
    }
    if (info.share || info.wideShare) {
        shareAt = add(ShareBlock(info));
    }
    const std::uint32_t suffixAt = add(Terminated(info.suffix));
    std::string wide;
    if (info.IsWide()) {
        if (info.wideLocal) {
            wideLocalAt = add(Terminated16(*info.wideLocal));
        }
        wideSuffixAt = add(Terminated16(info.wideSuffix));
        wide = Dword(wideLocalAt) + Dword(wideSuffixAt);
    }
    const std::uint32_t flags = (volumeAt != 0 ? 1U : 0U) | (shareAt != 0 ? 2U : 0U);
    return Dword(header + Length(rest)) + Dword(header) + Dword(flags) + Dword(volumeAt) + Dword(localAt) +
           Dword(shareAt) + Dword(suffixAt) + wide + rest;
}

std::string EnvironmentBlock(const std::u16string& target) {
    std::string narrow = Narrow(target);
    narrow.resize(260);
    std::string wide = Utf16(target);
    wide.resize(520);
    return Dword(0x314) + Dword(0xA0000001) + narrow + wide;
}

}  // namespace

std::string LinkBytes(const LinkParts& parts) {
    std::uint32_t flags = parts.moreFlags | (parts.unicode ? 0x80U : 0U);
    std::string rest;
    if (parts.itemList) {
        flags |= 1;
        rest += Word(static_cast<std::uint16_t>(parts.itemList->size())) + *parts.itemList;
    }
    if (parts.info) {
        flags |= 2;
        rest += InfoBlock(*parts.info);
    }
    std::uint32_t flag = 4;
    for (const auto* text : {&parts.name, &parts.relative, &parts.folder, &parts.arguments, &parts.icon}) {
        if (*text) {
            flags |= flag;
            rest += Counted(**text, parts.unicode);
        }
        flag *= 2;
    }
    if (parts.environment) {
        flags |= 0x200;
        rest += EnvironmentBlock(*parts.environment);
    }
    const std::string linkClass("\x01\x14\x02\0\0\0\0\0\xC0\0\0\0\0\0\0\x46", 16);
    // Flags, attributes, three times, size, icon, how it is shown, hot key and what is reserved.
    return Dword(0x4C) + linkClass + Dword(flags) + Dword(0x20) + std::string(24, '\0') + Dword(0) + Dword(0) +
           Dword(1) + std::string(12, '\0') + rest + Dword(0);
}

std::string LinkTo(const std::string& path) {
    LinkParts parts;
    parts.info.emplace();
    parts.info->local = path;
    return LinkBytes(parts);
}

}  // namespace kvttest
