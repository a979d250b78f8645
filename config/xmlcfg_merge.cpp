// CFXmlCfg: the merge of what a newer installed file brings into the working copy.
//
// Invariants. Nothing that is not blank in the working copy is changed. Nothing recurses over the depth of the
// documents. Each node of the installed file is visited at most once for each of the two ways to merge it, however
// often keys repeat: visiting it again would write the same once more. The time of the merge is recorded only once the
// merged document has been saved.

#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "config/syncregister.h"
#include "kvtfile/XmlCfg.h"
#include "platform/quiet.h"

namespace kvtfile {

using detail::Quiet;

namespace {

using ClassArray = CArray<CFXmlCfg::SClassMember, CFXmlCfg::SClassMember>;
using DataArray = CArray<CFXmlCfg::SDataMember, CFXmlCfg::SDataMember>;

// The node paths visited, as a tree of their pieces.
class Visited {
public:
    static constexpr size_t ROOT = 0;

    size_t Child(size_t node, const CStringArray& pieces) {
        for (INT_PTR i = 0; i < pieces.GetSize(); ++i) {
            const auto [found, added] = m_nodes[node].children.try_emplace(pieces[i], m_nodes.size());
            node = found->second;
            if (added) {
                m_nodes.emplace_back();
            }
        }
        return node;
    }

    /// Whether the node is entered in this way for the first time.
    bool Enter(size_t node, int bNew) { return !std::exchange(m_nodes[node].entered[bNew ? 1 : 0], true); }

private:
    struct Node {
        std::map<CString, size_t> children;
        bool entered[2] = {};
    };
    std::vector<Node> m_nodes = std::vector<Node>(1);
};

// A node whose child classes are being merged; its data items follow when they are done.
struct Level {
    int bNew;
    size_t node;       // in Visited
    int pathLength;    // of the parent's path
    INT_PTR next = 0;  // the next class of theirs
    ClassArray theirs;
    ClassArray ours;
};

template <typename Member>
int FindKeyInArr(const CString& key, const CArray<Member, Member>& arr) {
    for (INT_PTR i = 0; i < arr.GetSize(); ++i) {
        if (arr[i].strKey.CompareNoCase(key) == 0) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

int CopyIfBlank(CString& dst, const CString& src) {
    if (!dst.IsEmpty() || src.IsEmpty()) {
        return 0;
    }
    dst = src;
    return 1;
}

}  // namespace

void CFXmlCfg::SetItemFromAssiFile() {
    CFFileSyncRegister* files = XmlRegister();
    CString installed;
    if (!files || !files->GetAssociation(m_strFile, installed) || installed.IsEmpty() || !FileExists(installed) ||
        !files->NeedSynchronize(installed)) {
        return;
    }
    CFXmlCfg other;
    other.SetConst(m_const);
    if (!other.Open(CString(), installed, 0)) {
        return;
    }
    // One save at the end in place of one a write: the document is the same and the old file is whole until then.
    m_bMerging = true;
    const int merged = Quiet(0, [&] {
        SetItemByotherNodeClass(&other, CString(), 0);
        return 1;
    });
    m_bMerging = false;
    if (!merged) {
        return;
    }
    if (Save()) {
        files->RecordSyncTime(installed, 0);
    } else {
        Fail(_T("保存文件出错"));
    }
}

void CFXmlCfg::SetItemByotherNodeClass(CFXmlCfg* pOther, CString strNodePath, int bNew) {
    if (!pOther) {
        return;
    }
    Visited visited;
    std::vector<std::unique_ptr<Level>> open;
    CString path = strNodePath;
    const auto enter = [&](size_t node, int pathLength, int isNew) {
        auto level = std::make_unique<Level>();
        level->bNew = isNew;
        level->node = node;
        level->pathLength = pathLength;
        pOther->ReadChildClass(path, level->theirs);
        if (!isNew) {
            ReadChildClass(path, level->ours);
        }
        open.push_back(std::move(level));
    };
    enter(Visited::ROOT, path.GetLength(), bNew);
    visited.Enter(Visited::ROOT, bNew);
    while (!open.empty()) {
        Level& level = *open.back();
        if (level.next == level.theirs.GetSize()) {
            MergeData(*pOther, path, level.bNew);
            path.Truncate(level.pathLength);
            open.pop_back();
            continue;
        }
        const SClassMember& theirs = level.theirs[level.next++];
        CStringArray pieces;
        if (SplitString(theirs.strKey, pieces, m_const.strPathSign) == 0) {
            continue;  // no path leads to a class without a key
        }
        const int at = level.bNew ? -1 : FindClassInArr(theirs, level.ours);
        if (at < 0) {
            WriteClass(path, theirs);
        } else if (CopyClassBlank(level.ours[at], theirs)) {
            WriteClass(path, level.ours[at]);
        }
        const size_t node = visited.Child(level.node, pieces);
        const int isNew = at < 0 ? 1 : 0;
        if (visited.Enter(node, isNew)) {
            const int pathLength = path.GetLength();
            path = ChildPath(path, theirs.strKey);
            enter(node, pathLength, isNew);
        }
    }
}

void CFXmlCfg::MergeData(CFXmlCfg& other, const CString& path, int bNew) {
    DataArray theirs;
    DataArray ours;
    other.ReadChildData(path, theirs);
    if (!bNew) {
        ReadChildData(path, ours);
    }
    for (INT_PTR i = 0; i < theirs.GetSize(); ++i) {
        const int at = bNew ? -1 : FindDataInArr(theirs[i], ours);
        if (at < 0) {
            WriteData(path, theirs[i]);
        } else if (CopyDataBlank(ours[at], theirs[i])) {
            WriteData(path, ours[at]);
        }
    }
}

int CFXmlCfg::FindClassInArr(SClassMember const& member, CArray<SClassMember, SClassMember> const& arr) {
    return FindKeyInArr(member.strKey, arr);
}

int CFXmlCfg::FindDataInArr(SDataMember const& member, CArray<SDataMember, SDataMember> const& arr) {
    return FindKeyInArr(member.strKey, arr);
}

int CFXmlCfg::CopyClassBlank(SClassMember& dst, SClassMember const& src) {
    return CopyIfBlank(dst.strText, src.strText) | CopyIfBlank(dst.strExtend, src.strExtend);
}

int CFXmlCfg::CopyDataBlank(SDataMember& dst, SDataMember const& src) {
    return CopyIfBlank(dst.strText, src.strText) | CopyIfBlank(dst.strValue, src.strValue) |
           CopyIfBlank(dst.strType, src.strType) | CopyIfBlank(dst.strDefault, src.strDefault) |
           CopyIfBlank(dst.strRange, src.strRange) | CopyIfBlank(dst.strDict, src.strDict) |
           CopyIfBlank(dst.strExtend, src.strExtend);
}

void CFXmlCfg::RecurseXmlNode(CFXmlFile& xmlFile, CString, CString) {
    int depth = 0;
    for (;;) {
        if (!xmlFile.FindChildElem()) {
            if (depth == 0) {
                return;
            }
            xmlFile.OutOfElem();
            --depth;
            continue;
        }
        xmlFile.IntoElem();
        const bool inner = xmlFile.FindChildElem();
        CString label;
        label.Format(inner ? _T("分类 %s %s") : _T("数据 %s %s"), xmlFile.GetTagName(),
                     xmlFile.GetAttrib(xmlFile.GetAttribName(0)));
        if (inner) {
            xmlFile.ResetChildPos();
            ++depth;
        } else {
            xmlFile.OutOfElem();
        }
    }
}

}  // namespace kvtfile
