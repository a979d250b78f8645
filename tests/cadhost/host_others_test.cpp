// ZWCAD, GstarCAD, and drawings.

#include "kvtfile/CadHost.h"
#include "tests/support/registry.h"

using namespace kvtfile;
using kvttest::PutText;
using kvttest::Utf8;

namespace {

class CadHostOthers : public testing::Test {
protected:
    kvttest::HostKeys m_keys;
};

std::string ZWcad(LPCWSTR release) {
    CString path = _T("stale");
    const int result = GetZWcadPath(path, CString(release));
    return std::to_string(result) + " " + Utf8(path);
}

std::string ZWcad(LPCWSTR product, LPCWSTR release) {
    CString path = _T("stale");
    const int result = GetZWcadPath(path, CString(product), CString(release));
    return std::to_string(result) + " " + Utf8(path);
}

std::string GScad(LPCWSTR release) {
    CString path = _T("stale");
    const int result = GetGScadPath(path, release);
    return std::to_string(result) + " " + Utf8(path);
}

}  // namespace

TEST_F(CadHostOthers, ZWcadIsNamedByTheUserAndFoundOnTheMachine) {
    m_keys.Load("zwcad");
    EXPECT_EQ(ZWcad(_T("2019")), "1 C:\\Program Files\\ZWSOFT\\ZWCAD 2019\\");
    EXPECT_EQ(ZWcad(_T("2020")), "1 C:\\Program Files\\ZWSOFT\\中望CAD 2020\\");
    EXPECT_EQ(ZWcad(_T(""), _T("2020")), ZWcad(_T("2020")));
    EXPECT_EQ(ZWcad(_T("ZWCAD"), _T("2020")), ZWcad(_T("2020")));
    EXPECT_EQ(ZWcad(_T("ZWCAD+"), _T("2014")), "1 C:\\Program Files\\ZWCAD+ 2014\\");
    EXPECT_EQ(ZWcad(_T("2014")), "0 ");
    EXPECT_EQ(ZWcad(_T("%s"), _T("%d")), "0 ");
    EXPECT_EQ(ZWcad(_T("")), "0 ");
}

TEST_F(CadHostOthers, ZWcadWithoutItsPartsIsNotFound) {
    m_keys.Load("zwcad");
    const CString key = _T("Software\\ZWSOFT\\ZWCAD\\2019");
    PutText(HKEY_CURRENT_USER, key + _T("\\en-US"), _T("Location"), _T("C:\\user"));
    kvttest::RemoveValue(HKEY_LOCAL_MACHINE, key + _T("\\en-US"), _T("Location"));
    EXPECT_EQ(ZWcad(_T("2019")), "0 \\");
    kvttest::RemoveKey(HKEY_LOCAL_MACHINE, key);
    EXPECT_EQ(ZWcad(_T("2019")), "0 ");
    m_keys.Load("zwcad");
    kvttest::RemoveValue(HKEY_CURRENT_USER, key, _T("CurVer"));
    EXPECT_EQ(ZWcad(_T("2019")), "0 ");
}

TEST_F(CadHostOthers, GstarCADStandsInTheUserHive) {
    m_keys.Load("gstarcad");
    EXPECT_EQ(GScad(_T("R19")), "1 C:\\Program Files\\Gstarsoft\\GstarCAD2019\\");
    EXPECT_EQ(GScad(_T("2019")), GScad(_T("R19")));
    EXPECT_EQ(GScad(_T("R20")), "1 C:\\Program Files\\Gstarsoft\\GstarCAD2020\\");
    EXPECT_EQ(GScad(_T("2020")), GScad(_T("R20")));
    EXPECT_EQ(GScad(_T("B_2021")), "1 D:\\浩辰CAD 2021\\");
    EXPECT_EQ(GScad(_T("2021")), "0 ");
    EXPECT_EQ(GScad(_T(" 2020")), "0 ");
    kvttest::RemoveValue(HKEY_CURRENT_USER, _T("Software\\GstarSoft\\GstarCAD\\R19\\zh-CN"), _T("LOCATION"));
    EXPECT_EQ(GScad(_T("2019")), "0 \\");
}

TEST_F(CadHostOthers, DrawingsTellTheirVersionInSixBytes) {
    kvttest::TestFolder folder;
    const CString file = folder.Path(_T("图.dwg"));
    const struct {
        std::string bytes;
        LPCWSTR tag;
    } rows[] = {
        {"AC1015", _T("AC1015")},
        {std::string("AC1032\0\0\0\0\0 and the rest", 24), _T("AC1032")},
        {"AC101", _T("Unknown")},
        {"", _T("Unknown")},
        {std::string("AC\0\0\0\0", 6), _T("AC")},
        {"\x1A\r\n\x1A\r\n", _T("\x1A\r\n\x1A\r\n")},
    };
    for (const auto& row : rows) {
        kvttest::WriteBytes(file, row.bytes);
        EXPECT_EQ(GetDwgVersionTag(file), row.tag);
    }
    EXPECT_EQ(GetDwgVersionTag(folder.Path(_T("missing.dwg"))), _T("Unknown"));
    EXPECT_EQ(GetDwgVersionTag(folder.Path()), _T("Unknown"));
    EXPECT_EQ(GetDwgVersionTag(CString()), _T("Unknown"));
}

TEST_F(CadHostOthers, ADrawingThatIsOpenElsewhereIsRead) {
    kvttest::TestFolder folder;
    const CString path = folder.Path(_T("a.dwg"));
    kvttest::WriteBytes(path, "AC1021 and more");
    CFile open(path, CFile::modeReadWrite | CFile::shareDenyNone);
    EXPECT_EQ(GetDwgVersionTag(path), _T("AC1021"));
    EXPECT_TRUE(IsR14CanOpen(path));
}

TEST_F(CadHostOthers, R14MayBeTriedOnEveryDrawing) {
    kvttest::TestFolder folder;
    const CString file = folder.Path(_T("a.dwg"));
    for (const std::string& bytes : {std::string("AC1014"), std::string("AC1015"), std::string("AC1032 more"),
                                     std::string("999999"), std::string("9\0009\0009\000", 6), std::string(6, '\0')}) {
        kvttest::WriteBytes(file, bytes);
        EXPECT_TRUE(IsR14CanOpen(file)) << kvttest::Hex(bytes);
    }
    for (const std::string& bytes : {std::string("AC101"), std::string()}) {
        kvttest::WriteBytes(file, bytes);
        EXPECT_FALSE(IsR14CanOpen(file)) << kvttest::Hex(bytes);
    }
    EXPECT_FALSE(IsR14CanOpen(CString()));
    EXPECT_FALSE(IsR14CanOpen(folder.Path()));
    EXPECT_FALSE(IsR14CanOpen(folder.Path(_T("missing.dwg"))));
}
