// Prints an INI file section by section, and one value as a number.
//
//   read_ini FILE

#include <cstdio>

#include "examples/print.h"
#include "kvtfile/IniFile.h"

using kvtfile::CIniFile;

int main(int count, char** arguments) {
    if (count != 2) {
        std::fprintf(stderr, "usage: read_ini FILE\n");
        return 2;
    }
    CIniFile ini;
    ini.SetPath(CString(arguments[1]));
    if (!ini.ReadFile()) {
        PrintLine(_T("there is no such file"));
        return 1;
    }
    CStringArray sections;
    ini.GetAllKeyname(sections);
    for (INT_PTR i = 0; i < sections.GetSize(); ++i) {
        CStringArray names;
        CStringArray values;
        ini.GetValue(sections[i], names, values);
        PrintLine(_T("[") + sections[i] + _T("]"));
        for (INT_PTR entry = 0; entry < names.GetSize(); ++entry) {
            PrintLine(_T("  ") + names[entry] + _T(": ") + values[entry]);
        }
    }
    CString twice;
    twice.Format(_T("twice the width: %d"), 2 * ini.GetValueI(_T("Window"), _T("Width")));
    PrintLine(twice);
    return 0;
}
