// Loading and saving when single calls of the system fail or do less than asked.

#include <string>
#include <vector>

#include "kvtfile/XmlFile.h"
#include "platform/io/io.h"
#include "tests/support/support.h"

namespace {

using kvtfile::CFXmlFile;
using kvtio::Call;
using kvttest::ReadBytes;
using kvttest::SystemText;
using kvttest::TestFolder;
using kvttest::Utf8;
using kvttest::WriteBytes;

/// Which calls go wrong while it lives.
class Faults {
public:
    static constexpr int never = -1;

    Faults(Call call, int number, kvtio::Error error) : m_call(call), m_left(number), m_error(error) {
        s_active = this;
        kvtio::SetFaultHook(&Hook);
    }
    /// Every read and write moves at most so many bytes.
    explicit Faults(size_t most) : m_most(most) {
        s_active = this;
        kvtio::SetFaultHook(&Hook);
    }
    ~Faults() {
        kvtio::SetFaultHook(nullptr);
        s_active = nullptr;
    }
    Faults(const Faults&) = delete;
    Faults& operator=(const Faults&) = delete;
    bool Happened() const { return m_happened; }

private:
    static kvtio::Error Hook(Call call, LPCWSTR, size_t& count) {
        Faults& faults = *s_active;
        if (count > faults.m_most) {
            count = faults.m_most;
            faults.m_happened = true;
        }
        if (call == faults.m_call && faults.m_left != never && faults.m_left-- == 0) {
            faults.m_happened = true;
            return faults.m_error;
        }
        return ERROR_SUCCESS;
    }

    static inline Faults* s_active = nullptr;
    Call m_call = Call::Open;
    int m_left = never;
    kvtio::Error m_error = ERROR_SUCCESS;
    size_t m_most = ~size_t{0};
    bool m_happened = false;
};

std::string LongDocument() {
    std::string text = "<r>";
    for (int i = 0; i < 2000; ++i) {
        text += "<i>\xE4\xB8\xAD</i>";
    }
    return text + "</r>";
}

TEST(TextFileFaults, AFailingReadGivesTheSystemsTextAndAnEmptyDocument) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.xml"));
    WriteBytes(path, LongDocument());
    for (const Call call : {Call::Open, Call::Size, Call::Read, Call::Seek}) {
        int number = 0;
        for (;; ++number) {
            CFXmlFile file(_T("<old/>"));
            bool loaded = false;
            bool happened = false;
            {
                const Faults faults(call, number, ERROR_READ_FAULT);
                loaded = file.Load(path);
                happened = faults.Happened();
            }
            if (!happened) {
                EXPECT_TRUE(loaded);
                break;
            }
            EXPECT_FALSE(loaded);
            EXPECT_EQ(file.GetError(), SystemText(ERROR_READ_FAULT) + _T(" Empty document"));
            EXPECT_EQ(file.GetDoc(), _T(""));
            EXPECT_TRUE(file.Load(path)) << Utf8(file.GetError());
        }
        EXPECT_GT(number, 0) << static_cast<int>(call);
    }
}

TEST(TextFileFaults, ShortReadsAreContinued) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.xml"));
    WriteBytes(path, LongDocument());
    const Faults faults(1000);
    CFXmlFile file;
    EXPECT_TRUE(file.Load(path));
    EXPECT_EQ(Utf8(file.GetDoc()), LongDocument());
    EXPECT_TRUE(faults.Happened());
}

TEST(TextFileFaults, ShortWritesAreContinued) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.xml"));
    CFXmlFile file(kvttest::Wide(LongDocument()));
    {
        const Faults faults(1000);
        EXPECT_TRUE(file.Save(path)) << Utf8(file.GetError());
        EXPECT_TRUE(faults.Happened());
    }
    EXPECT_EQ(ReadBytes(path), LongDocument());
}

TEST(TextFileFaults, AFailingSaveGivesTheSystemsTextAndLeavesTheOldFile) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.xml"));
    for (const int flags : {0, 0x1, 0x4, 0x80, 0x40, 0x44}) {
        for (const Call call : {Call::Open, Call::Write, Call::Sync, Call::Rename}) {
            int number = 0;
            for (;; ++number) {
                WriteBytes(path, "<old/>");
                CFXmlFile file(_T("<r>new</r>"));
                file.SetDocFlags(flags);
                bool saved = false;
                bool happened = false;
                {
                    const Faults faults(call, number, ERROR_DISK_FULL);
                    saved = file.Save(path);
                    happened = faults.Happened();
                }
                EXPECT_EQ(folder.Names(), std::vector<std::string>{"a.xml"});
                if (!happened) {
                    EXPECT_TRUE(saved) << Utf8(file.GetError());
                    break;
                }
                if (!saved) {
                    EXPECT_EQ(file.GetError(), SystemText(ERROR_DISK_FULL));
                    EXPECT_EQ(ReadBytes(path), "<old/>");
                    EXPECT_EQ(file.GetDoc(), _T("<r>new</r>"));
                }
            }
        }
    }
}

TEST(TextFileFaults, AFailingWriteOfANewFileLeavesNone) {
    const TestFolder folder;
    CFXmlFile file(_T("<r>new</r>"));
    {
        const Faults faults(Call::Write, 0, ERROR_DISK_FULL);
        EXPECT_FALSE(file.Save(folder.Path(_T("a.xml"))));
        EXPECT_TRUE(faults.Happened());
    }
    EXPECT_EQ(file.GetError(), SystemText(ERROR_DISK_FULL));
    EXPECT_EQ(folder.Names(), std::vector<std::string>{});
}

}  // namespace
