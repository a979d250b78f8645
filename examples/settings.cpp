// Opens a settings file, changes and adds settings, and lists what the file then holds.
//
//   settings FILE
//
// A file under a versioned product folder (C:\ORVASOFT\RIVADX V11.0\...) is opened through the user's working copy.

#include <cstdio>

#include "examples/print.h"
#include "kvtfile/XmlCfg.h"

using kvtfile::CFXmlCfg;

int main(int count, char** arguments) {
    if (count != 2) {
        std::fprintf(stderr, "usage: settings FILE\n");
        return 2;
    }
    CFXmlCfg settings;
    if (!settings.Open(CString(arguments[1]), 1)) {
        PrintLine(_T("cannot open: ") + settings.GetLastError());
        return 1;
    }

    // A class holds data items; both are named by their key and addressed by the keys from the root.
    CFXmlCfg::SClassMember display;
    display.strKey = _T("Display");
    display.strText = _T("What the drawing looks like");
    CFXmlCfg::SDataMember width;
    width.strKey = _T("Width");
    width.strType = _T("int");
    width.strDefault = _T("800");
    width.strValue = _T("800");
    if (!settings.WriteClass(CString(), display) || !settings.WriteData(_T("Display"), width) ||
        !settings.WriteDataValue(_T("Display.Width"), _T("1024"))) {
        PrintLine(_T("cannot write: ") + settings.GetLastError());
        return 1;
    }

    CArray<CFXmlCfg::SDataMember, CFXmlCfg::SDataMember> items;
    settings.ReadChildData(_T("Display"), items);
    for (INT_PTR i = 0; i < items.GetSize(); ++i) {
        PrintLine(_T("Display.") + items[i].strKey + _T(" = ") + items[i].strValue + _T(" (default ") +
                  items[i].strDefault + _T(")"));
    }
    return 0;
}
