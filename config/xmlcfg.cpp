// CFXmlCfg: the store itself, opening and saving, and finding nodes by path.
//
// Invariants. The file path is set only while the document holds what that file held when it was opened, with the
// changes since: a file that failed to load is never written.

#include "kvtfile/XmlCfg.h"

#include "config/syncregister.h"
#include "platform/quiet.h"

namespace kvtfile {

using detail::Guarded;
using detail::Quiet;

CFXmlCfg::CFXmlCfg() = default;
CFXmlCfg::CFXmlCfg(const CFXmlCfg& other) = default;
CFXmlCfg& CFXmlCfg::operator=(const CFXmlCfg& other) = default;

CFXmlCfg::~CFXmlCfg() {
    DropXmlAssociation(m_strFile);
}

int CFXmlCfg::Fail(LPCWSTR text) {
    m_strLastError = text;
    return 0;
}

int CFXmlCfg::Open(CString strFile, int bCreate) {
    return Guarded(
        m_strLastError,
        [&] {
            if (CFFileSyncRegister* files = XmlRegister()) {
                files->RedirectToWorkCopy(strFile);
            }
            return OpenDocument(strFile, bCreate);
        },
        _T("调用Open函数出错\r\nstrFile=%s bCreate=%d"), strFile, bCreate);
}

int CFXmlCfg::Open(CString strWorkFile, CString strFile, int bCreate) {
    return Guarded(
        m_strLastError,
        [&] {
            CFFileSyncRegister* files = XmlRegister();
            if (files && strWorkFile.IsEmpty()) {
                files->SetAssociation(strFile, CString());
            } else if (files && files->MakeWorkCopy(strFile, strWorkFile)) {
                files->SetAssociation(strWorkFile, strFile);
                return OpenDocument(strWorkFile, bCreate);
            }
            return OpenDocument(strFile, bCreate);
        },
        _T("调用Open函数出错\r\nstrWorkFile=%s strFile=%s bCreate=%d"), strWorkFile, strFile, bCreate);
}

int CFXmlCfg::OpenDocument(const CString& file, int bCreate) {
    // Only a bare "xml" is refused: every other name passes, whatever its extension.
    if (file.GetLength() < 4 && file.Right(3).CompareNoCase(_T("xml")) == 0) {
        return Fail(_T("无效的文件名称"));
    }
    if (!FileExists(file)) {
        if (!bCreate) {
            return Fail(_T("文件不存在"));
        }
        CFXmlFile fresh;
        fresh.SetDoc(_T("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n"));
        fresh.AddElem(m_const.strRootTag);
        fresh.Save(file);
    }
    m_strFile.Empty();
    // Loading clears the other marks of the file before; this one would make a file without a mark big-endian too.
    m_xmlFile.SetDocFlags(m_xmlFile.GetDocFlags() & ~CFXmlFile::docUtf16Be);
    if (!m_xmlFile.Load(file)) {
        return Fail(_T("打开文件失败"));
    }
    m_xmlFile.ResetPos();
    m_strFile = file;
    SetItemFromAssiFile();
    return 1;
}

int CFXmlCfg::Save() {
    return Guarded(
        m_strLastError, [&] { return !m_strFile.IsEmpty() && m_xmlFile.Save(m_strFile) ? 1 : 0; },
        _T("调用Save函数出错\r\n"));
}

int CFXmlCfg::SaveIfImmediate() {
    if (!m_bImmediateSave || m_bMerging || Save()) {
        return 1;
    }
    return Fail(_T("保存文件出错"));
}

CString CFXmlCfg::GetLastError() const {
    return m_strLastError;
}

CFXmlCfg::SConst CFXmlCfg::GetConst() const {
    return m_const;
}

void CFXmlCfg::SetConst(SConst sConst) {
    m_const = sConst;
}

int CFXmlCfg::GetImmediateSave() const {
    return m_bImmediateSave;
}

void CFXmlCfg::SetImmediateSave(int bImmediateSave) {
    m_bImmediateSave = bImmediateSave;
}

CFXmlFile CFXmlCfg::GetXmlFile() const {
    return m_xmlFile;
}

void CFXmlCfg::AddFilterFile(CString strFile) {
    Quiet(0, [&] {
        if (CFFileSyncRegister* files = XmlRegister()) {
            files->AddFilterFile(strFile);
        }
        return 1;
    });
}

void CFXmlCfg::IsNoNeedSyschro(CString strFile) {
    Quiet(0, [&] {
        if (CFFileSyncRegister* files = XmlRegister()) {
            files->RecordSyncTime(strFile, 1);
        }
        return 1;
    });
}

CString CFXmlCfg::GetWorkCopyPath(CString strFile) {
    Quiet(0, [&] {
        CFFileSyncRegister* files = XmlRegister();
        if (const CString working = files ? files->GetWorkCopyPath(strFile) : CString(); !working.IsEmpty()) {
            strFile = working;
        }
        return 1;
    });
    return strFile;
}

int CFXmlCfg::SplitString(CString strText, CStringArray& arrPieces, CString strSign) {
    arrPieces.RemoveAll();
    int begin = 0;
    // An empty separator separates nothing.
    while (!strSign.IsEmpty()) {
        const int end = strText.Find(strSign, begin);
        if (end < 0) {
            break;
        }
        if (end > begin) {
            arrPieces.Add(strText.Mid(begin, end - begin));
        }
        begin = end + strSign.GetLength();
    }
    if (begin < strText.GetLength()) {
        arrPieces.Add(strText.Mid(begin));
    }
    return static_cast<int>(arrPieces.GetSize());
}

bool CFXmlCfg::IsEmptyPath(const CString& path) {
    CStringArray pieces;
    return SplitString(path, pieces, m_const.strPathSign) == 0;
}

CString CFXmlCfg::ChildPath(const CString& parentPath, const CString& key) {
    return parentPath.IsEmpty() ? key : parentPath + m_const.strPathSign + key;
}

bool CFXmlCfg::HasPlainSeparator() const {
    return m_const.strPathSign.GetLength() == 1;
}

CString CFXmlCfg::GetClassNodeTag(CString strNodePath, int nLevel) {
    if (!m_const.bLevelClassTag) {
        return m_const.strClassTag;
    }
    if (nLevel < 1) {
        CStringArray pieces;
        nLevel = SplitString(strNodePath, pieces, m_const.strPathSign);
        if (nLevel < 1) {
            return m_const.strClassTag;
        }
    }
    CString tag;
    tag.Format(_T("%s_%d"), m_const.strClassTag, nLevel + 1);
    return tag;
}

int CFXmlCfg::FindNodeByPath(CString strNodePath, int bData) {
    return FindXmlNodeByPath(m_xmlFile, strNodePath, bData);
}

int CFXmlCfg::FindXmlNodeByPath(CFXmlFile& xmlFile, CString strNodePath, int bData) {
    return Guarded(
        m_strLastError,
        [&] {
            int depth;
            return Locate(xmlFile, strNodePath, bData, depth) ? 1 : 0;
        },
        _T("调用FindXmlNodeByPath函数出错\r\nstrNodePath=%s"), strNodePath);
}

int CFXmlCfg::FindXmlChildNode(CFXmlFile& xmlFile, CString strNodeTag, CString strNodeValue, int) {
    return Guarded(
        m_strLastError, [&] { return FindChild(xmlFile, strNodeTag, strNodeValue) ? 1 : 0; },
        _T("调用FindXmlChildNode函数出错\r\nstrNodeTag=%s strNodeValue=%s"), strNodeTag, strNodeValue);
}

bool CFXmlCfg::FindChild(CFXmlFile& xmlFile, const CString& tag, const CString& key) {
    while (xmlFile.FindChildElem(tag)) {
        if (xmlFile.GetChildAttrib(m_const.strKeyAttr) == key) {
            return true;
        }
    }
    return false;
}

bool CFXmlCfg::Locate(CFXmlFile& xmlFile, const CString& path, int bData, int& depth) {
    depth = 0;
    xmlFile.ResetPos();
    return xmlFile.FindElem(m_const.strRootTag) && StepDown(xmlFile, path, bData, depth);
}

bool CFXmlCfg::Locate(const CString& path, int bData) {
    int depth;
    return Locate(m_xmlFile, path, bData, depth);
}

bool CFXmlCfg::StepDown(CFXmlFile& xmlFile, const CString& path, int bData, int& depth) {
    CStringArray pieces;
    const int count = SplitString(path, pieces, m_const.strPathSign);
    for (int i = 0; i < count; ++i) {
        const bool data = bData && i == count - 1;
        if (!FindChild(xmlFile, data ? m_const.strDataTag : GetClassNodeTag(CString(), depth), pieces[i])) {
            return false;
        }
        xmlFile.IntoElem();
        ++depth;
    }
    return true;
}

bool CFXmlCfg::LocateBelow(const CString& path, const CString& key, int bData, int& depth) {
    if (HasPlainSeparator()) {
        return StepDown(m_xmlFile, key, bData, depth);
    }
    return Locate(m_xmlFile, ChildPath(path, key), bData, depth);
}

}  // namespace kvtfile
