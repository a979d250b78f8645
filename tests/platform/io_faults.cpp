// The fault hook itself, and the helper that drives it.

#include <algorithm>
#include <string>
#include <vector>

#include "tests/platform/io_faults_support.h"
#include "tests/support/support.h"

namespace kvttest {

Faults* Faults::s_current = nullptr;

Faults::Faults() : m_previous(nullptr) {
    s_current = this;
    m_previous = kvtio::SetFaultHook(Hook);
}

Faults::~Faults() {
    kvtio::SetFaultHook(m_previous);
    s_current = nullptr;
}

void Faults::FailNth(kvtio::Call call, int n, kvtio::Error error) {
    m_failing[static_cast<int>(call)] = n;
    m_errors[static_cast<int>(call)] = error;
}

void Faults::FailAll(kvtio::Call call, kvtio::Error error) {
    m_all[static_cast<int>(call)] = true;
    m_errors[static_cast<int>(call)] = error;
}

void Faults::LimitDisk(size_t limit) {
    m_limited = true;
    m_room = limit;
}

int Faults::Count(kvtio::Call call) const {
    return m_counts[static_cast<int>(call)];
}

kvtio::Error Faults::Hook(kvtio::Call call, LPCWSTR, size_t& count) {
    return s_current->Decide(call, count);
}

kvtio::Error Faults::Decide(kvtio::Call call, size_t& count) {
    const int kind = static_cast<int>(call);
    ++m_counts[kind];
    if (m_all[kind] || m_counts[kind] == m_failing[kind]) {
        return m_errors[kind];
    }
    if (m_limited && call == kvtio::Call::Write) {
        if (m_room == 0) {
            return ERROR_DISK_FULL;
        }
        count = std::min(count, m_room);
        m_room -= count;
    }
    return ERROR_SUCCESS;
}

}  // namespace kvttest

namespace {

using kvtio::Call;

TEST(IoFaults, HookIsToldKindAndPathAndItsErrorIsReturned) {
    kvttest::TestFolder folder;
    static std::vector<std::pair<Call, std::string>> calls;
    calls.clear();
    const kvtio::FaultHook previous = kvtio::SetFaultHook([](Call call, LPCWSTR path, size_t&) -> kvtio::Error {
        calls.emplace_back(call, kvttest::Utf8(path));
        return call == Call::Sync ? ERROR_IO_DEVICE : ERROR_SUCCESS;
    });
    const CString path = folder.Path(_T("f"));
    {
        kvtio::File file;
        EXPECT_EQ(file.Open(path, kvtio::Access::ReadWrite, kvtio::Disposition::CreateNew), 0u);
        EXPECT_EQ(file.Write("abc", 3), 0u);
        ::SetLastError(0);
        EXPECT_EQ(file.Sync(), DWORD{ERROR_IO_DEVICE});
        EXPECT_EQ(::GetLastError(), DWORD{ERROR_IO_DEVICE});
        EXPECT_EQ(file.Close(), 0u);
    }
    kvtio::SetFaultHook(previous);
    std::vector<std::pair<Call, std::string>> expected;
    for (const Call call : {Call::Open, Call::Write, Call::Sync, Call::Close}) {
        expected.emplace_back(call, kvttest::Utf8(path));
    }
    EXPECT_EQ(calls, expected);
    EXPECT_EQ(kvttest::ReadBytes(path), "abc");
}

TEST(IoFaults, ShortWritesAndReadsAreContinued) {
    kvttest::TestFolder folder;
    const kvtio::FaultHook previous = kvtio::SetFaultHook([](Call, LPCWSTR, size_t& count) -> kvtio::Error {
        count = std::min<size_t>(count, 2);
        return ERROR_SUCCESS;
    });
    kvtio::File file;
    EXPECT_EQ(file.Open(folder.Path(_T("f")), kvtio::Access::ReadWrite, kvtio::Disposition::CreateNew), 0u);
    EXPECT_EQ(file.Write("abcdefg", 7), 0u);
    uint64_t position = 0;
    EXPECT_EQ(file.Seek(0, FILE_BEGIN, position), 0u);
    char bytes[10];
    size_t got = 0;
    EXPECT_EQ(file.Read(bytes, 10, got), 0u);
    EXPECT_EQ(std::string(bytes, got), "abcdefg");
    kvtio::SetFaultHook(previous);
}

TEST(IoFaults, FailedCloseClosesAllTheSame) {
    kvttest::TestFolder folder;
    const CString path = folder.Path(_T("f"));
    kvttest::Faults faults;
    faults.FailNth(Call::Close, 1, ERROR_DISK_FULL);
    kvtio::File file;
    EXPECT_EQ(file.Open(path, kvtio::Access::Write, kvtio::Disposition::CreateNew, 0), 0u);
    EXPECT_EQ(file.Close(), DWORD{ERROR_DISK_FULL});
    EXPECT_FALSE(file.IsOpen());
    EXPECT_EQ(kvttest::ReadBytes(path), "");
}

TEST(IoFaults, EveryKindOfCallCanFail) {
    kvttest::TestFolder folder;
    const CString path = folder.Path(_T("f"));
    kvttest::WriteBytes(path, "abc");
    kvtio::File file;
    ASSERT_EQ(file.Open(path, kvtio::Access::ReadWrite, kvtio::Disposition::OpenExisting), 0u);
    kvttest::Faults faults;
    for (const Call call : {Call::Open, Call::Read, Call::Write, Call::Seek, Call::Size, Call::SetSize, Call::Rename,
                            Call::Remove, Call::SyncFolder}) {
        faults.FailAll(call, ERROR_GEN_FAILURE);
    }
    char byte = 0;
    size_t got = 9;
    uint64_t number = 9;
    EXPECT_EQ(file.Read(&byte, 1, got), DWORD{ERROR_GEN_FAILURE});
    EXPECT_EQ(got, 0u);
    EXPECT_EQ(file.Write("x", 1), DWORD{ERROR_GEN_FAILURE});
    EXPECT_EQ(file.Seek(0, FILE_BEGIN, number), DWORD{ERROR_GEN_FAILURE});
    EXPECT_EQ(file.Size(number), DWORD{ERROR_GEN_FAILURE});
    EXPECT_EQ(number, 9u);
    EXPECT_EQ(file.SetSize(1), DWORD{ERROR_GEN_FAILURE});
    EXPECT_EQ(kvtio::Rename(path, folder.Path(_T("g")), true), DWORD{ERROR_GEN_FAILURE});
    EXPECT_EQ(kvtio::Remove(path), DWORD{ERROR_GEN_FAILURE});
    EXPECT_EQ(kvtio::SyncFolderOf(path), DWORD{ERROR_GEN_FAILURE});
    kvtio::File other;
    EXPECT_EQ(other.Open(path, kvtio::Access::Read, kvtio::Disposition::OpenExisting), DWORD{ERROR_GEN_FAILURE});
    EXPECT_EQ(file.Close(), 0u);
    EXPECT_EQ(kvttest::ReadBytes(path), "abc");
}

}  // namespace
