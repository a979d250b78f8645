// An add-on: a module that stands on the library and keeps stores of its own alive until it is unloaded.

#include "kvtfile/kvtfile.h"

using kvtfile::CFXmlCfg;
using kvtfile::CIniFile;

namespace {

const LPCWSTR INI = _T("C:\\OrvaData\\Module\\module.ini");
const LPCWSTR XML = _T("C:\\ORVASOFT\\RIVADX V11.0\\Module\\module.xml");

CIniFile g_ini;
CFXmlCfg g_cfg;

bool Install() {
    for (const LPCWSTR folder : {_T("C:\\OrvaData"), _T("C:\\OrvaData\\Module"), _T("C:\\ORVASOFT"),
                                 _T("C:\\ORVASOFT\\RIVADX V11.0"), _T("C:\\ORVASOFT\\RIVADX V11.0\\Module")}) {
        ::CreateDirectoryW(folder, nullptr);
    }
    CIniFile ini;
    ini.SetPath(INI);
    CFXmlCfg cfg;
    CFXmlCfg::SDataMember member;
    member.strKey = _T("k");
    member.strValue = _T("v");
    return ini.SetValueI(_T("S"), _T("round"), 0, true) && ini.WriteFile() && cfg.Open(XML, 1) &&
           cfg.WriteData(_T(""), member);
}

}  // namespace

/// Uses both registers; every hundredth round leaves a store that saves its file when the module is unloaded.
extern "C" KVTFILE_MODULE_EXPORT int KvtfileModuleRound(int round) {
    if (round == 0 && !Install()) {
        return 1;
    }
    g_ini.SetPath(INI);
    if (!g_ini.ReadFile() || g_ini.GetValueI(_T("S"), _T("round")) != round - round % 100) {
        return 2;
    }
    if (round % 100 == 99) {
        g_ini.SetAutoSave(true);
        g_ini.SetValueI(_T("S"), _T("round"), round + 1, false);
    }
    CFXmlCfg::SDataMember member;
    if (!g_cfg.Open(XML, 0) || !g_cfg.ReadData(_T("k"), member) || member.strValue != _T("v")) {
        return 3;
    }
    return 0;
}
