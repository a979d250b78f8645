// Marks every sheet of a drawing index as checked: one attribute is added to each <sheet>, all other bytes of the file
// stay as they are.
//
//   edit_xml FILE

#include <cstdio>

#include "examples/print.h"
#include "kvtfile/XmlFile.h"

using kvtfile::CFXmlFile;

int main(int count, char** arguments) {
    if (count != 2) {
        std::fprintf(stderr, "usage: edit_xml FILE\n");
        return 2;
    }
    const CString path(arguments[1]);
    CFXmlFile index;
    if (!index.Load(path)) {
        PrintLine(index.GetError());
        return 1;
    }
    int sheets = 0;
    while (index.FindChildElem(_T("sheet"))) {
        index.SetChildAttrib(_T("checked"), 1);
        PrintLine(_T("checked ") + index.GetChildAttrib(_T("name")) + _T(": ") + index.GetChildData());
        ++sheets;
    }
    if (sheets != 0 && !index.Save(path)) {
        PrintLine(index.GetError());
        return 1;
    }
    return 0;
}
