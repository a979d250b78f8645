// Named events: taking them, giving them back, and what is refused.

#include <atomic>
#include <thread>

#include "tests/support/support.h"

namespace {

class Handle {
public:
    explicit Handle(HANDLE handle) : m_handle(handle) { EXPECT_TRUE(handle) << ::GetLastError(); }
    ~Handle() { ::CloseHandle(m_handle); }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    operator HANDLE() const { return m_handle; }

private:
    HANDLE m_handle;
};

CString Name() {
    CString name;
    name.Format(_T("KvtTest%u"), static_cast<unsigned>(::GetCurrentProcessId()));
    return name;
}

HANDLE Create(const CString& name) {
    return ::CreateEventW(nullptr, FALSE, TRUE, name);
}

HANDLE Open(const CString& name) {
    return ::OpenEventW(EVENT_MODIFY_STATE | SYNCHRONIZE, FALSE, name);
}

// Off Windows an event leaves its lock file behind.
class Win32Events : public testing::Test {
protected:
    void TearDown() override {
        for (const CString& name : {Name(), Name() + _T("a"), Name() + _T("A")}) {
            ::DeleteFileW(_T("Z:\\tmp\\kvtfile-") + name + _T(".lock"));
        }
    }
};

TEST_F(Win32Events, AnEventIsTakenByOneWaitUntilItIsSet) {
    const Handle event(Create(Name()));
    EXPECT_EQ(::WaitForSingleObject(event, INFINITE), DWORD{WAIT_OBJECT_0});
    EXPECT_EQ(::WaitForSingleObject(event, 0), DWORD{WAIT_TIMEOUT});
    EXPECT_TRUE(::SetEvent(event));
    EXPECT_EQ(::WaitForSingleObject(event, 0), DWORD{WAIT_OBJECT_0});
    EXPECT_TRUE(::SetEvent(event));
}

TEST_F(Win32Events, TwoSetsCountOnce) {
    const Handle event(Create(Name()));
    ASSERT_EQ(::WaitForSingleObject(event, 0), DWORD{WAIT_OBJECT_0});
    EXPECT_TRUE(::SetEvent(event));
    EXPECT_TRUE(::SetEvent(event));
    EXPECT_EQ(::WaitForSingleObject(event, 0), DWORD{WAIT_OBJECT_0});
    EXPECT_EQ(::WaitForSingleObject(event, 0), DWORD{WAIT_TIMEOUT});
    EXPECT_TRUE(::SetEvent(event));
}

TEST_F(Win32Events, HandlesOfOneNameAreOneEvent) {
    const CString name = Name();
    const Handle first(Create(name));
    const Handle second(Create(name));
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_ALREADY_EXISTS});
    const Handle third(Open(name));
    ASSERT_EQ(::WaitForSingleObject(first, 0), DWORD{WAIT_OBJECT_0});
    EXPECT_EQ(::WaitForSingleObject(second, 0), DWORD{WAIT_TIMEOUT});
    EXPECT_EQ(::WaitForSingleObject(third, 0), DWORD{WAIT_TIMEOUT});
    EXPECT_TRUE(::SetEvent(first));
    EXPECT_EQ(::WaitForSingleObject(third, 0), DWORD{WAIT_OBJECT_0});
    EXPECT_TRUE(::SetEvent(third));
}

TEST_F(Win32Events, NamesAreToldApartByCase) {
    const Handle lower(Create(Name() + _T("a")));
    const Handle upper(Create(Name() + _T("A")));
    ASSERT_EQ(::WaitForSingleObject(lower, 0), DWORD{WAIT_OBJECT_0});
    EXPECT_EQ(::WaitForSingleObject(upper, 0), DWORD{WAIT_OBJECT_0});
    EXPECT_TRUE(::SetEvent(upper));
    EXPECT_TRUE(::SetEvent(lower));
}

TEST_F(Win32Events, AMissingEventCannotBeOpened) {
    EXPECT_EQ(Open(Name() + _T("missing")), nullptr);
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_EQ(Create(_T("no\\such")), nullptr);
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_PATH_NOT_FOUND});
}

TEST_F(Win32Events, WhatIsNoEventIsRefused) {
    EXPECT_FALSE(::SetEvent(nullptr));
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_INVALID_HANDLE});
    EXPECT_EQ(::WaitForSingleObject(nullptr, 0), DWORD{WAIT_FAILED});
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_INVALID_HANDLE});
}

TEST_F(Win32Events, ThreadsTakeTurns) {
    const CString name = Name();
    const Handle shared(Create(name));
    int inside = 0;
    int turns = 0;
    std::atomic<bool> together{false};
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&, i] {
            // Half of the threads share a handle, the others have their own.
            const Handle own(Open(name));
            const HANDLE event = i % 2 ? HANDLE(own) : HANDLE(shared);
            for (int n = 0; n < 500; ++n) {
                if (::WaitForSingleObject(event, INFINITE) != WAIT_OBJECT_0) {
                    together = true;
                }
                together = together || ++inside != 1;
                ++turns;
                --inside;
                ::SetEvent(event);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_FALSE(together);
    EXPECT_EQ(turns, 4000);
}

}  // namespace
