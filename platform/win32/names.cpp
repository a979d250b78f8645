// Names of files as text: spelling, case, what Windows refuses, and patterns.
//
// Invariant: NameToBytes(NameFromBytes(b)) == b for all bytes b, so that what a listing gives out can be opened.

#include "names.h"

#include <unicode/uchar.h>

#include <algorithm>
#include <vector>

namespace {

constexpr bool IsHigh(WCHAR unit) {
    return (unit & 0xFC00) == 0xD800;
}
constexpr bool IsLow(WCHAR unit) {
    return (unit & 0xFC00) == 0xDC00;
}

constexpr WCHAR kByteBase = 0xDC00;  // U+DC00 + byte stands for a byte that is not part of the text

constexpr bool IsByteUnit(WCHAR unit) {
    return (unit >= 0xDC80 && unit <= 0xDCFF) || unit == kByteBase + '\\';
}

void AppendUtf8(std::string& bytes, char32_t code) {
    const auto put = [&bytes](char32_t value) { bytes += static_cast<char>(static_cast<unsigned char>(value)); };
    if (code < 0x80) {
        put(code);
    } else if (code < 0x800) {
        put(0xC0 | code >> 6);
        put(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
        put(0xE0 | code >> 12);
        put(0x80 | (code >> 6 & 0x3F));
        put(0x80 | (code & 0x3F));
    } else {
        put(0xF0 | code >> 18);
        put(0x80 | (code >> 12 & 0x3F));
        put(0x80 | (code >> 6 & 0x3F));
        put(0x80 | (code & 0x3F));
    }
}

// The character at the start of the bytes in shortest form (surrogates included); 0 length when there is none.
size_t Decode(std::string_view bytes, char32_t& code) {
    const auto byte = [&bytes](size_t i) { return static_cast<unsigned char>(bytes[i]); };
    const unsigned char lead = byte(0);
    const size_t length = lead < 0x80 ? 1 : lead < 0xC2 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF5 ? 4 : 0;
    if (length == 0 || length > bytes.size()) {
        return 0;
    }
    constexpr unsigned char kLeadBits[] = {0, 0x7F, 0x1F, 0x0F, 0x07};
    code = lead & kLeadBits[length];
    for (size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80) {
            return 0;
        }
        code = code << 6 | (byte(i) & 0x3F);
    }
    const bool shortest = length < 3 || code >= (length == 3 ? 0x800u : 0x10000u);
    return shortest && code <= 0x10FFFF ? length : 0;
}

}  // namespace

namespace kvtwin {

std::string NameToBytes(std::u16string_view name) {
    std::string bytes;
    bytes.reserve(name.size());
    for (size_t i = 0; i < name.size(); ++i) {
        const WCHAR unit = name[i];
        if (IsHigh(unit) && i + 1 < name.size() && IsLow(name[i + 1])) {
            ++i;
            AppendUtf8(bytes, 0x10000u + ((unit & 0x3FFu) << 10) + (name[i] & 0x3FFu));
        } else if (IsByteUnit(unit)) {
            bytes += static_cast<char>(unit & 0xFF);
        } else {
            AppendUtf8(bytes, unit);
        }
    }
    return bytes;
}

std::u16string NameFromBytes(std::string_view bytes) {
    const auto plain = std::find_if(bytes.begin(), bytes.end(),
                                    [](char byte) { return static_cast<unsigned char>(byte) >= 0x80 || byte == '\\'; });
    std::u16string name(bytes.begin(), plain);
    bytes.remove_prefix(name.size());
    name.reserve(name.size() + bytes.size());
    size_t lone_highs = 0;  // at the end of the name
    while (!bytes.empty()) {
        char32_t code = 0;
        size_t length = Decode(bytes, code);
        const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
        // A surrogate's own three bytes are kept as such only where the unit spells them again.
        if (length == 3 && surrogate) {
            const WCHAR unit = static_cast<WCHAR>(code);
            if (IsByteUnit(unit) || (IsLow(unit) && lone_highs != 0)) {
                length = 0;
            }
        }
        if (length == 0 || bytes[0] == '\\') {
            // A byte unit after a lone high surrogate would make a pair: such surrogates are spelled as bytes too.
            const std::u16string highs = name.substr(name.size() - lone_highs);
            name.resize(name.size() - lone_highs);
            for (const WCHAR high : highs) {
                name += static_cast<WCHAR>(kByteBase + 0xED);
                name += static_cast<WCHAR>(kByteBase + (0x80 | (high >> 6 & 0x3F)));
                name += static_cast<WCHAR>(kByteBase + (0x80 | (high & 0x3F)));
            }
            name += static_cast<WCHAR>(kByteBase + static_cast<unsigned char>(bytes[0]));
            bytes.remove_prefix(1);
            lone_highs = 0;
            continue;
        }
        if (code >= 0x10000) {
            name += static_cast<WCHAR>(0xD7C0 + (code >> 10));
            name += static_cast<WCHAR>(0xDC00 + (code & 0x3FF));
        } else {
            name += static_cast<WCHAR>(code);
        }
        lone_highs = surrogate && IsHigh(static_cast<WCHAR>(code)) ? lone_highs + 1 : 0;
        bytes.remove_prefix(length);
    }
    return name;
}

WCHAR UpperUnit(WCHAR unit) {
    if (unit < 0x80) {
        return unit >= u'a' && unit <= u'z' ? static_cast<WCHAR>(unit - 32) : unit;
    }
    const UChar32 upper = u_toupper(unit);
    return upper <= 0xFFFF ? static_cast<WCHAR>(upper) : unit;
}

std::u16string UpperName(std::u16string_view name) {
    std::u16string upper(name);
    std::transform(upper.begin(), upper.end(), upper.begin(), UpperUnit);
    return upper;
}

DWORD CheckName(std::u16string_view name) {
    constexpr std::u16string_view kRefused = u"<>:\"|?*";
    if (std::any_of(name.begin(), name.end(),
                    [&](WCHAR unit) { return unit < 0x20 || kRefused.find(unit) != kRefused.npos; })) {
        return ERROR_INVALID_NAME;
    }
    return name.size() > 255 ? ERROR_FILENAME_EXCED_RANGE : ERROR_SUCCESS;
}

std::u16string_view TrimName(std::u16string_view name) {
    const size_t last = name.find_last_not_of(u". ");
    return name.substr(0, last == name.npos ? 0 : last + 1);
}

bool IsDeviceName(std::u16string_view name) {
    const std::u16string base = UpperName(TrimName(name.substr(0, name.find(u'.'))));
    if (base == u"CON" || base == u"PRN" || base == u"AUX" || base == u"NUL") {
        return true;
    }
    return base.size() == 4 && (base.starts_with(u"COM") || base.starts_with(u"LPT")) && base[3] >= u'1' &&
           base[3] <= u'9';
}

bool MatchesPattern(std::u16string_view name, std::u16string_view pattern) {
    if (pattern == u"*.*") {
        return true;
    }
    const bool wild = pattern.find_first_of(u"*?") != pattern.npos;
    if (wild && pattern.ends_with(u'.')) {
        const bool dots_only = name == u"." || name == u"..";
        return (dots_only || name.find(u'.') == name.npos) &&
               MatchesPattern(name, pattern.substr(0, pattern.size() - 1));
    }
    // reached[p]: the name up to here matches the first p characters of the pattern.
    std::vector<char> reached(pattern.size() + 1, 0);
    const auto pass_over = [&](size_t from, bool at_dot, bool at_end) {
        for (size_t p = from; p < pattern.size(); ++p) {
            const WCHAR c = pattern[p];
            const bool dot_before_wild =
                c == u'.' && p + 1 < pattern.size() && (pattern[p + 1] == u'*' || pattern[p + 1] == u'?');
            if (reached[p] && (c == u'*' || (c == u'?' && (at_dot || at_end)) || (dot_before_wild && at_end))) {
                reached[p + 1] = 1;
            }
        }
    };
    reached[0] = 1;
    for (const WCHAR unit : name) {
        pass_over(0, unit == u'.', false);
        for (size_t p = pattern.size() + 1; p-- > 0;) {
            const bool stays = reached[p] && p < pattern.size() && pattern[p] == u'*';
            const bool steps =
                p > 0 && reached[p - 1] && (pattern[p - 1] == unit || (pattern[p - 1] == u'?' && unit != u'.'));
            reached[p] = stays || steps;
        }
    }
    pass_over(0, false, true);
    return reached[pattern.size()] != 0;
}

}  // namespace kvtwin
