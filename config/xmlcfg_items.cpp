// CFXmlCfg: reading, listing, writing and deleting classes and data items.
//
// Invariants. A node is found by its key and tag, never by position; an existing node's key is not rewritten. The file
// is saved only after a change that went through whole. A look-up that throws ends the operation: only a node that is
// known to be missing is added.

#include "config/xmlcfg_kinds.h"
#include "kvtfile/XmlCfg.h"
#include "platform/quiet.h"

namespace kvtfile {

using detail::Guarded;
using detail::KIND;

namespace {

// The record of the element at the main position.
template <typename Member>
Member ReadMember(const CFXmlFile& xmlFile, const CString& keyAttribute) {
    Member member;
    member.strKey = xmlFile.GetAttrib(keyAttribute);
    for (const auto& field : KIND<Member>.fields) {
        member.*field.text = xmlFile.GetAttrib(field.attribute);
    }
    return member;
}

}  // namespace

template <typename Member>
CString CFXmlCfg::TagBelow(int depth) {
    return KIND<Member>.bData ? m_const.strDataTag : GetClassNodeTag(CString(), depth);
}

template <typename Member>
int CFXmlCfg::Read(const CString& path, Member& member) {
    if (IsEmptyPath(path)) {
        return Fail(_T("节点路径不能为空"));
    }
    if (!Locate(path, KIND<Member>.bData)) {
        return Fail(KIND<Member>.notFound);
    }
    member = ReadMember<Member>(m_xmlFile, m_const.strKeyAttr);
    return member.strKey.IsEmpty() ? Fail(KIND<Member>.noKey) : 1;
}

int CFXmlCfg::ReadClass(CString strNodePath, SClassMember& member) {
    return Guarded(
        m_strLastError, [&] { return Read(strNodePath, member); }, _T("调用ReadClass函数出错\r\nstrNodePath=%s"),
        strNodePath);
}

int CFXmlCfg::ReadData(CString strNodePath, SDataMember& member) {
    return Guarded(
        m_strLastError, [&] { return Read(strNodePath, member); }, _T("调用ReadData函数出错\r\nstrNodePath=%s"),
        strNodePath);
}

template <typename Member>
void CFXmlCfg::ListBelow(CArray<Member, Member>& arr, int depth) {
    const CString tag = TagBelow<Member>(depth);
    while (m_xmlFile.FindChildElem(tag)) {
        m_xmlFile.IntoElem();
        arr.Add(ReadMember<Member>(m_xmlFile, m_const.strKeyAttr));
        m_xmlFile.OutOfElem();
    }
}

template void CFXmlCfg::ListBelow(CArray<SClassMember, SClassMember>& arr, int depth);
template void CFXmlCfg::ListBelow(CArray<SDataMember, SDataMember>& arr, int depth);

template <typename Member>
int CFXmlCfg::List(const CString& path, CArray<Member, Member>& arr) {
    arr.RemoveAll();
    int depth;
    if (!Locate(m_xmlFile, path, 0, depth)) {
        return Fail(_T("无法定位分类"));
    }
    ListBelow(arr, depth);
    return 1;
}

int CFXmlCfg::ReadChildClass(CString strNodePath, CArray<SClassMember, SClassMember>& arr) {
    return Guarded(
        m_strLastError, [&] { return List(strNodePath, arr); }, _T("调用ReadChildClass函数出错\r\nstrNodePath=%s"),
        strNodePath);
}

int CFXmlCfg::ReadChildData(CString strNodePath, CArray<SDataMember, SDataMember>& arr) {
    return Guarded(
        m_strLastError, [&] { return List(strNodePath, arr); }, _T("调用ReadChildData函数出错\r\nstrNodePath=%s"),
        strNodePath);
}

int CFXmlCfg::SetAttribute(LPCWSTR failed, LPCWSTR name, const CString& value) {
    if (m_xmlFile.SetAttrib(name, value)) {
        return 1;
    }
    CString text;
    text.Format(failed, name, value);
    return Fail(text);
}

// Adds an element after the child position and makes it the main position.
template <typename Member>
int CFXmlCfg::AddNode(const CString& key, int& depth) {
    if (!m_xmlFile.AddChildElem(TagBelow<Member>(depth))) {
        return Fail(KIND<Member>.addFailed);
    }
    if (!m_xmlFile.IntoElem()) {
        return Fail(_T("IntoElem失败"));
    }
    ++depth;
    return SetAttribute(KIND<Member>.setFailed, m_const.strKeyAttr, key);
}

// From the parent, moves the main position to the child with that key, which is added at the end when missing.
template <typename Member>
int CFXmlCfg::PlaceBelow(const CString& parentPath, const CString& key, int& depth) {
    const int parentDepth = depth;
    m_xmlFile.SavePos(KIND<Member>.savedPosition);
    if (LocateBelow(parentPath, key, KIND<Member>.bData, depth)) {
        return 1;
    }
    m_xmlFile.RestorePos(KIND<Member>.savedPosition);
    depth = parentDepth;
    return AddNode<Member>(key, depth);
}

template <typename Member>
int CFXmlCfg::WriteBelow(const CString& parentPath, const Member& member, int& depth) {
    if (!PlaceBelow<Member>(parentPath, member.strKey, depth)) {
        return 0;
    }
    for (const auto& field : KIND<Member>.fields) {
        if (!SetAttribute(KIND<Member>.setFailed, field.attribute, member.*field.text)) {
            return 0;
        }
    }
    return SaveIfImmediate();
}

template int CFXmlCfg::WriteBelow(const CString& parentPath, const SClassMember& member, int& depth);
template int CFXmlCfg::WriteBelow(const CString& parentPath, const SDataMember& member, int& depth);

template <typename Member>
int CFXmlCfg::Write(const CString& parentPath, const Member& member) {
    // A key of separators only could not be told from the parent.
    if (IsEmptyPath(member.strKey)) {
        return Fail(KIND<Member>.keyEmpty);
    }
    int depth;
    if (!Locate(m_xmlFile, parentPath, 0, depth)) {
        return Fail(_T("父分类不存在"));
    }
    return WriteBelow(parentPath, member, depth);
}

int CFXmlCfg::WriteClass(CString strParentNodePath, SClassMember member) {
    return Guarded(
        m_strLastError, [&] { return Write(strParentNodePath, member); },
        _T("调用WriteClass函数出错\r\nstrParentNodePath=%s strKey=%s strText=%s strExtend=%s"), strParentNodePath,
        member.strKey, member.strText, member.strExtend);
}

int CFXmlCfg::WriteData(CString strParentNodePath, SDataMember member) {
    return Guarded(
        m_strLastError, [&] { return Write(strParentNodePath, member); },
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
            const LPCWSTR setFailed = KIND<SClassMember>.setFailed;
            CString path;
            int depth = 0;
            for (int level = 0; level < count; ++level) {
                if (!(level == 0 ? Locate(m_xmlFile, keys[0], 0, depth) : LocateBelow(path, keys[level], 0, depth))) {
                    depth = level;
                    if (!AddNode<SClassMember>(keys[level], depth)) {
                        return 0;
                    }
                }
                if (!SetAttribute(setFailed, _T("text"), texts[level]) ||
                    !SetAttribute(setFailed, _T("extend"), extends[level])) {
                    return 0;
                }
                path = ChildPath(path, keys[level]);
            }
            return SaveIfImmediate();
        },
        _T("调用WriteRecurseClass函数出错\r\nstrNodePath=%s strNodeTextPath=%s strNodeExtendPath=%s"), strNodePath,
        strNodeTextPath, strNodeExtendPath);
}

// The texts are those of classes, for data items too.
int CFXmlCfg::WriteAttribute(const CString& path, int bData, LPCWSTR name, const CString& value) {
    if (IsEmptyPath(path)) {
        return Fail(_T("节点路径不能为空"));
    }
    if (!Locate(path, bData)) {
        return Fail(_T("分类不存在"));
    }
    return SetAttribute(KIND<SClassMember>.setFailed, name, value) ? SaveIfImmediate() : 0;
}

int CFXmlCfg::WriteClassText(CString strNodePath, CString strText) {
    return Guarded(
        m_strLastError, [&] { return WriteAttribute(strNodePath, 0, _T("text"), strText); },
        _T("调用WriteClassText函数出错\r\nstrNodePath=%s strText=%s"), strNodePath, strText);
}

int CFXmlCfg::WriteDataValue(CString strNodePath, CString strValue) {
    return Guarded(
        m_strLastError, [&] { return WriteAttribute(strNodePath, 1, _T("value"), strValue); },
        _T("调用WriteDataValue函数出错\r\nstrNodePath=%s strValue=%s"), strNodePath, strValue);
}

template <typename Member>
int CFXmlCfg::Delete(const CString& path, bool withChildren) {
    if (IsEmptyPath(path)) {
        return Fail(_T("节点路径不能为空"));
    }
    // The text is that of classes, for data items too.
    if (!Locate(path, KIND<Member>.bData)) {
        return Fail(_T("无法定位分类"));
    }
    if (!withChildren && m_xmlFile.FindChildElem()) {
        return Fail(_T("分类下有数据"));
    }
    return m_xmlFile.RemoveElem() ? SaveIfImmediate() : Fail(KIND<Member>.removeFailed);
}

int CFXmlCfg::DeleteClass(CString strNodePath, int bForce) {
    return Guarded(
        m_strLastError, [&] { return Delete<SClassMember>(strNodePath, bForce != 0); },
        _T("调用DeleteClass函数出错\r\nstrNodePath=%s"), strNodePath);
}

int CFXmlCfg::DeleteData(CString strNodePath) {
    return Guarded(
        m_strLastError, [&] { return Delete<SDataMember>(strNodePath, true); },
        _T("调用DeleteData函数出错\r\nstrNodePath=%s"), strNodePath);
}

}  // namespace kvtfile
