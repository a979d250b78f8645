// A program that ends with stores still alive: they are destroyed after the registers and after whatever the library
// made later than them, and what they were to save is saved. The check itself is the last thing that the program does.

#include <cstdio>
#include <cstdlib>

#include "kvtfile/kvtfile.h"
#include "tests/support/support.h"

using kvtfile::CFXmlCfg;
using kvtfile::CIniFile;

namespace {

CString g_folder;

struct LastCheck {
    ~LastCheck() {
        const std::string ini = kvttest::ReadBytes(g_folder + _T("\\a.ini"));
        const std::string xml = kvttest::ReadBytes(g_folder + _T("\\a.xml"));
        kvttest::RemoveTree(g_folder);
        kvttest::detail::CleanEnvironment();
        if (ini != "[S]\r\nx=1\r\n\xC3\xFB=\xD6\xB5\x80\r\n\r\n" || xml.find("key=\"k\"") == std::string::npos) {
            std::fprintf(stderr, "left behind: \"%s\" and \"%s\"\n", ini.c_str(), xml.c_str());
            std::_Exit(1);
        }
    }
} g_check;

CIniFile g_ini;
CFXmlCfg g_cfg;
CFXmlCfg g_unused;

}  // namespace

int main() {
    kvttest::detail::PrepareEnvironment();
    WCHAR temp[MAX_PATH + 1];
    ::GetTempPathW(MAX_PATH, temp);
    g_folder.Format(_T("%skvtstatic%u"), temp, static_cast<unsigned>(::GetCurrentProcessId()));
    kvttest::MakeFolders(g_folder);
    kvttest::WriteBytes(g_folder + _T("\\installed.ini"), "[S]\nx=0\n");
    g_ini.SetPath(g_folder + _T("\\a.ini"), g_folder + _T("\\installed.ini"));
    g_ini.ReadFile();
    g_ini.SetAutoSave(true);
    g_ini.SetValue(_T("S"), _T("x"), _T("1"), true);
    g_ini.SetValue(_T("S"), _T("名"), _T("值€"), true);
    {
        // Needs, first of all stores, the characters of the code page.
        CIniFile other;
        other.SetPath(g_folder + _T("\\other.ini"));
        other.SetValue(_T("节"), _T("名"), _T("值"), true);
        if (!other.WriteFile()) {
            return 1;
        }
    }
    CFXmlCfg::SDataMember member;
    member.strKey = _T("k");
    return g_cfg.Open(g_folder + _T("\\a.xml"), 1) && g_cfg.WriteData(_T(""), member) ? 0 : 1;
}
