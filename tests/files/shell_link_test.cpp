// ExpandShortcut: link files made byte by byte, read by the shell on Windows and by the library elsewhere.

#include "kvtfile/FileUtil.h"
#include "tests/support/link_bytes.h"
#include "tests/support/support.h"

namespace {

using kvttest::LinkBytes;
using kvttest::LinkParts;
using kvttest::LinkTo;
using kvttest::TestFolder;
using kvttest::Utf8;

class ExpandShortcut : public testing::Test {
protected:
    std::string Expand(const CString& path) {
        CString link = path;
        const std::string target = Utf8(kvtfile::ExpandShortcut(link));
        EXPECT_EQ(link, path);
        return target;
    }

    std::string ExpandBytes(const std::string& bytes) {
        kvttest::WriteBytes(m_folder.Path(_T("a.lnk")), bytes);
        return Expand(m_folder.Path(_T("a.lnk")));
    }

    TestFolder m_folder;
};

TEST_F(ExpandShortcut, LocalPathIsTheTarget) {
    EXPECT_EQ(ExpandBytes(LinkTo("C:\\Plans\\house.dwg")), "C:\\Plans\\house.dwg");
}

TEST_F(ExpandShortcut, StringsBesideThePathChangeNothing) {
    for (const bool unicode : {true, false}) {
        LinkParts parts;
        parts.unicode = unicode;
        parts.info.emplace();
        parts.info->local = "C:\\Plans\\house.dwg";
        parts.name = u"The house";
        parts.relative = u".\\other.dwg";
        parts.folder = u"C:\\Elsewhere";
        parts.arguments = u"/x /y";
        parts.icon = u"C:\\icons.dll";
        EXPECT_EQ(ExpandBytes(LinkBytes(parts)), "C:\\Plans\\house.dwg") << unicode;
    }
}

TEST_F(ExpandShortcut, WhatLeadsNowhereIsEmpty) {
    EXPECT_EQ(Expand(m_folder.Path(_T("missing.lnk"))), "");
    EXPECT_EQ(Expand(m_folder.Path()), "");
    EXPECT_EQ(Expand(CString()), "");
    EXPECT_EQ(ExpandBytes(""), "");
    EXPECT_EQ(ExpandBytes("[InternetShortcut]\r\nURL=http://localhost/\r\n"), "");
    EXPECT_EQ(ExpandBytes(LinkBytes({})), "");
    std::string otherClass = LinkTo("C:\\a");
    otherClass[4] = 2;
    EXPECT_EQ(ExpandBytes(otherClass), "");
}

TEST_F(ExpandShortcut, TargetOf259CharactersIsTheLongest) {
    const std::string longest = "C:\\" + std::string(256, 'n');
    EXPECT_EQ(ExpandBytes(LinkTo(longest)), longest);
    EXPECT_EQ(ExpandBytes(LinkTo(longest + "n")), "");
}

TEST_F(ExpandShortcut, LinkInAFolderWithAChineseName) {
    kvttest::MakeFolders(m_folder.Path(_T("图纸")));
    kvttest::WriteBytes(m_folder.Path(_T("图纸\\快捷方式.lnk")), LinkTo("C:\\Plans\\house.dwg"));
    EXPECT_EQ(Expand(m_folder.Path(_T("图纸\\快捷方式.lnk"))), "C:\\Plans\\house.dwg");
}

TEST_F(ExpandShortcut, CutLinkIsEmptyOrWhole) {
    const std::string whole = LinkTo("C:\\Plans\\house.dwg");
    // Without its last block, which ends the list, a link may still be read.
    for (size_t size = 0; size < whole.size() - 4; ++size) {
        EXPECT_EQ(ExpandBytes(whole.substr(0, size)), "") << size;
    }
}

}  // namespace
