// Similar characters: what Windows writes for characters that a code page lacks.
//
// A row is a run: its first character, and what stands for it and for those that follow it. kAscii serves every page;
// kWestern goes before it in the Windows and DOS pages, as far as they have the character that it names.

#include <algorithm>
#include <iterator>
#include <span>

#include "code_page_names.h"

namespace {

struct Run {
    WCHAR first;
    std::u16string_view similar;
};

// clang-format off
constexpr Run kAscii[] = {
    {0x00A0, u" !c"},
    {0x00A4, u"$Y|"},
    {0x00A9, u"Ca<"},
    {0x00AD, u"-R"},
    {0x00B2, u"23"},
    {0x00B7, u".,1o>"},
    {0x00C0, u"AAAAAAACEEEEIIIIDNOOOOO"},
    {0x00D8, u"OUUUUY"},
    {0x00E0, u"aaaaaaaceeeeiiii"},
    {0x00F1, u"nooooo"},
    {0x00F8, u"ouuuuy"},
    {0x00FF, u"yAaAaAaCcCcCcCcDdDdEeEeEeEeEeGgGgGgGgHhHhIiIiIiIiIi"},
    {0x0134, u"JjKk"},
    {0x0139, u"LlLlLl"},
    {0x0141, u"LlNnNnNn"},
    {0x014C, u"OoOoOoOoRrRrRrSsSsSsSsTtTtTtUuUuUuUuUuUuWwYyYZzZzZz"},
    {0x0180, u"b"},
    {0x0189, u"D"},
    {0x0191, u"Ff"},
    {0x0197, u"I"},
    {0x019A, u"l"},
    {0x019F, u"OOo"},
    {0x01AB, u"t"},
    {0x01AE, u"TUu"},
    {0x01B6, u"z"},
    {0x01CD, u"AaIiOoUuUuUuUuUu"},
    {0x01DE, u"Aa"},
    {0x01E4, u"GgGgKkOoOo"},
    {0x01F0, u"j"},
    {0x0261, u"g"},
    {0x02B9, u"'\""},
    {0x02BC, u"'"},
    {0x02C4, u"^"},
    {0x02C6, u"^"},
    {0x02C8, u"'"},
    {0x02CB, u"`"},
    {0x02CD, u"_"},
    {0x02DC, u"~"},
    {0x0300, u"`"},
    {0x0302, u"^~"},
    {0x030E, u"\""},
    {0x0331, u"__"},
    {0x2000, u"       "},
    {0x2010, u"--"},
    {0x2013, u"--"},
    {0x2018, u"'',"},
    {0x201C, u"\"\"\""},
    {0x2022, u"."},
    {0x2026, u"."},
    {0x2032, u"'"},
    {0x2035, u"`"},
    {0x2039, u"<>"},
    {0x2122, u"T"},
    {0xFF01, u"!\"#$%&'()*+,-./0123456789:;<=>"},
    {0xFF20, u"@ABCDEFGHIJKLMNOPQRSTUVWXYZ[\\]^_`abcdefghijklmnopqrstuvwxyz{|}~"},
};

constexpr Run kWestern[] = {
    {0x0110, u"\u00D0"},
    {0x0189, u"\u00D0"},
    {0x0191, u"\u0192"},
    {0x01C0, u"|"},
    {0x01C3, u"!"},
    {0x02C9, u"\u00AF\u00B4"},
    {0x02DA, u"\u00B0"},
    {0x0301, u"\u00B4"},
    {0x0304, u"\u00AF\u00AF"},
    {0x0308, u"\u00A8"},
    {0x030A, u"\u00B0"},
    {0x0327, u"\u00B8"},
    {0x037E, u";"},
    {0x0393, u"G"},
    {0x0398, u"T"},
    {0x03A3, u"S"},
    {0x03A6, u"F"},
    {0x03A9, u"O"},
    {0x03B1, u"a\u00DF"},
    {0x03B4, u"de"},
    {0x03BC, u"\u00B5"},
    {0x03C0, u"p"},
    {0x03C3, u"st"},
    {0x03C6, u"f"},
    {0x04BB, u"h"},
    {0x0589, u":"},
    {0x066A, u"%"},
    {0x2017, u"="},
    {0x2024, u"\u00B7"},
    {0x2044, u"/"},
    {0x2070, u"\u00B0"},
    {0x2074, u"45678"},
    {0x207F, u"n0123456789"},
    {0x20A1, u"\u00A2"},
    {0x20A4, u"\u00A3"},
    {0x20A7, u"P"},
    {0x2102, u"C"},
    {0x2107, u"E"},
    {0x210A, u"gHHHh"},
    {0x2110, u"IILl"},
    {0x2115, u"N"},
    {0x2118, u"PPQRRR"},
    {0x2124, u"Z"},
    {0x2128, u"Z"},
    {0x212A, u"K\u00C5BCeeEF"},
    {0x2133, u"Mo"},
    {0x2205, u"\u00D8"},
    {0x2212, u"-\u00B1"},
    {0x2215, u"/\\*\u00B0\u00B7v"},
    {0x221E, u"8"},
    {0x2223, u"|"},
    {0x2229, u"n"},
    {0x2236, u":"},
    {0x223C, u"~"},
    {0x2248, u"\u02DC"},
    {0x2261, u"="},
    {0x2264, u"=="},
    {0x226A, u"\u00AB\u00BB"},
    {0x22C5, u"\u00B7"},
    {0x2302, u"\u00A6^"},
    {0x2310, u"\u00AC"},
    {0x2320, u"()"},
    {0x2329, u"<>"},
    {0x2500, u"-"},
    {0x2502, u"\u00A6"},
    {0x250C, u"+"},
    {0x2510, u"+"},
    {0x2514, u"+"},
    {0x2518, u"+"},
    {0x251C, u"+"},
    {0x2524, u"\u00A6"},
    {0x252C, u"-"},
    {0x2534, u"-"},
    {0x253C, u"+"},
    {0x2550, u"-\u00A6++++++++++++\u00A6\u00A6\u00A6\u00A6\u00A6\u00A6------+++"},
    {0x2580, u"\u00AF"},
    {0x2584, u"_"},
    {0x2588, u"\u00A6"},
    {0x258C, u"\u00A6"},
    {0x2590, u"\u00A6\u00A6\u00A6\u00A6"},
    {0x25A0, u"\u00A6"},
    {0x263C, u"\u00A4"},
    {0x2758, u"|"},
    {0x3000, u" "},
    {0x3008, u"<>\u00AB\u00BB"},
    {0x301A, u"[]"},
    {0x30FB, u"\u00B7"},
};
// clang-format on

WCHAR Find(std::span<const Run> runs, WCHAR unit) {
    const auto after =
        std::upper_bound(runs.begin(), runs.end(), unit, [](WCHAR value, const Run& run) { return value < run.first; });
    if (after == runs.begin()) {
        return 0;
    }
    const Run& run = *std::prev(after);
    const size_t at = static_cast<size_t>(unit - run.first);
    return at < run.similar.size() ? run.similar[at] : u'\0';
}

}  // namespace

WCHAR kvtwin::SimilarInAscii(WCHAR unit) {
    return Find(kAscii, unit);
}

WCHAR kvtwin::SimilarInWestern(WCHAR unit) {
    return Find(kWestern, unit);
}
