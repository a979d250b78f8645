// CDumpContext: takes the descriptions that CObject::Dump writes, for the eyes of a developer.
#pragma once

#include "base.h"

namespace kvtmfc {

class CFile;
class CObject;

/// Writes descriptions as UTF-8 text into a file, or keeps nothing when it has none. Not copyable.
class KVTFILE_API CDumpContext {
public:
    /// `file` stays the caller's and must outlive the context; null drops what is written.
    explicit CDumpContext(CFile* file = nullptr) : m_pFile(file) {}
    CDumpContext(const CDumpContext&) = delete;
    CDumpContext& operator=(const CDumpContext&) = delete;

    CDumpContext& operator<<(LPCWSTR text);
    CDumpContext& operator<<(LPCSTR text);
    CDumpContext& operator<<(int number);
    CDumpContext& operator<<(DWORD number);
    CDumpContext& operator<<(double number);
    CDumpContext& operator<<(const void* pointer);
    CDumpContext& operator<<(const CObject* object);

    /// 0: only what the object itself holds; 1: also what it points to. Kept for the Dump functions to read.
    int GetDepth() const { return m_nDepth; }
    void SetDepth(int depth) { m_nDepth = depth; }

private:
    CFile* m_pFile;
    int m_nDepth = 0;
};

}  // namespace kvtmfc
