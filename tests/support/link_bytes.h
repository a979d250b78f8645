#pragma once

// Shell link files made byte by byte, whole or as wrong as a test wants them.

#include <cstdint>
#include <optional>
#include <string>

namespace kvttest {

/// What a link is made of; what is not given is left out. Texts are UTF-16.
struct LinkParts {
    /// The block of paths. Texts in the ANSI code page are bytes.
    struct Info {
        std::optional<std::string> local;
        std::optional<std::string> share;
        std::string suffix;
        std::optional<std::u16string> wideLocal;
        std::optional<std::u16string> wideShare;
        std::u16string wideSuffix;

        bool IsWide() const { return wideLocal || !wideSuffix.empty(); }
    };

    std::uint32_t moreFlags = 0;
    bool unicode = true;  ///< The strings below, as they are stored.
    std::optional<std::string> itemList;
    std::optional<Info> info;
    std::optional<std::u16string> name;
    std::optional<std::u16string> relative;
    std::optional<std::u16string> folder;
    std::optional<std::u16string> arguments;
    std::optional<std::u16string> icon;
    std::optional<std::u16string> environment;
};

/// The bytes of the link file.
std::string LinkBytes(const LinkParts& parts);

/// A link to a local path of ASCII characters.
std::string LinkTo(const std::string& path);

}  // namespace kvttest
