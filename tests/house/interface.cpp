// The interface that callers compile against, name by name: a change of a signature here is a change that they notice.

#include <type_traits>

#include "kvtfile/kvtfile.h"
#include "tests/support/support.h"

namespace {

using namespace kvtfile;

// --- XML ---------------------------------------------------------------------------------------------------------

static_assert(std::is_same_v<decltype(std::declval<const CFXmlFile&>().GetDoc()), const CString&>);
static_assert(std::is_same_v<decltype(std::declval<const CFXmlFile&>().GetError()), const CString&>);
static_assert(std::is_same_v<decltype(&CFXmlFile::UTF8To16), int (*)(WCHAR*, const char*, int)>);
static_assert(std::is_same_v<decltype(&CFXmlFile::UTF16To8), int (*)(char*, const WCHAR*, int)>);
static_assert(std::is_same_v<decltype(&CFXmlFile::DecodeCharUTF8), int (*)(const char*&, const char*)>);
static_assert(std::is_same_v<decltype(&CFXmlFile::DecodeCharUTF16), int (*)(const WCHAR*&, const WCHAR*)>);
static_assert(std::is_same_v<decltype(&CFXmlFile::EncodeCharUTF8), void (*)(int, char*, int&)>);
static_assert(std::is_same_v<decltype(&CFXmlFile::EncodeCharUTF16), void (*)(int, WCHAR*, int&)>);
static_assert(std::is_same_v<decltype(CFXmlFile::EscapeText(_T(""))), CString>);
static_assert(std::is_same_v<decltype(CFXmlFile::UnescapeText(_T(""))), CString>);
static_assert(std::is_constructible_v<CFXmlFile, int> && std::is_constructible_v<CFXmlFile, MCD_CSTR> &&
              std::is_copy_constructible_v<CFXmlFile> && std::is_copy_assignable_v<CFXmlFile>);

class XmlProtected : public CFXmlFile {
public:
    static_assert(sizeof(ElemPos) == 32);
    using CFXmlFile::x_GetEncodingCodePage;
    using CFXmlFile::x_GetPath;
    using CFXmlFile::x_Hash;
};

// --- Settings ----------------------------------------------------------------------------------------------------

using ClassArray = CArray<CFXmlCfg::SClassMember, CFXmlCfg::SClassMember>;
using DataArray = CArray<CFXmlCfg::SDataMember, CFXmlCfg::SDataMember>;
static_assert(std::is_same_v<decltype(&CFXmlCfg::ReadChildClass), int (CFXmlCfg::*)(CString, ClassArray&)>);
static_assert(std::is_same_v<decltype(&CFXmlCfg::ReadChildData), int (CFXmlCfg::*)(CString, DataArray&)>);
static_assert(std::is_same_v<decltype(&CFXmlCfg::WriteClass), int (CFXmlCfg::*)(CString, CFXmlCfg::SClassMember)>);
static_assert(std::is_same_v<decltype(&CFXmlCfg::WriteData), int (CFXmlCfg::*)(CString, CFXmlCfg::SDataMember)>);
static_assert(std::is_same_v<decltype(&CFXmlCfg::DeleteClass), int (CFXmlCfg::*)(CString, int)>);
static_assert(std::is_same_v<decltype(std::declval<CFXmlCfg&>().GetXmlFile()), CFXmlFile>);
static_assert(std::has_virtual_destructor_v<CFXmlCfg>);
static_assert(std::has_virtual_destructor_v<CIniFile>);
static_assert(std::is_same_v<decltype(&CIniFile::WriteFile), bool (CIniFile::*)()>);
static_assert(std::is_same_v<decltype(std::declval<CIniFile&>().AddFilterFile(CString())), void>);
static_assert(std::is_same_v<decltype(std::declval<CIniFile&>().IsNoNeedSyschro(CString())), void>);
static_assert(std::is_same_v<decltype(std::declval<CFXmlCfg&>().AddFilterFile(CString())), void>);
static_assert(std::is_same_v<decltype(std::declval<CFXmlCfg&>().IsNoNeedSyschro(CString())), void>);
static_assert(std::is_constructible_v<CIniFile, CString, bool> && !std::is_constructible_v<CIniFile, CString>);
static_assert(std::is_constructible_v<CIniFile, CString, CString, bool>);
static_assert(std::is_same_v<decltype(&FGetOrvaDataCommonPath), CString (*)()>);
static_assert(std::is_same_v<decltype(&FGetOrvaDataFilePath), CString (*)()>);

// --- Data files --------------------------------------------------------------------------------------------------

static_assert(std::is_base_of_v<CObject, CFFileBase> && std::is_base_of_v<CObject, CWnd>);
static_assert(std::is_base_of_v<CStdioFile, CFStdioFile>);
static_assert(std::is_default_constructible_v<CFFileBase> && std::is_constructible_v<CFFileBase, CString, DWORD>);
static_assert(std::is_same_v<decltype(std::declval<CFFileBase&>().WriteToMemory()), void*>);
static_assert(std::is_same_v<decltype(DataIO(CString(), true, static_cast<CObject*>(nullptr))), bool>);
static_assert(std::is_same_v<decltype(DataIO(CString(), true, static_cast<CWnd*>(nullptr))), bool>);
static_assert(std::is_same_v<decltype(DataIO(LPWSTR(), true, static_cast<CWnd*>(nullptr))), bool>);
static_assert(std::is_same_v<decltype(DataIO(std::declval<CMemFile&>(), true, static_cast<CObject*>(nullptr))), bool>);
static_assert(std::is_same_v<decltype(DataIO(std::declval<CString&>(), true, std::declval<CMemFile&>())), bool>);

// --- Registry ----------------------------------------------------------------------------------------------------

static_assert(std::is_base_of_v<CObject, CFRegistry> && std::is_constructible_v<CFRegistry, int, int>);
static_assert(std::is_same_v<decltype(&CFRegistry::DeleteKey), int (CFRegistry::*)(LPCWSTR, int)>);
static_assert(std::is_same_v<decltype(&CFRegistry::Close), void (CFRegistry::*)()>);
static_assert(std::is_same_v<decltype(&CKey::Create), int (CKey::*)(HKEY, LPCWSTR)>);
static_assert(std::is_same_v<decltype(&CKey::SetStringValue), int (CKey::*)(LPCWSTR, LPCWSTR)>);
static_assert(std::is_copy_assignable_v<CKey> && !std::is_copy_constructible_v<CFRegistry>);
static_assert(std::is_same_v<decltype(&GetRegKeyValue), int (*)(HKEY, LPCWSTR, CString&, LPCWSTR)>);
static_assert(std::is_same_v<decltype(&SetRegKeyValue), int (*)(HKEY, LPCWSTR, CString, LPCWSTR)>);

// --- CAD hosts ---------------------------------------------------------------------------------------------------

static_assert(sizeof(ACADVER) == sizeof(int) && ACAD_R14 == 0 && ACAD_MAP6 == 7 && ACAD_2007 == 11 && ACAD_2022 == 26);
static_assert(zqolecad::START_ACAD2000 == 2000 && zqolecad::START_ACAD2004 == 2004 && zqolecad::START_ACAD2022 == 2022);
static_assert(std::is_same_v<decltype(&FConvertAcadVer), int (*)(ACADVER, zqolecad::START_ACADVER&)>);
static_assert(std::is_same_v<decltype(&GetAcadRegKey), int (*)(CString&, ACADVER)>);
static_assert(std::is_same_v<decltype(&GetAcadPath), int (*)(CString&, ACADVER)>);
static_assert(std::is_same_v<decltype(&GetAcadR15CurVer), int (*)(CString&, ACADVER&, CString&)>);
static_assert(std::is_same_v<decltype(&IsAcadR15CurVerChinese), int (*)()>);
static_assert(std::is_same_v<decltype(GetAcadEnvPath(ACAD_2010, std::declval<CString&>())), int>);
static_assert(std::is_same_v<decltype(GetAcadEnvPath(_T("R18.0"), std::declval<CString&>())), int>);
static_assert(std::is_same_v<decltype(GetAcadR16RootFolder(std::declval<CString&>())), int>);
static_assert(std::is_same_v<decltype(&GetAcadR17RootFolder), int (*)(CString, CString&)>);
static_assert(std::is_same_v<decltype(&GetAcadR18LocalRootFolder), int (*)(CString, CString&)>);
static_assert(std::is_same_v<decltype(&GetAcadSupportPath), int (*)(zqolecad::START_ACADVER, CString&)>);
static_assert(std::is_same_v<decltype(&GetAcadTemplatePath), int (*)(zqolecad::START_ACADVER, CString&)>);
static_assert(std::is_same_v<decltype(&GetDwgVersionTag), CString (*)(CString)>);
static_assert(std::is_same_v<decltype(&IsR14CanOpen), bool (*)(CString)>);
static_assert(std::is_same_v<decltype(GetZWcadPath(std::declval<CString&>(), CString())), int>);
static_assert(std::is_same_v<decltype(GetZWcadPath(std::declval<CString&>(), CString(), CString())), int>);
static_assert(std::is_same_v<decltype(&GetGScadPath), int (*)(CString&, CString)>);
static_assert(std::is_same_v<decltype(&GetKeyListArray), int (*)(CString, CStringArray&)>);
static_assert(
    std::is_same_v<decltype(&CAutoLoadArx::AddAutoArx16), int (CAutoLoadArx::*)(CString, CStringArray&, CString, int)>);
static_assert(std::is_same_v<decltype(&CAutoLoadArx::GetArxLoadCtrls), int (CAutoLoadArx::*)(CString, int&)>);
static_assert(std::is_same_v<decltype(CAutoLoadArx::m_nAcadVer), ACADVER>);
static_assert(std::is_same_v<decltype(&AddAppSupportPathToAcad), int (*)(CString)>);
static_assert(std::is_same_v<decltype(&FGetCADCommonFilePath_SysLib2k), CString (*)()>);
static_assert(std::is_same_v<decltype(&GetTelumWorkPath), CString (*)()>);

// --- Platform ----------------------------------------------------------------------------------------------------

using MessageBoxHandler = int (*)(LPCWSTR, UINT);
static_assert(std::is_same_v<decltype(&kvtmfc::SetMessageBoxHandler), MessageBoxHandler (*)(MessageBoxHandler)>);

}  // namespace

TEST(Interface, ConstantsStartAsDocumented) {
    CFXmlCfg store;
    const CFXmlCfg::SConst constants = store.GetConst();
    EXPECT_EQ(constants.strRootTag, _T("CONFIG"));
    EXPECT_EQ(constants.strClassTag, _T("CLASS"));
    EXPECT_EQ(constants.bLevelClassTag, 0);
    EXPECT_EQ(constants.strDataTag, _T("DATA"));
    EXPECT_EQ(constants.strKeyAttr, _T("key"));
    EXPECT_EQ(constants.strPathSign, _T("."));
    EXPECT_EQ(store.GetImmediateSave(), 1);
}

TEST(Interface, WideLiteralsOfTheCompilerAreTexts) {
    // L"..." is UTF-16 on Windows and UTF-32 elsewhere; both give the same text.
    const CString text = L"中文 \U0001F600";
    EXPECT_EQ(text, _T("中文 \U0001F600"));
    CFXmlFile file(L"<root><item name='x'>1</item></root>");
    ASSERT_TRUE(file.FindElem(L"root"));
    ASSERT_TRUE(file.FindChildElem(L"item"));
    EXPECT_EQ(file.GetChildAttrib(L"name"), L"x");
    EXPECT_TRUE(file.SetChildAttrib(L"name", L"y"));
    EXPECT_TRUE(file.SetChildAttrib(L"count", 3));
    EXPECT_EQ(file.GetDoc(), L"<root><item name=\"y\" count=\"3\">1</item></root>");
}

TEST(Interface, ProtectedOperationsAreReachableByDeriving) {
    EXPECT_EQ(XmlProtected::x_GetEncodingCodePage(_T("ISO-8859-1")), 28591);
    EXPECT_EQ(XmlProtected::x_Hash(_T("ab"), 7), ('a' + 'b') % 7);
}
