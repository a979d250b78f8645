// CFileInfo: the record, its name parts, and the codes of the content against a model of their own.

#include "kvtfile/FileInfo.h"

#include <type_traits>

#include "tests/support/support.h"

namespace {

using kvtfile::CFileInfo;
using kvttest::TestFolder;
using kvttest::WriteBytes;

static_assert(std::is_copy_constructible_v<CFileInfo> && std::is_copy_assignable_v<CFileInfo>);

// ---- The model: bit by bit, byte by byte.

DWORD ModelStep(DWORD crc, unsigned char byte) {
    crc ^= byte;
    for (int bit = 0; bit < 8; ++bit) {
        crc = (crc & 1) ? (crc >> 1) ^ 0xEDB88320u : crc >> 1;
    }
    return crc;
}

// The register after the bytes, chunk by chunk.
DWORD ModelCrc(const std::string& bytes, size_t chunk = 16384, DWORD crc = 0xFFFFFFFF) {
    for (size_t start = 0; start < bytes.size(); start += chunk) {
        const std::string part = bytes.substr(start, chunk);
        for (size_t i = 0; i < part.size(); i += 4) {
            crc = ModelStep(crc, static_cast<unsigned char>(part[i]));
        }
    }
    return crc;
}

DWORD ModelSum(const std::string& bytes) {
    DWORD sum = 0;
    for (size_t i = 0; i < bytes.size(); ++i) {
        sum += static_cast<DWORD>(static_cast<unsigned char>(bytes[i])) << (i % 4 * 8);
    }
    return sum;
}

std::string Noise(size_t size) {
    std::string bytes(size, '\0');
    unsigned state = 12345;
    for (char& byte : bytes) {
        state = state * 1664525u + 1013904223u;
        byte = static_cast<char>(state >> 24);
    }
    return bytes;
}

class FileInfoContent : public testing::Test {
protected:
    CFileInfo Made(const std::string& bytes) {
        WriteBytes(m_path, bytes);
        return CFileInfo(m_path, 0);
    }

    TestFolder m_folder;
    const CString m_path = m_folder.Path(_T("content.bin"));
};

// ---- The record

TEST(FileInfo, DefaultRecordDescribesNoFile) {
    const COleDateTime before = COleDateTime::GetCurrentTime();
    const CFileInfo record;
    const COleDateTime after = COleDateTime::GetCurrentTime();
    EXPECT_EQ(record.GetFilePath(), _T(""));
    EXPECT_EQ(record.m_dwAttributes, 0xFFFFFFFFu);
    EXPECT_EQ(record.GetLength64(), 0u);
    EXPECT_EQ(record.m_lParam, 0);
    EXPECT_EQ(record.m_dwChecksum, 0u);
    EXPECT_EQ(record.m_dwCRC, 0xFFFFFFFFu);
    EXPECT_EQ(record.m_dwCRCPos, 0u);
    EXPECT_TRUE(before <= record.GetCreationTime() && record.GetCreationTime() <= after);
    EXPECT_EQ(record.GetCreationTime(), record.GetLastAccessTime());
    EXPECT_EQ(record.GetCreationTime(), record.GetLastWriteTime());
}

TEST(FileInfo, RecordOfAFileTakesItsNameAsTheFolderSpellsIt) {
    TestFolder folder;
    WriteBytes(folder.Path(_T("Plan.DWG")), "12345");
    const CFileInfo record(folder.Path(_T("PLAN.dwg")), -7);
    EXPECT_EQ(record.GetFilePath(), folder.Path(_T("Plan.DWG")));
    EXPECT_EQ(record.GetLength(), 5u);
    EXPECT_EQ(record.GetLength64(), 5u);
    EXPECT_EQ(record.m_lParam, -7);
    EXPECT_TRUE(record.IsArchived());
    EXPECT_FALSE(record.IsDirectory());
    EXPECT_EQ(record.GetLastWriteTime().GetStatus(), COleDateTime::valid);
}

TEST(FileInfo, AMissingPathLeavesTheRecordUnchanged) {
    TestFolder folder;
    const CFileInfo cleared(folder.Path(_T("none")), 5);
    EXPECT_EQ(cleared.GetFilePath(), _T(""));
    EXPECT_EQ(cleared.m_lParam, 0);
    EXPECT_EQ(cleared.m_dwAttributes, 0xFFFFFFFFu);
    EXPECT_EQ(cleared.GetCreationTime().m_dt, 0.0);
    EXPECT_EQ(cleared.GetCreationTime().GetStatus(), COleDateTime::valid);
    WriteBytes(folder.Path(_T("a")), "xyz");
    CFileInfo kept(folder.Path(_T("a")), 5);
    kept.Create(folder.Path(_T("none")), 6);
    EXPECT_EQ(kept.GetFilePath(), folder.Path(_T("a")));
    EXPECT_EQ(kept.m_lParam, 5);
    kept.Create(CString(), 6);
    EXPECT_EQ(kept.m_lParam, 5);
}

TEST(FileInfo, APatternGivesItsFirstMatch) {
    TestFolder folder;
    WriteBytes(folder.Path(_T("b.xml")), "");
    WriteBytes(folder.Path(_T("a.xml")), "1");
    EXPECT_EQ(CFileInfo(folder.Path(_T("*.xml")), 0).GetFilePath(), folder.Path(_T("a.xml")));
}

TEST(FileInfo, RecordOfAFolder) {
    TestFolder folder;
    const CFileInfo record(folder.Path(), 0);
    EXPECT_TRUE(record.IsDirectory());
    EXPECT_EQ(record.GetFilePath(), folder.Path());
}

TEST(FileInfo, FindDataFillsTheRecordAndLeavesTheCodes) {
    CFileInfo record;
    record.m_dwCRC = 1;
    record.m_dwCRCPos = 2;
    record.m_dwChecksum = 3;
    record.m_dwChecksumPos = 4;
    WIN32_FIND_DATAW found = {};
    found.dwFileAttributes = FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_COMPRESSED;
    found.nFileSizeHigh = 3;
    found.nFileSizeLow = 0x80000001;
    found.cFileName[0] = _T('n');
    record.Create(&found, _T("C:\\d\\"), 1LL << 40);
    EXPECT_EQ(record.GetFilePath(), _T("C:\\d\\n"));
    EXPECT_EQ(record.m_dwAttributes, found.dwFileAttributes);
    EXPECT_EQ(record.GetLength(), 0x80000001u);
    EXPECT_EQ(record.GetLength64(), 0x380000001u);
    EXPECT_EQ(record.m_lParam, 1LL << 40);
    EXPECT_EQ(record.m_dwCRC, 1u);
    EXPECT_EQ(record.m_dwCRCPos, 0u);
    EXPECT_EQ(record.m_dwChecksum, 3u);
    EXPECT_EQ(record.m_dwChecksumPos, 4u);
    record.Create(nullptr, _T("C:\\other\\"), 9);
    EXPECT_EQ(record.GetFilePath(), _T("C:\\d\\n"));
    EXPECT_EQ(record.m_lParam, 1LL << 40);
}

TEST(FileInfo, StampsFromBefore1601ToAfter2107) {
    const auto record = [](DWORD low, DWORD high) {
        WIN32_FIND_DATAW found = {};
        found.ftLastWriteTime.dwLowDateTime = low;
        found.ftLastWriteTime.dwHighDateTime = high;
        found.ftCreationTime = found.ftLastAccessTime = found.ftLastWriteTime;
        CFileInfo info;
        info.Create(&found, _T(""), 0);
        return info;
    };
    // 1602-01-01, 2108-02-03, 9999-12-01 at noon UTC.
    EXPECT_EQ(record(0x0DFBA000, 0x00011F36).GetLastWriteTime().GetYear(), 1602);
    EXPECT_EQ(record(0x74DA6000, 0x0238830B).GetLastWriteTime().GetYear(), 2108);
    EXPECT_EQ(record(0x4426E000, 0x24C84267).GetCreationTime().GetYear(), 9999);
    // No time of a file: above the year 9999, and what would be before 1601.
    EXPECT_EQ(record(0, 0x30000000).GetLastWriteTime().GetStatus(), COleDateTime::invalid);
    EXPECT_EQ(record(0xFFFFFFFF, 0xFFFFFFFF).GetLastAccessTime().GetStatus(), COleDateTime::invalid);
}

TEST(FileInfo, EachAttributeIsItsBit) {
    CFileInfo record;
    const auto all = [&record] {
        return std::vector<int>{record.IsReadOnly(), record.IsHidden(),    record.IsSystem(),     record.IsDirectory(),
                                record.IsArchived(), record.IsTemporary(), record.IsCompressed(), record.IsNormal()};
    };
    EXPECT_EQ(all(), (std::vector<int>{0x1, 0x2, 0x4, 0x10, 0x20, 0x100, 0x800, 0}));
    record.m_dwAttributes = 0;
    EXPECT_EQ(all(), (std::vector<int>{0, 0, 0, 0, 0, 0, 0, 1}));
    record.m_dwAttributes = FILE_ATTRIBUTE_NORMAL;
    EXPECT_EQ(all(), (std::vector<int>{0, 0, 0, 0, 0, 0, 0, 0}));
    record.m_dwAttributes = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_HIDDEN;
    EXPECT_EQ(all(), (std::vector<int>{0, 2, 0, 0x10, 0, 0, 0, 0}));
}

TEST(FileInfo, PartsOfThePath) {
    const struct {
        LPCWSTR path, drive, dir, title, ext;
    } rows[] = {
        {_T("C:\\a\\b.txt"), _T("C:"), _T("\\a\\"), _T("b"), _T(".txt")},
        {_T("C:b.txt"), _T("C:"), _T(""), _T("b"), _T(".txt")},
        {_T("\\\\srv\\share\\d\\f.e"), _T(""), _T("\\\\srv\\share\\d\\"), _T("f"), _T(".e")},
        {_T("a/b.c/d"), _T(""), _T("a/b.c/"), _T("d"), _T("")},
        {_T("C:\\a\\b\\"), _T("C:"), _T("\\a\\b\\"), _T(""), _T("")},
        {_T(".htaccess"), _T(""), _T(""), _T(""), _T(".htaccess")},
        {_T("a.b.c"), _T(""), _T(""), _T("a.b"), _T(".c")},
        {_T("a."), _T(""), _T(""), _T("a"), _T(".")},
        {_T("C:"), _T("C:"), _T(""), _T(""), _T("")},
        {_T("图纸\\平面.dwg"), _T(""), _T("图纸\\"), _T("平面"), _T(".dwg")},
        {_T(""), _T(""), _T(""), _T(""), _T("")},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(kvttest::Utf8(row.path));
        CFileInfo record;
        record.GetFilePath() = row.path;
        EXPECT_EQ(record.GetFileDrive(), row.drive);
        EXPECT_EQ(record.GetFileDir(), row.dir);
        EXPECT_EQ(record.GetFileTitle(), row.title);
        EXPECT_EQ(record.GetFileExt(), row.ext);
        EXPECT_EQ(record.GetFileName(), CString(row.title) + row.ext);
        EXPECT_EQ(record.GetFileRoot(), CString(row.drive) + row.dir);
    }
}

TEST(FileInfo, PartsMayBeOfAnyLength) {
    CFileInfo record;
    const CString folder = CString(_T("C:\\")) + CString(_T('f'), 4000) + _T("\\");
    record.m_strFilePath = folder + CString(_T('n'), 3000) + _T(".") + CString(_T('e'), 2000);
    EXPECT_EQ(record.GetFileRoot(), folder);
    EXPECT_EQ(record.GetFileTitle().GetLength(), 3000);
    EXPECT_EQ(record.GetFileExt().GetLength(), 2001);
}

// ---- The codes

TEST_F(FileInfoContent, FiveBytesUseTheFirstAndTheFifth) {
    CFileInfo file = Made("\x11\x22\x33\x44\x55");
    EXPECT_EQ(file.GetCRC(), ~ModelStep(ModelStep(0xFFFFFFFF, 0x11), 0x55));
    EXPECT_EQ(file.m_dwCRCPos, 5u);
    EXPECT_EQ(file.GetChecksum(), 0x44332211u + 0x55u);
    EXPECT_EQ(file.m_dwChecksumPos, 5u);
}

TEST_F(FileInfoContent, EverySizeAgreesWithTheModel) {
    const std::string noise = Noise(16384 * 3 + 100);
    for (const size_t size : {1u,  2u,   3u,   4u,    7u,     8u,     63u,    64u,    65u,    66u,    67u,
                              68u, 127u, 128u, 1000u, 16383u, 16384u, 16385u, 16386u, 16387u, 32768u, 49251u}) {
        SCOPED_TRACE(size);
        const std::string bytes = noise.substr(0, size);
        CFileInfo file = Made(bytes);
        EXPECT_EQ(file.GetCRC(), ~ModelCrc(bytes));
        EXPECT_EQ(file.GetChecksum(), ModelSum(bytes));
        // Group by group, for a counter to be watched.
        DWORD progress = 7;
        EXPECT_EQ(file.GetCRC(0, 1, nullptr, &progress), ~ModelCrc(bytes));
        EXPECT_EQ(progress, 7 + size);
        EXPECT_EQ(file.GetChecksum(0, 1, nullptr, &progress), ModelSum(bytes));
        EXPECT_EQ(progress, 7 + 2 * size);
    }
}

TEST_F(FileInfoContent, SumsGoBeyond32Bits) {
    const std::string bytes(400, '\xFF');
    EXPECT_EQ(Made(bytes).GetChecksum(), 100u * 0xFFFFFFFFu);
}

TEST_F(FileInfoContent, ALimitLeavesTheRegisterAndALaterCallGoesOn) {
    const std::string bytes = Noise(100);
    CFileInfo file = Made(bytes);
    EXPECT_EQ(file.GetCRC(8), ModelCrc(bytes.substr(0, 8)));
    EXPECT_EQ(file.m_dwCRCPos, 8u);
    EXPECT_EQ(file.GetCRC(0, 0), ~ModelCrc(bytes));
    EXPECT_EQ(file.m_dwCRCPos, 100u);
    // The limit is reached: nothing happens any more.
    EXPECT_EQ(file.GetCRC(0, 0), ~ModelCrc(bytes));
    EXPECT_EQ(file.GetChecksum(8), ModelSum(bytes.substr(0, 8)));
    EXPECT_EQ(file.m_dwChecksumPos, 8u);
    EXPECT_EQ(file.GetChecksum(0, 0), ModelSum(bytes));
    EXPECT_EQ(file.GetChecksum(0, 0), ModelSum(bytes));
}

TEST_F(FileInfoContent, ALimitIsRoundedUpToGroups) {
    const std::string bytes = Noise(100);
    CFileInfo file = Made(bytes);
    EXPECT_EQ(file.GetCRC(5), ModelCrc(bytes.substr(0, 8)));
    EXPECT_EQ(file.GetChecksum(1), ModelSum(bytes.substr(0, 4)));
    // Up to 3 bytes beyond the length: there the file ends.
    EXPECT_EQ(Made("abcde").GetChecksum(5), ModelSum("abcde"));
    EXPECT_EQ(Made("abcde").GetCRC(5), ~ModelCrc("abcde"));
    EXPECT_EQ(Made("abcde").GetCRC(6), ~ModelCrc("abcde"));
}

TEST_F(FileInfoContent, ChunksAreAsLongAsTheLimitAndMayEndBeyondIt) {
    const std::string bytes = Noise(100);
    CFileInfo file = Made(bytes);
    file.GetCRC(8);
    EXPECT_EQ(file.GetCRC(20, 0), ModelCrc(bytes.substr(0, 28)));
    EXPECT_EQ(file.m_dwCRCPos, 28u);
    // A limit below the position: nothing to do.
    EXPECT_EQ(file.GetCRC(12, 0), ModelCrc(bytes.substr(0, 28)));
    EXPECT_EQ(file.m_dwCRCPos, 28u);
}

TEST_F(FileInfoContent, AnEmptyFileHasTheStartValues) {
    CFileInfo file = Made("");
    EXPECT_EQ(file.GetCRC(), 0xFFFFFFFFu);
    EXPECT_EQ(file.GetCRC(100), 0xFFFFFFFFu);
    EXPECT_EQ(file.GetChecksum(), 0u);
}

TEST_F(FileInfoContent, ARaisedFlagLeavesTheRegisterAsItStood) {
    const std::string bytes = Noise(100);
    CFileInfo file = Made(bytes);
    file.GetCRC(8);
    file.GetChecksum(8);
    const volatile int raised = 1;
    DWORD progress = 0;
    EXPECT_EQ(file.GetCRC(0, 0, &raised, &progress), ModelCrc(bytes.substr(0, 8)));
    EXPECT_EQ(file.m_dwCRCPos, 8u);
    EXPECT_EQ(file.GetChecksum(0, 0, &raised, &progress), ModelSum(bytes.substr(0, 8)));
    EXPECT_EQ(progress, 0u);
    EXPECT_EQ(file.GetCRC(0, 1, &raised), 0xFFFFFFFFu);
    EXPECT_EQ(file.m_dwCRCPos, 0u);
    const volatile int lowered = 0;
    EXPECT_EQ(file.GetCRC(0, 1, &lowered), ~ModelCrc(bytes));
}

TEST_F(FileInfoContent, FilesThatCannotBeOpenedLeaveTheRegister) {
    CFileInfo file = Made("abcdefgh");
    ::DeleteFileW(m_path);
    EXPECT_EQ(file.GetCRC(), 0xFFFFFFFFu);
    EXPECT_EQ(file.GetChecksum(), 0u);
    CFileInfo folder(m_folder.Path(), 0);
    folder.m_nLength = 100;
    EXPECT_EQ(folder.GetCRC(), 0xFFFFFFFFu);
    EXPECT_EQ(folder.GetChecksum(), 0u);
}

TEST_F(FileInfoContent, AFileThatShrankEndsUnfinalised) {
    const std::string bytes = Noise(100);
    CFileInfo file = Made(bytes);
    WriteBytes(m_path, bytes.substr(0, 40));
    EXPECT_EQ(file.GetCRC(), ModelCrc(bytes.substr(0, 40)));
    EXPECT_EQ(file.m_dwCRCPos, 40u);
    EXPECT_EQ(file.GetChecksum(), ModelSum(bytes.substr(0, 40)));
}

TEST_F(FileInfoContent, AFileThatGrewIsReadToItsOldLengthByWholeChunks) {
    const std::string bytes = Noise(20000);
    CFileInfo file = Made(bytes.substr(0, 17000));
    WriteBytes(m_path, bytes);
    // The second chunk is a whole one again and ends with the file.
    EXPECT_EQ(file.GetCRC(), ~ModelCrc(bytes));
    EXPECT_EQ(file.m_dwCRCPos, 20000u);
    EXPECT_EQ(file.GetChecksum(), ModelSum(bytes));
}

TEST_F(FileInfoContent, PositionsWrapAt4GiBAndOnePassEndsIt) {
    // The record says more than 4 GiB: the limit is never reached, and the end of the file ends the pass.
    const std::string bytes = Noise(40000);
    CFileInfo file = Made(bytes);
    file.m_nLength = 0x100000000ULL + 4;
    EXPECT_EQ(file.GetCRC(), ModelCrc(bytes));
    EXPECT_EQ(file.m_dwCRCPos, 40000u);
    EXPECT_EQ(file.GetChecksum(), ModelSum(bytes));
    EXPECT_EQ(file.GetCRC(0xFFFFFFFFFFFFFFFF), ModelCrc(bytes));
}

TEST_F(FileInfoContent, AFlagRaisedInTheMiddleDropsTheNextChunk) {
    const std::string bytes = Noise(60000);
    CFileInfo file = Made(bytes);
    // The counter itself is the flag: it is raised by the first chunk.
    volatile DWORD progress = 0;
    const auto* const flag = reinterpret_cast<const volatile int*>(&progress);
    EXPECT_EQ(file.GetCRC(0, 1, flag, &progress), ModelCrc(bytes.substr(0, 16384)));
    EXPECT_EQ(file.m_dwCRCPos, 16384u);
    EXPECT_EQ(progress, 16384u);
    progress = 0;
    EXPECT_EQ(file.GetChecksum(0, 1, flag, &progress), ModelSum(bytes.substr(0, 16384)));
    EXPECT_EQ(file.m_dwChecksumPos, 16384u);
    // It goes on from there.
    EXPECT_EQ(file.GetCRC(0, 0), ~ModelCrc(bytes));
    EXPECT_EQ(file.GetChecksum(0, 0), ModelSum(bytes));
}

TEST_F(FileInfoContent, ALimitInTheLastGroupOfAFinishedFileInvertsItAgain) {
    const std::string bytes = Noise(5);
    CFileInfo file = Made(bytes);
    const DWORD code = file.GetCRC();
    EXPECT_EQ(file.GetCRC(0, 0), code);
    EXPECT_EQ(file.GetCRC(5, 0), ~code);
    EXPECT_EQ(file.GetCRC(6, 0), ~code);
    EXPECT_EQ(file.GetCRC(4, 0), ~code);
}

TEST_F(FileInfoContent, SizesOver4GiBAreWhole) {
    Made("abcd");
    const HANDLE file = ::CreateFileW(m_path, GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    LARGE_INTEGER size;
    size.QuadPart = 0x100000005;
    ASSERT_TRUE(::SetFilePointerEx(file, size, nullptr, FILE_BEGIN) && ::SetEndOfFile(file));
    ::CloseHandle(file);
    const CFileInfo record(m_path, 0);
    EXPECT_EQ(record.GetLength64(), 0x100000005u);
    EXPECT_EQ(record.GetLength(), 5u);
    kvtfile::CFileInfoArray array;
    ASSERT_EQ(array.AddDir(m_folder.Path() + _T("\\"), _T("*"), 0, 2, 0), 1);
    EXPECT_EQ(array[0].GetLength64(), 0x100000005u);
}

}  // namespace
