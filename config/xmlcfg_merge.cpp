// CFXmlCfg: the merge of what a newer installed file brings into the working copy.
//
// Invariants. Nothing that is not blank in the working copy is changed: memory that runs out ends the merge, and is
// never taken for a node that is missing. Nothing recurses over the depth of the documents, and each node is found from
// its parent: the work grows with the nodes and their siblings, not with their depth. Each node of the installed file
// is visited at most once for each of the two ways to merge it, however often keys repeat: visiting it again would
// write the same once more. The time of the merge is recorded only once the merged document has been saved.

#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "config/syncregister.h"
#include "config/xmlcfg_kinds.h"
#include "kvtfile/XmlCfg.h"
#include "platform/quiet.h"

namespace kvtfile {

using detail::Guarded;
using detail::KIND;
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

template <typename Member>
int FindKeyInArr(const CString& key, const CArray<Member, Member>& arr) {
    for (INT_PTR i = 0; i < arr.GetSize(); ++i) {
        if (arr[i].strKey.CompareNoCase(key) == 0) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

template <typename Member>
int CopyBlank(Member& dst, const Member& src) {
    int copied = 0;
    for (const auto& field : KIND<Member>.fields) {
        if ((dst.*field.text).IsEmpty() && !(src.*field.text).IsEmpty()) {
            dst.*field.text = src.*field.text;
            copied = 1;
        }
    }
    return copied;
}

}  // namespace

/// One merge of what is under a node of another store.
class CFXmlCfg::Merge {
public:
    Merge(CFXmlCfg& ours, CFXmlCfg& theirs, const CString& path, int bNew);

    void Run();

private:
    /// One of the two stores, and where it stands.
    class Side {
    public:
        /// @param stepwise Each node is found from its parent, else from the root.
        Side(CFXmlCfg& store, const CString& path, bool stepwise);

        /// Goes on from the node of the path along a key.
        void Enter(const CString& path, const CString& key);
        void Leave() { m_nodes.pop_back(); }

        template <typename Member>
        void List(const CString& path, CArray<Member, Member>& arr);
        template <typename Member>
        void Write(const CString& path, const Member& member);

    private:
        static constexpr int MISSING = -1;

        /// Makes the node of the path the main position. @return false when the store has no such node.
        bool Stand(const CString& path);

        CFXmlCfg& m_store;
        bool m_stepwise;
        int m_depth = 0;           // of the main position
        std::vector<int> m_nodes;  // the depths of the nodes entered
    };

    /// A node whose child classes are being merged; its data items follow when they are done.
    struct Level {
        int bNew;
        size_t node;       // in Visited
        int pathLength;    // of the parent's path
        INT_PTR next = 0;  // the next class of theirs
        ClassArray theirs;
        ClassArray ours;
    };

    static bool IsStepwise(const CFXmlCfg& ours, const CFXmlCfg& theirs);
    /// The node in `Visited` of the path that they see, from another node on.
    size_t NodeOf(size_t node, const CString& path);
    void Open(size_t node, int pathLength, int bNew);
    void MergeClass(Level& level, const SClassMember& theirs);
    void MergeData(int bNew);
    void Close();

    CFXmlCfg& m_store;
    CFXmlCfg& m_other;
    bool m_stepwise;
    CString m_path;
    Side m_ours;
    Side m_theirs;
    Visited m_visited;
    std::vector<std::unique_ptr<Level>> m_open;
};

CFXmlCfg::Merge::Side::Side(CFXmlCfg& store, const CString& path, bool stepwise)
    : m_store(store), m_stepwise(stepwise) {
    m_nodes.push_back(store.Locate(store.m_xmlFile, path, 0, m_depth) ? m_depth : MISSING);
}

void CFXmlCfg::Merge::Side::Enter(const CString& path, const CString& key) {
    const bool found = m_stepwise && Stand(path) && m_store.LocateBelow(path, key, 0, m_depth);
    m_nodes.push_back(found ? m_depth : MISSING);
}

bool CFXmlCfg::Merge::Side::Stand(const CString& path) {
    CFXmlFile& document = m_store.m_xmlFile;
    if (!m_stepwise) {
        return m_store.Locate(document, path, 0, m_depth);
    }
    if (m_nodes.back() == MISSING) {
        return false;
    }
    for (; m_depth > m_nodes.back(); --m_depth) {
        document.OutOfElem();
    }
    document.ResetChildPos();
    return true;
}

template <typename Member>
void CFXmlCfg::Merge::Side::List(const CString& path, CArray<Member, Member>& arr) {
    if (Stand(path)) {
        m_store.ListBelow(arr, m_depth);
    } else {
        m_store.Fail(_T("无法定位分类"));
    }
}

template <typename Member>
void CFXmlCfg::Merge::Side::Write(const CString& path, const Member& member) {
    if (m_store.IsEmptyPath(member.strKey)) {
        m_store.Fail(KIND<Member>.keyEmpty);
    } else if (!Stand(path)) {
        m_store.Fail(_T("父分类不存在"));
    } else {
        m_store.WriteBelow(path, member, m_depth);
    }
}

// A path has to mean the same in both, and the position in one must not be that in the other.
bool CFXmlCfg::Merge::IsStepwise(const CFXmlCfg& ours, const CFXmlCfg& theirs) {
    return &ours != &theirs && ours.HasPlainSeparator() && ours.m_const.strPathSign == theirs.m_const.strPathSign;
}

CFXmlCfg::Merge::Merge(CFXmlCfg& ours, CFXmlCfg& theirs, const CString& path, int bNew)
    : m_store(ours),
      m_other(theirs),
      m_stepwise(IsStepwise(ours, theirs)),
      m_path(path),
      m_ours(ours, path, m_stepwise),
      m_theirs(theirs, path, m_stepwise) {
    const size_t node = NodeOf(Visited::ROOT, path);
    m_visited.Enter(node, bNew);
    Open(node, path.GetLength(), bNew);
}

void CFXmlCfg::Merge::Run() {
    while (!m_open.empty()) {
        Level& level = *m_open.back();
        if (level.next < level.theirs.GetSize()) {
            MergeClass(level, level.theirs[level.next++]);
        } else {
            MergeData(level.bNew);
            Close();
        }
    }
}

size_t CFXmlCfg::Merge::NodeOf(size_t node, const CString& path) {
    CStringArray pieces;
    m_other.SplitString(path, pieces, m_other.m_const.strPathSign);
    return m_visited.Child(node, pieces);
}

void CFXmlCfg::Merge::Open(size_t node, int pathLength, int bNew) {
    auto level = std::make_unique<Level>();
    level->bNew = bNew;
    level->node = node;
    level->pathLength = pathLength;
    m_theirs.List(m_path, level->theirs);
    if (!bNew) {
        m_ours.List(m_path, level->ours);
    }
    m_open.push_back(std::move(level));
}

void CFXmlCfg::Merge::Close() {
    m_path.Truncate(m_open.back()->pathLength);
    m_ours.Leave();
    m_theirs.Leave();
    m_open.pop_back();
}

void CFXmlCfg::Merge::MergeClass(Level& level, const SClassMember& theirs) {
    if (m_store.IsEmptyPath(theirs.strKey)) {
        return;  // no path leads to a class without a key
    }
    const int at = level.bNew ? -1 : m_store.FindClassInArr(theirs, level.ours);
    if (at < 0) {
        m_ours.Write(m_path, theirs);
    } else if (m_store.CopyClassBlank(level.ours[at], theirs)) {
        m_ours.Write(m_path, level.ours[at]);
    }
    const int bNew = at < 0 ? 1 : 0;
    CString path = m_store.ChildPath(m_path, theirs.strKey);
    const size_t node = m_stepwise ? NodeOf(level.node, theirs.strKey) : NodeOf(Visited::ROOT, path);
    if (m_visited.Enter(node, bNew)) {
        m_theirs.Enter(m_path, theirs.strKey);
        m_ours.Enter(m_path, theirs.strKey);
        std::swap(m_path, path);
        Open(node, path.GetLength(), bNew);
    }
}

void CFXmlCfg::Merge::MergeData(int bNew) {
    DataArray theirs;
    DataArray ours;
    m_theirs.List(m_path, theirs);
    if (!bNew) {
        m_ours.List(m_path, ours);
    }
    for (INT_PTR i = 0; i < theirs.GetSize(); ++i) {
        const int at = bNew ? -1 : m_store.FindDataInArr(theirs[i], ours);
        if (at < 0) {
            m_ours.Write(m_path, theirs[i]);
        } else if (m_store.CopyDataBlank(ours[at], theirs[i])) {
            m_ours.Write(m_path, ours[at]);
        }
    }
}

void CFXmlCfg::SetItemFromAssiFile() {
    Quiet(0, [&] {
        CFFileSyncRegister* files = XmlRegister();
        CString installed;
        if (!files || !files->GetAssociation(m_strFile, installed) || installed.IsEmpty() || !FileExists(installed) ||
            !files->NeedSynchronize(installed)) {
            return 0;
        }
        CFXmlCfg other;
        other.SetConst(m_const);
        if (!other.Open(CString(), installed, 0)) {
            return 0;
        }
        // One save at the end in place of one a write: the document is the same and the old file is whole until then.
        m_bMerging = true;
        const int merged = MergeFrom(other, CString(), 0);
        m_bMerging = false;
        if (!merged) {
            return 0;
        }
        if (!Save()) {
            return Fail(_T("保存文件出错"));
        }
        files->RecordSyncTime(installed, 0);
        return 1;
    });
}

void CFXmlCfg::SetItemByotherNodeClass(CFXmlCfg* pOther, CString strNodePath, int bNew) {
    if (pOther) {
        MergeFrom(*pOther, strNodePath, bNew);
    }
}

int CFXmlCfg::MergeFrom(CFXmlCfg& other, const CString& path, int bNew) {
    return Guarded(
        m_strLastError,
        [&] {
            Merge(*this, other, path, bNew).Run();
            return 1;
        },
        _T("调用SetItemByotherNodeClass函数出错\r\nstrNodePath=%s bNew=%d"), path, bNew);
}

int CFXmlCfg::FindClassInArr(SClassMember const& member, CArray<SClassMember, SClassMember> const& arr) {
    return FindKeyInArr(member.strKey, arr);
}

int CFXmlCfg::FindDataInArr(SDataMember const& member, CArray<SDataMember, SDataMember> const& arr) {
    return FindKeyInArr(member.strKey, arr);
}

int CFXmlCfg::CopyClassBlank(SClassMember& dst, SClassMember const& src) {
    return CopyBlank(dst, src);
}

int CFXmlCfg::CopyDataBlank(SDataMember& dst, SDataMember const& src) {
    return CopyBlank(dst, src);
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
