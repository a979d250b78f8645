// The records of CFXmlCfg in archives: the key, then field by field in their order.

#include "config/xmlcfg_kinds.h"
#include "kvtfile/XmlCfg.h"

namespace kvtfile {

namespace {

void Exchange(CArchive& ar, CString& text) {
    if (ar.IsStoring()) {
        ar << text;
    } else {
        ar >> text;
    }
}

template <typename Member>
void ExchangeMembers(CArchive& ar, Member* members, INT_PTR count) {
    for (INT_PTR i = 0; i < count; ++i) {
        Exchange(ar, members[i].strKey);
        for (const auto& field : detail::KIND<Member>.fields) {
            Exchange(ar, members[i].*field.text);
        }
    }
}

}  // namespace

void SerializeElements(CArchive& ar, CFXmlCfg::SClassMember* members, INT_PTR count) {
    ExchangeMembers(ar, members, count);
}

void SerializeElements(CArchive& ar, CFXmlCfg::SDataMember* members, INT_PTR count) {
    ExchangeMembers(ar, members, count);
}

}  // namespace kvtfile
