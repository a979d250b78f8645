// CFFileBase: the header of data files, and loading and storing through DataIO and global memory.
#include "kvtfile/FileBase.h"

#include <algorithm>
#include <climits>

namespace kvtfile {

IMPLEMENT_DYNCREATE(CFFileBase, CObject)

namespace {

// Movable and zero-initialised.
constexpr UINT blockFlags = 66;

constexpr UINT memoryGrowth = 1024;

/// A global memory block, locked while this lives.
class LockedBlock {
public:
    explicit LockedBlock(HGLOBAL block) : m_block(block), m_bytes(static_cast<BYTE*>(::GlobalLock(block))) {}
    ~LockedBlock() {
        if (m_bytes) {
            ::GlobalUnlock(m_block);
        }
    }
    LockedBlock(const LockedBlock&) = delete;
    LockedBlock& operator=(const LockedBlock&) = delete;

    BYTE* Bytes() const { return m_bytes; }

private:
    HGLOBAL m_block;
    BYTE* m_bytes;
};

// A copy of the file's whole content; null on failure.
HGLOBAL BlockOf(CMemFile& file) {
    const UINT length = static_cast<UINT>(std::min<ULONGLONG>(file.GetLength(), UINT_MAX));
    if (length != file.GetLength()) {
        return nullptr;
    }
    const HGLOBAL block = ::GlobalAlloc(blockFlags, length);
    if (!block) {
        return nullptr;
    }
    bool copied = false;
    {
        const LockedBlock locked(block);
        file.SeekToBegin();
        copied = locked.Bytes() && file.Read(locked.Bytes(), length) == length;
    }
    if (!copied) {
        ::GlobalFree(block);
        return nullptr;
    }
    return block;
}

}  // namespace

CFFileBase::CFFileBase(CString strSign, DWORD nVersion) : m_strSign(strSign), m_nVersion(nVersion) {}

CFFileBase::~CFFileBase() {
    if (m_hBlock) {
        ::GlobalFree(m_hBlock);
    }
}

void CFFileBase::Serialize(CArchive& ar) {
    if (ar.IsStoring()) {
        ar << m_strSign << m_nVersion;
        return;
    }
    m_nCanRead = 0;
    CString sign;
    ar >> sign;
    if (sign == m_strSign) {
        DWORD version = 0;
        ar >> version;
        m_nCanRead = version == m_nVersion ? 1 : 0;
    }
}

void CFFileBase::Reset() {}

void CFFileBase::SetFileSign(CString strSign, DWORD nVersion) {
    m_strSign = strSign;
    m_nVersion = nVersion;
}

void CFFileBase::SetModifyFlag(int nModified) {
    m_nModified = nModified;
}

bool CFFileBase::Finished(bool succeeded) {
    if (succeeded) {
        m_nModified = 0;
    }
    return succeeded;
}

bool CFFileBase::ReadFile(CString strFile) {
    m_strPath = strFile;
    Reset();
    m_nModified = 0;
    return DataIO(m_strPath, true, this);
}

bool CFFileBase::WriteFile(CString strFile) {
    if (!strFile.IsEmpty()) {
        m_strPath = strFile;
    }
    return !m_strPath.IsEmpty() && Finished(DataIO(m_strPath, false, this));
}

bool CFFileBase::ReadFromMemFile(CMemFile& file) {
    return Finished(DataIO(file, true, this));
}

bool CFFileBase::WriteToMemFile(CMemFile& file) {
    return Finished(DataIO(file, false, this));
}

bool CFFileBase::ReadFromMemory(void* hBlock) {
    if (!hBlock) {
        return false;
    }
    const LockedBlock locked(hBlock);
    if (!locked.Bytes()) {
        return false;
    }
    // The block may be larger than what was stored into it: the archive alone knows where the data ends.
    CMemFile file(memoryGrowth);
    file.Attach(locked.Bytes(), static_cast<UINT>(std::min<ULONGLONG>(::GlobalSize(hBlock), UINT_MAX)));
    return Finished(DataIO(file, true, this));
}

HGLOBAL CFFileBase::WriteToMemory() {
    CMemFile file(memoryGrowth);
    const HGLOBAL block = DataIO(file, false, this) ? BlockOf(file) : nullptr;
    if (m_hBlock) {
        ::GlobalFree(m_hBlock);
    }
    m_hBlock = block;
    Finished(block != nullptr);
    return block;
}

}  // namespace kvtfile
