// The reader of link files: each field that may name the target, and bytes that are damaged in every way.

#include "platform/shell/link_file.h"

#include <random>

#include "kvtfile/FileUtil.h"
#include "platform/win32/environment.h"
#include "tests/support/link_bytes.h"
#include "tests/support/little_endian.h"
#include "tests/support/support.h"

namespace {

using kvtshell::LinkTargets;
using kvttest::Dword;
using kvttest::LinkBytes;
using kvttest::LinkParts;
using kvttest::Utf8;

std::optional<LinkTargets> Parse(const std::string& bytes) {
    return kvtshell::ParseLink({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
}

/// What ExpandShortcut makes of a link of these parts.
std::string Expanded(const kvttest::TestFolder& folder, const LinkParts& parts) {
    CString path = folder.Path(_T("a.lnk"));
    kvttest::WriteBytes(path, LinkBytes(parts));
    return Utf8(kvtfile::ExpandShortcut(path));
}

LinkParts WithInfo(const LinkParts::Info& info) {
    LinkParts parts;
    parts.info = info;
    return parts;
}

TEST(ShellLinkFile, UnicodeFieldsGoBeforeAnsiOnes) {
    LinkParts::Info info;
    info.local = "C:\\???\\";
    info.wideLocal = u"C:\\图纸\\";
    info.suffix = "?.dwg";
    info.wideSuffix = u"房.dwg";
    EXPECT_EQ(Parse(LinkBytes(WithInfo(info)))->local, u"C:\\图纸\\房.dwg");
    info = {};
    info.share = "\\\\server\\??";
    info.wideShare = u"\\\\server\\图纸";
    info.suffix = "house.dwg";
    EXPECT_EQ(Parse(LinkBytes(WithInfo(info)))->network, u"\\\\server\\图纸\\house.dwg");
}

TEST(ShellLinkFile, EmptyUnicodeFieldLeavesTheAnsiOne) {
    LinkParts::Info info;
    info.local = "C:\\a";
    info.wideLocal = u"";
    EXPECT_EQ(Parse(LinkBytes(WithInfo(info)))->local, u"C:\\a");
}

TEST(ShellLinkFile, AnsiFieldsAreInTheProcessCodePage) {
    LinkParts::Info info;
    info.local = "C:\\caf\xE9";
    ASSERT_EQ(::GetACP(), 1252u);
    EXPECT_EQ(Parse(LinkBytes(WithInfo(info)))->local, u"C:\\café");
}

TEST(ShellLinkFile, NetworkFormIsPreferred) {
    kvttest::TestFolder folder;
    LinkParts::Info info;
    info.local = "Z:\\";
    info.share = "\\\\server\\plans";
    info.suffix = "house.dwg";
    EXPECT_EQ(Expanded(folder, WithInfo(info)), "\\\\server\\plans\\house.dwg");
    info.local.reset();
    EXPECT_EQ(Expanded(folder, WithInfo(info)), "\\\\server\\plans\\house.dwg");
    info.local = "Z:\\";
    info.share = "";
    EXPECT_EQ(Expanded(folder, WithInfo(info)), "Z:\\house.dwg");
}

TEST(ShellLinkFile, ShareAndRestAreJoinedByOneSeparator) {
    LinkParts::Info info;
    info.share = "\\\\server\\plans\\";
    info.suffix = "house.dwg";
    EXPECT_EQ(Parse(LinkBytes(WithInfo(info)))->network, u"\\\\server\\plans\\house.dwg");
    info.suffix = "";
    info.share = "\\\\server\\plans";
    EXPECT_EQ(Parse(LinkBytes(WithInfo(info)))->network, u"\\\\server\\plans");
}

TEST(ShellLinkFile, EnvironmentBlockComesAfterLinkInfo) {
    kvttest::TestFolder folder;
    LinkParts parts;
    parts.environment = u"%SystemRoot%\\notepad.exe";
    EXPECT_EQ(Parse(LinkBytes(parts))->environment, u"%SystemRoot%\\notepad.exe");
    EXPECT_EQ(Expanded(folder, parts), "C:\\windows\\notepad.exe");
    parts.info.emplace();
    parts.info->local = "C:\\a";
    EXPECT_EQ(Expanded(folder, parts), "C:\\a");
}

TEST(ShellLinkFile, RelativePathIsTheLastResort) {
    kvttest::TestFolder folder;
    LinkParts parts;
    for (const bool unicode : {true, false}) {
        parts.unicode = unicode;
        parts.relative = u".\\plans\\house.dwg";
        EXPECT_EQ(Expanded(folder, parts), Utf8(folder.Path(_T("plans\\house.dwg"))));
    }
    parts.relative = u"..\\house.dwg";
    EXPECT_EQ(Expanded(folder, parts), Utf8(kvtfile::GetUpPath(folder.Path()) + _T("house.dwg")));
    parts.environment = u"%SystemRoot%\\notepad.exe";
    EXPECT_EQ(Expanded(folder, parts), "C:\\windows\\notepad.exe");
}

TEST(ShellLinkFile, ItemListIsSkipped) {
    LinkParts parts = WithInfo({});
    parts.info->local = "C:\\a";
    parts.itemList = std::string("\x14\0\x1F\x50", 4) + std::string(16, '\xE0') + std::string(2, '\0');
    EXPECT_EQ(Parse(LinkBytes(parts))->local, u"C:\\a");
}

TEST(ShellLinkFile, LinkInfoThatIsNotToBeUsedIsNot) {
    LinkParts parts = WithInfo({});
    parts.info->local = "C:\\a";
    parts.relative = u"b";
    parts.moreFlags = 0x100;
    const auto targets = Parse(LinkBytes(parts));
    EXPECT_EQ(targets->local, u"");
    EXPECT_EQ(targets->relative, u"b");
}

TEST(ShellLinkFile, NulAtTheEndOfAStringIsNoPartOfIt) {
    LinkParts parts;
    parts.relative = std::u16string(u"b\0", 2);
    EXPECT_EQ(Parse(LinkBytes(parts))->relative, u"b");
}

TEST(ShellLinkFile, LinkInfoThatContradictsItselfCountsAsNone) {
    LinkParts parts = WithInfo({});
    parts.info->local = "C:\\a";
    parts.relative = u"b";
    const std::string good = LinkBytes(parts);
    constexpr size_t kInfo = 0x4C;
    // Header size, offsets of the path and of the rest.
    for (const auto& [field, value] : {std::pair(4, 0x10000U), {4, 8U}, {0x10, 0xFFFFFFFFU}, {0x18, 0x7FFFFFFFU}}) {
        std::string bytes = good;
        bytes.replace(kInfo + static_cast<size_t>(field), 4, Dword(value));
        const auto targets = Parse(bytes);
        ASSERT_TRUE(targets) << field;
        EXPECT_EQ(targets->local, u"") << field;
        EXPECT_EQ(targets->relative, u"b") << field;
    }
}

TEST(ShellLinkFile, BlockOfAnySizeEndsTheSearch) {
    LinkParts parts;
    parts.environment = u"C:\\a";
    std::string bytes = LinkBytes(parts);
    for (const std::uint32_t size : {0U, 4U, 7U, 0x315U + 4, 0xFFFFFFFFU}) {
        bytes.replace(0x4C, 4, Dword(size));
        EXPECT_EQ(Parse(bytes)->environment, u"") << size;
    }
    // A short block of that name holds the ANSI text alone, or nothing.
    bytes.replace(0x4C, 4, Dword(8 + 260));
    EXPECT_EQ(Parse(bytes)->environment, u"C:\\a");
    bytes.replace(0x4C, 4, Dword(8 + 259));
    EXPECT_EQ(Parse(bytes)->environment, u"");
}

TEST(ShellLinkFile, LargeFilesAreNoLinks) {
    kvttest::TestFolder folder;
    LinkParts parts = WithInfo({});
    parts.info->local = "C:\\a";
    CString path = folder.Path(_T("a.lnk"));
    std::string bytes = LinkBytes(parts);
    bytes.resize(1 << 20);
    kvttest::WriteBytes(path, bytes);
    EXPECT_EQ(Utf8(kvtfile::ExpandShortcut(path)), "C:\\a");
    kvttest::WriteBytes(path, bytes + '\0');
    EXPECT_EQ(Utf8(kvtfile::ExpandShortcut(path)), "");
}

/// Links with all of what a link may have.
std::vector<std::string> Samples() {
    std::vector<std::string> samples;
    LinkParts parts;
    parts.itemList = std::string(40, 'i');
    parts.info.emplace();
    parts.info->local = "C:\\a";
    parts.info->wideLocal = u"C:\\图纸";
    parts.info->share = "\\\\server\\plans";
    parts.info->wideShare = u"\\\\server\\图纸";
    parts.info->suffix = "b";
    parts.info->wideSuffix = u"房";
    parts.name = u"name";
    parts.relative = u"..\\b";
    parts.folder = u"C:\\";
    parts.arguments = u"/x";
    parts.icon = u"a.ico";
    parts.environment = u"%TEMP%\\b";
    for (const bool unicode : {true, false}) {
        parts.unicode = unicode;
        samples.push_back(LinkBytes(parts));
    }
    samples.push_back(kvttest::LinkTo("C:\\Plans\\house.dwg"));
    return samples;
}

TEST(ShellLinkFile, EveryCutIsRead) {
    for (const std::string& sample : Samples()) {
        for (size_t size = 0; size <= sample.size(); ++size) {
            // A block of its own size, so that a read beyond its end is one beyond the allocation.
            const std::vector<std::uint8_t> cut(sample.begin(), sample.begin() + static_cast<std::ptrdiff_t>(size));
            const auto targets = kvtshell::ParseLink(cut);
            EXPECT_TRUE(!targets || size >= 0x4C);
        }
    }
}

TEST(ShellLinkFile, DamagedBytesAreRead) {
    std::mt19937 random(20260);
    const std::vector<std::string> samples = Samples();
    size_t links = 0;
    for (int round = 0; round < 20000; ++round) {
        const std::string& sample = samples[random() % samples.size()];
        std::vector<std::uint8_t> bytes(sample.begin(), sample.end());
        for (size_t changes = random() % 8 + 1; changes-- > 0;) {
            // The headers are where damage matters most.
            const size_t room = random() % 2 == 0 ? std::min<size_t>(bytes.size(), 0x100) : bytes.size();
            constexpr std::uint8_t kEdges[] = {0, 1, 0x7F, 0x80, 0xFF};
            bytes[random() % room] = random() % 2 == 0 ? kEdges[random() % 5] : static_cast<std::uint8_t>(random());
        }
        const auto targets = kvtshell::ParseLink(bytes);
        links += targets ? 1 : 0;
        if (targets) {
            EXPECT_LE(targets->network.size() + targets->local.size(), 2 * bytes.size());
        }
    }
    EXPECT_GT(links, 1000u);
}

}  // namespace
