// The records of CFXmlCfg in archives: field by field, in the order of the fields.

#include "kvtfile/XmlCfg.h"

namespace kvtfile {

namespace {

template <typename Member, size_t N>
void SerializeFields(CArchive& ar, Member* members, INT_PTR count, CString Member::*const (&fields)[N]) {
    for (INT_PTR i = 0; i < count; ++i) {
        for (CString Member::*const field : fields) {
            if (ar.IsStoring()) {
                ar << members[i].*field;
            } else {
                ar >> members[i].*field;
            }
        }
    }
}

}  // namespace

void SerializeElements(CArchive& ar, CFXmlCfg::SClassMember* members, INT_PTR count) {
    using Member = CFXmlCfg::SClassMember;
    SerializeFields(ar, members, count, {&Member::strKey, &Member::strText, &Member::strExtend});
}

void SerializeElements(CArchive& ar, CFXmlCfg::SDataMember* members, INT_PTR count) {
    using Member = CFXmlCfg::SDataMember;
    SerializeFields(ar, members, count,
                    {&Member::strKey, &Member::strText, &Member::strValue, &Member::strType, &Member::strDefault,
                     &Member::strRange, &Member::strDict, &Member::strExtend});
}

}  // namespace kvtfile
