// The Windows side of safe saves: links, attributes, creation time, access list.
//
// A file is replaced by MoveFileExW, one step on NTFS, after it got what belongs to the old one; ReplaceFileW would
// carry that over by itself, but may stop half-way with the old file under another name.

#include <aclapi.h>

#include <vector>

#include "platform/io/faults.h"
#include "platform/io/raw.h"

namespace kvtio::raw {

namespace {

constexpr DWORD kKeptAttributes =
    FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_NOT_CONTENT_INDEXED;

// A handle for attributes, times and links: it shares everything and disturbs nobody.
class AttributeHandle {
public:
    AttributeHandle(LPCWSTR path, DWORD access)
        : m_handle(::CreateFileW(path, access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                 OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr)) {}
    ~AttributeHandle() {
        if (IsOpen()) {
            ::CloseHandle(m_handle);
        }
    }
    AttributeHandle(const AttributeHandle&) = delete;
    AttributeHandle& operator=(const AttributeHandle&) = delete;

    bool IsOpen() const { return m_handle != INVALID_HANDLE_VALUE; }
    HANDLE Get() const { return m_handle; }

private:
    HANDLE m_handle;
};

// A file's access list with the descriptor that holds it.
class AccessList {
public:
    explicit AccessList(LPCWSTR path) {
        m_error = ::GetNamedSecurityInfoW(path, SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr, &m_list,
                                          nullptr, &m_descriptor);
    }
    ~AccessList() { ::LocalFree(m_descriptor); }
    AccessList(const AccessList&) = delete;
    AccessList& operator=(const AccessList&) = delete;

    DWORD GetError() const { return m_error; }
    ACL* List() const { return m_list; }
    bool IsProtected() const {
        SECURITY_DESCRIPTOR_CONTROL control = 0;
        DWORD revision = 0;
        return ::GetSecurityDescriptorControl(m_descriptor, &control, &revision) && (control & SE_DACL_PROTECTED);
    }
    bool operator==(const AccessList& other) const {
        if (!m_list || !other.m_list) {
            return m_list == other.m_list;
        }
        return IsProtected() == other.IsProtected() && m_list->AclSize == other.m_list->AclSize &&
               std::char_traits<char>::compare(reinterpret_cast<const char*>(m_list),
                                               reinterpret_cast<const char*>(other.m_list), m_list->AclSize) == 0;
    }

private:
    DWORD m_error = ERROR_SUCCESS;
    ACL* m_list = nullptr;
    PSECURITY_DESCRIPTOR m_descriptor = nullptr;
};

// Volumes without access lists have nothing to copy.
Error CopyAccessList(LPCWSTR from, LPCWSTR to) {
    const AccessList old_list(from);
    const AccessList new_list(to);
    if (old_list.GetError() || new_list.GetError() || old_list == new_list) {
        return ERROR_SUCCESS;
    }
    const SECURITY_INFORMATION protection =
        old_list.IsProtected() ? PROTECTED_DACL_SECURITY_INFORMATION : UNPROTECTED_DACL_SECURITY_INFORMATION;
    std::basic_string<WCHAR> name = to;
    return ::SetNamedSecurityInfoW(name.data(), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION | protection, nullptr,
                                   nullptr, old_list.List(), nullptr);
}

}  // namespace

const DWORD kPrivateFile = FILE_ATTRIBUTE_NORMAL;  // the share mode keeps the others out
const DWORD kRenameFlags = MOVEFILE_WRITE_THROUGH;

// The file system journals its folders.
Error SyncFolderOf(LPCWSTR) {
    return ERROR_SUCCESS;
}

Error FollowLinks(LPCWSTR path, Path& target) {
    target = path ? path : L"";
    const DWORD attributes = ::GetFileAttributesW(path);
    if (attributes == INVALID_FILE_ATTRIBUTES || !(attributes & FILE_ATTRIBUTE_REPARSE_POINT) ||
        (attributes & FILE_ATTRIBUTE_DIRECTORY)) {
        return ERROR_SUCCESS;
    }
    const AttributeHandle file(path, FILE_READ_ATTRIBUTES);
    if (!file.IsOpen()) {
        return ::GetLastError();
    }
    Path final_path(MAX_PATH, L'\0');
    DWORD length = ::GetFinalPathNameByHandleW(file.Get(), final_path.data(), static_cast<DWORD>(final_path.size()), 0);
    if (length >= final_path.size()) {
        final_path.resize(length);
        length = ::GetFinalPathNameByHandleW(file.Get(), final_path.data(), static_cast<DWORD>(final_path.size()), 0);
    }
    if (length == 0 || length >= final_path.size()) {
        return ::GetLastError();
    }
    target.assign(final_path, 0, length);
    return ERROR_SUCCESS;
}

Error Examine(LPCWSTR path, Target& target) {
    const AttributeHandle file(path, FILE_READ_ATTRIBUTES);
    BY_HANDLE_FILE_INFORMATION information;
    if (!file.IsOpen()) {
        return ::GetLastError();
    }
    target.plain = ::GetFileType(file.Get()) == FILE_TYPE_DISK;
    if (!target.plain) {
        target.replaceable = false;
        return ERROR_SUCCESS;
    }
    if (!::GetFileInformationByHandle(file.Get(), &information)) {
        return ::GetLastError();
    }
    target.read_only = information.dwFileAttributes & FILE_ATTRIBUTE_READONLY;
    target.replaceable = information.nNumberOfLinks <= 1;
    target.written = information.ftLastWriteTime;
    return ERROR_SUCCESS;
}

Error CopyNature(LPCWSTR from, LPCWSTR to) {
    WIN32_FILE_ATTRIBUTE_DATA old_data;
    if (!::GetFileAttributesExW(from, GetFileExInfoStandard, &old_data)) {
        return ::GetLastError();
    }
    if (const Error error = CopyAccessList(from, to)) {
        return error;
    }
    {
        const AttributeHandle file(to, FILE_WRITE_ATTRIBUTES);
        if (file.IsOpen()) {
            ::SetFileTime(file.Get(), &old_data.ftCreationTime, nullptr, nullptr);
        }
    }
    const DWORD kept = old_data.dwFileAttributes & kKeptAttributes;
    return ErrorUnless(::SetFileAttributesW(to, kept ? kept : FILE_ATTRIBUTE_NORMAL));
}

bool MayPass(Error error) {
    return error == ERROR_SHARING_VIOLATION || error == ERROR_LOCK_VIOLATION || error == ERROR_ACCESS_DENIED;
}

}  // namespace kvtio::raw
