// CFXmlCfg: reading, listing, writing and deleting classes and data items.
//
// Invariants. A node is found by its key and tag, never by position; an existing node's key is not rewritten. The file
// is saved only after a change that went through whole.

#include "kvtfile/XmlCfg.h"
#include "platform/quiet.h"

namespace kvtfile {

using detail::Guarded;

/// What differs between classes and data items when one is written.
struct CFXmlCfg::NodeKind {
    int bData;
    LPCWSTR savedPosition;
    LPCWSTR keyEmpty;
    LPCWSTR addFailed;
    LPCWSTR setFailed;
};

const CFXmlCfg::NodeKind CFXmlCfg::s_classKind = {0, _T("WriteClass"), _T("分类主键为空"), _T("添加分类失败"),
                                                  _T("设置分类属性%s=%s失败")};
const CFXmlCfg::NodeKind CFXmlCfg::s_dataKind = {1, _T("WriteData"), _T("数据主键为空"), _T("添加数据失败"),
                                                 _T("设置数据属性%s=%s失败")};

namespace {

template <typename Member>
struct Field {
    LPCWSTR attribute;
    CString Member::*text;
};

// The attributes beside the key, in the order in which they are written.
const Field<CFXmlCfg::SClassMember> CLASS_FIELDS[] = {
    {_T("text"), &CFXmlCfg::SClassMember::strText},
    {_T("extend"), &CFXmlCfg::SClassMember::strExtend},
};

const Field<CFXmlCfg::SDataMember> DATA_FIELDS[] = {
    {_T("text"), &CFXmlCfg::SDataMember::strText},     {_T("value"), &CFXmlCfg::SDataMember::strValue},
    {_T("type"), &CFXmlCfg::SDataMember::strType},     {_T("default"), &CFXmlCfg::SDataMember::strDefault},
    {_T("range"), &CFXmlCfg::SDataMember::strRange},   {_T("dict"), &CFXmlCfg::SDataMember::strDict},
    {_T("extend"), &CFXmlCfg::SDataMember::strExtend},
};

// The record of the element at the main position.
template <typename Member, size_t N>
Member ReadMember(const CFXmlFile& xmlFile, const CString& keyAttribute, const Field<Member> (&fields)[N]) {
    Member member;
    member.strKey = xmlFile.GetAttrib(keyAttribute);
    for (const Field<Member>& field : fields) {
        member.*field.text = xmlFile.GetAttrib(field.attribute);
    }
    return member;
}

// The records of all children with a tag of the element at the main position.
template <typename Member, size_t N>
void ListMembers(CFXmlFile& xmlFile, const CString& tag, const CString& keyAttribute, const Field<Member> (&fields)[N],
                 CArray<Member, Member>& arr) {
    while (xmlFile.FindChildElem(tag)) {
        xmlFile.IntoElem();
        arr.Add(ReadMember(xmlFile, keyAttribute, fields));
        xmlFile.OutOfElem();
    }
}

}  // namespace

int CFXmlCfg::ReadClass(CString strNodePath, SClassMember& member) {
    return Guarded(
        m_strLastError,
        [&] {
            if (IsEmptyPath(strNodePath)) {
                return Fail(_T("节点路径不能为空"));
            }
            if (!FindNodeByPath(strNodePath, 0)) {
                return Fail(_T("无法定位分类"));
            }
            member = ReadMember(m_xmlFile, m_const.strKeyAttr, CLASS_FIELDS);
            return member.strKey.IsEmpty() ? Fail(_T("得到分类主键出错")) : 1;
        },
        _T("调用ReadClass函数出错\r\nstrNodePath=%s"), strNodePath);
}

int CFXmlCfg::ReadData(CString strNodePath, SDataMember& member) {
    return Guarded(
        m_strLastError,
        [&] {
            if (IsEmptyPath(strNodePath)) {
                return Fail(_T("节点路径不能为空"));
            }
            if (!FindNodeByPath(strNodePath, 1)) {
                return Fail(_T("无法定位数据"));
            }
            member = ReadMember(m_xmlFile, m_const.strKeyAttr, DATA_FIELDS);
            return member.strKey.IsEmpty() ? Fail(_T("得到数据主键出错")) : 1;
        },
        _T("调用ReadData函数出错\r\nstrNodePath=%s"), strNodePath);
}

int CFXmlCfg::ReadChildClass(CString strNodePath, CArray<SClassMember, SClassMember>& arr) {
    return Guarded(
        m_strLastError,
        [&] {
            arr.RemoveAll();
            if (!FindNodeByPath(strNodePath, 0)) {
                return Fail(_T("无法定位分类"));
            }
            ListMembers(m_xmlFile, GetClassNodeTag(strNodePath, 0), m_const.strKeyAttr, CLASS_FIELDS, arr);
            return 1;
        },
        _T("调用ReadChildClass函数出错\r\nstrNodePath=%s"), strNodePath);
}

int CFXmlCfg::ReadChildData(CString strNodePath, CArray<SDataMember, SDataMember>& arr) {
    return Guarded(
        m_strLastError,
        [&] {
            arr.RemoveAll();
            if (!FindNodeByPath(strNodePath, 0)) {
                return Fail(_T("无法定位分类"));
            }
            ListMembers(m_xmlFile, m_const.strDataTag, m_const.strKeyAttr, DATA_FIELDS, arr);
            return 1;
        },
        _T("调用ReadChildData函数出错\r\nstrNodePath=%s"), strNodePath);
}

int CFXmlCfg::SetField(const NodeKind& kind, LPCWSTR name, const CString& value) {
    if (m_xmlFile.SetAttrib(name, value)) {
        return 1;
    }
    CString text;
    text.Format(kind.setFailed, name, value);
    return Fail(text);
}

// Adds an element after the child position and makes it the main position.
int CFXmlCfg::AddNode(const NodeKind& kind, const CString& tag, const CString& key) {
    if (!m_xmlFile.AddChildElem(tag)) {
        return Fail(kind.addFailed);
    }
    if (!m_xmlFile.IntoElem()) {
        return Fail(_T("IntoElem失败"));
    }
    return SetField(kind, m_const.strKeyAttr, key);
}

// Moves the main position to the child with that key, which is added at the end of the parent when missing.
int CFXmlCfg::PlaceNode(const NodeKind& kind, const CString& parentPath, const CString& key) {
    // A key of separators only could not be told from the parent.
    if (IsEmptyPath(key)) {
        return Fail(kind.keyEmpty);
    }
    if (!FindNodeByPath(parentPath, 0)) {
        return Fail(_T("父分类不存在"));
    }
    m_xmlFile.SavePos(kind.savedPosition);
    if (FindNodeByPath(ChildPath(parentPath, key), kind.bData)) {
        return 1;
    }
    m_xmlFile.RestorePos(kind.savedPosition);
    return AddNode(kind, kind.bData ? m_const.strDataTag : GetClassNodeTag(parentPath, 0), key);
}

int CFXmlCfg::WriteClass(CString strParentNodePath, SClassMember member) {
    return Guarded(
        m_strLastError,
        [&] {
            if (!PlaceNode(s_classKind, strParentNodePath, member.strKey)) {
                return 0;
            }
            for (const auto& field : CLASS_FIELDS) {
                if (!SetField(s_classKind, field.attribute, member.*field.text)) {
                    return 0;
                }
            }
            return SaveIfImmediate();
        },
        _T("调用WriteClass函数出错\r\nstrParentNodePath=%s strKey=%s strText=%s strExtend=%s"), strParentNodePath,
        member.strKey, member.strText, member.strExtend);
}

int CFXmlCfg::WriteData(CString strParentNodePath, SDataMember member) {
    return Guarded(
        m_strLastError,
        [&] {
            if (!PlaceNode(s_dataKind, strParentNodePath, member.strKey)) {
                return 0;
            }
            for (const auto& field : DATA_FIELDS) {
                if (!SetField(s_dataKind, field.attribute, member.*field.text)) {
                    return 0;
                }
            }
            return SaveIfImmediate();
        },
        _T("调用WriteData函数出错\r\nstrParentNodePath=%s strKey=%s strText=%s strValue=%s strType=%s strDefault=%s "
           "strRange=%s strDict=%s strExtend=%s"),
        strParentNodePath, member.strKey, member.strText, member.strValue, member.strType, member.strDefault,
        member.strRange, member.strDict, member.strExtend);
}

int CFXmlCfg::WriteRecurseClass(CString strNodePath, CString strNodeTextPath, CString strNodeExtendPath) {
    return Guarded(
        m_strLastError,
        [&] {
            CStringArray keys;
            CStringArray texts;
            CStringArray extends;
            const int count = SplitString(strNodePath, keys, m_const.strPathSign);
            if (SplitString(strNodeTextPath, texts, m_const.strPathSign) != count ||
                SplitString(strNodeExtendPath, extends, m_const.strPathSign) != count) {
                return Fail(_T("参数长度不一致"));
            }
            CString path;
            for (int level = 0; level < count; ++level) {
                path = ChildPath(path, keys[level]);
                if (!FindNodeByPath(path, 0) && !AddNode(s_classKind, GetClassNodeTag(CString(), level), keys[level])) {
                    return 0;
                }
                if (!SetField(s_classKind, _T("text"), texts[level]) ||
                    !SetField(s_classKind, _T("extend"), extends[level])) {
                    return 0;
                }
            }
            return SaveIfImmediate();
        },
        _T("调用WriteRecurseClass函数出错\r\nstrNodePath=%s strNodeTextPath=%s strNodeExtendPath=%s"), strNodePath,
        strNodeTextPath, strNodeExtendPath);
}

int CFXmlCfg::WriteClassText(CString strNodePath, CString strText) {
    return Guarded(
        m_strLastError,
        [&] {
            if (IsEmptyPath(strNodePath)) {
                return Fail(_T("节点路径不能为空"));
            }
            if (!FindNodeByPath(strNodePath, 0)) {
                return Fail(_T("分类不存在"));
            }
            return SetField(s_classKind, _T("text"), strText) ? SaveIfImmediate() : 0;
        },
        _T("调用WriteClassText函数出错\r\nstrNodePath=%s strText=%s"), strNodePath, strText);
}

// The texts are those of classes.
int CFXmlCfg::WriteDataValue(CString strNodePath, CString strValue) {
    return Guarded(
        m_strLastError,
        [&] {
            if (IsEmptyPath(strNodePath)) {
                return Fail(_T("节点路径不能为空"));
            }
            if (!FindNodeByPath(strNodePath, 1)) {
                return Fail(_T("分类不存在"));
            }
            return SetField(s_classKind, _T("value"), strValue) ? SaveIfImmediate() : 0;
        },
        _T("调用WriteDataValue函数出错\r\nstrNodePath=%s strValue=%s"), strNodePath, strValue);
}

int CFXmlCfg::DeleteNode(LPCWSTR failed) {
    return m_xmlFile.RemoveElem() ? SaveIfImmediate() : Fail(failed);
}

int CFXmlCfg::DeleteClass(CString strNodePath, int bForce) {
    return Guarded(
        m_strLastError,
        [&] {
            if (IsEmptyPath(strNodePath)) {
                return Fail(_T("节点路径不能为空"));
            }
            if (!FindNodeByPath(strNodePath, 0)) {
                return Fail(_T("无法定位分类"));
            }
            if (!bForce && m_xmlFile.FindChildElem()) {
                return Fail(_T("分类下有数据"));
            }
            return DeleteNode(_T("删除分类失败"));
        },
        _T("调用DeleteClass函数出错\r\nstrNodePath=%s"), strNodePath);
}

int CFXmlCfg::DeleteData(CString strNodePath) {
    return Guarded(
        m_strLastError,
        [&] {
            if (IsEmptyPath(strNodePath)) {
                return Fail(_T("节点路径不能为空"));
            }
            if (!FindNodeByPath(strNodePath, 1)) {
                return Fail(_T("无法定位分类"));
            }
            return DeleteNode(_T("删除数据失败"));
        },
        _T("调用DeleteData函数出错\r\nstrNodePath=%s"), strNodePath);
}

}  // namespace kvtfile
