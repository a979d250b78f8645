// The storable arrays and lists: their classes, and how strings and objects go into an archive.
#include "platform/mfc/clist.h"

namespace kvtmfc {

IMPLEMENT_SERIAL(CStringArray, CObject, 0)
IMPLEMENT_SERIAL(CByteArray, CObject, 0)
IMPLEMENT_SERIAL(CWordArray, CObject, 0)
IMPLEMENT_SERIAL(CDWordArray, CObject, 0)
IMPLEMENT_SERIAL(CObArray, CObject, 0)
IMPLEMENT_SERIAL(CStringList, CObject, 0)
IMPLEMENT_SERIAL(CObList, CObject, 0)

template <>
void SerializeElements<CString>(CArchive& ar, CString* elements, INT_PTR count) {
    for (INT_PTR i = 0; i < count; ++i) {
        if (ar.IsStoring()) {
            ar << elements[i];
        } else {
            ar >> elements[i];
        }
    }
}

void CObArray::Serialize(CArchive& ar) {
    if (ar.IsStoring()) {
        ar.WriteCount(static_cast<DWORD_PTR>(GetSize()));
        for (INT_PTR i = 0; i < GetSize(); ++i) {
            ar << GetAt(i);
        }
        return;
    }
    RemoveAll();
    for (DWORD_PTR left = ar.ReadCount(); left != 0; --left) {
        CObject* object = nullptr;
        ar >> object;
        Add(object);
    }
}

void CObList::Serialize(CArchive& ar) {
    if (ar.IsStoring()) {
        ar.WriteCount(static_cast<DWORD_PTR>(GetCount()));
        for (POSITION position = GetHeadPosition(); position;) {
            ar << GetNext(position);
        }
        return;
    }
    for (DWORD_PTR left = ar.ReadCount(); left != 0; --left) {
        CObject* object = nullptr;
        ar >> object;
        AddTail(object);
    }
}

}  // namespace kvtmfc
