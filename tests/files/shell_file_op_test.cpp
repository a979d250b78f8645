// CFShellFileOp and DelFile: what is collected, what is refused, and what the shell is handed.

#include "kvtfile/ShellFileOp.h"

#include <type_traits>

#include "kvtfile/FileUtil.h"
#include "tests/support/support.h"

namespace {

using kvtfile::CFShellFileOp;
using kvttest::Exists;
using kvttest::MakeFolders;
using kvttest::ReadBytes;
using kvttest::TestFolder;
using kvttest::Utf8;
using kvttest::WriteBytes;

constexpr FILEOP_FLAGS kQuiet = FOF_SILENT | FOF_NOCONFIRMATION | FOF_NOERRORUI | FOF_NOCONFIRMMKDIR;

/// Shows the fields.
class OpenOp : public CFShellFileOp {
public:
    using CFShellFileOp::m_bFlagsSet;
    using CFShellFileOp::m_bGoCalled;
    using CFShellFileOp::m_lstDestFiles;
    using CFShellFileOp::m_lstSourceFiles;
    using CFShellFileOp::m_rFOS;
    using CFShellFileOp::m_strProgressTitle;
};

std::vector<std::string> Texts(const CStringList& list) {
    std::vector<std::string> texts;
    for (POSITION position = list.GetHeadPosition(); position;) {
        texts.push_back(Utf8(list.GetNext(position)));
    }
    return texts;
}

using Names = std::vector<std::string>;

struct GoResult {
    int returned = -1;
    int started = -1;
    int code = -1;
    int aborted = -1;
};

GoResult Go(CFShellFileOp& op) {
    GoResult result;
    result.returned = op.Go(&result.started, &result.code, &result.aborted);
    return result;
}

TEST(ShellFileOp, StartsEmpty) {
    OpenOp op;
    EXPECT_EQ(op.m_bFlagsSet, 0);
    EXPECT_EQ(op.m_bGoCalled, 0);
    EXPECT_TRUE(op.GetSourceFileList().IsEmpty());
    EXPECT_TRUE(op.GetDestFileList().IsEmpty());
    EXPECT_EQ(op.m_rFOS.wFunc, 0u);
    EXPECT_EQ(op.m_rFOS.fFlags, 0);
    EXPECT_EQ(op.m_rFOS.hwnd, nullptr);
    EXPECT_EQ(op.AnyOperationsAborted(), FALSE);
    EXPECT_TRUE(op.m_strProgressTitle.IsEmpty());
}

TEST(ShellFileOp, FieldsStandInTheirOrder) {
    OpenOp op;
    const auto at = [&op](const void* field) {
        return static_cast<const char*>(field) - reinterpret_cast<const char*>(&op);
    };
    EXPECT_EQ(at(&op.m_bFlagsSet), 0);
    EXPECT_LT(at(&op.m_bFlagsSet), at(&op.m_bGoCalled));
    EXPECT_LT(at(&op.m_bGoCalled), at(&op.m_lstSourceFiles));
    EXPECT_LT(at(&op.m_lstSourceFiles), at(&op.m_lstDestFiles));
    EXPECT_LT(at(&op.m_lstDestFiles), at(&op.m_rFOS));
    EXPECT_LT(at(&op.m_rFOS), at(&op.m_strProgressTitle));
}

TEST(ShellFileOp, SourcesAreKeptInOrder) {
    CFShellFileOp op;
    EXPECT_EQ(op.AddSourceFile(_T("C:\\b")), 1);
    CStringArray more;
    EXPECT_EQ(op.AddSourceFile(more), 1);
    more.Add(_T("C:\\a"));
    more.Add(_T("C:\\b"));
    EXPECT_EQ(op.AddSourceFile(more), 1);
    EXPECT_EQ(Texts(op.GetSourceFileList()), (Names{"C:\\b", "C:\\a", "C:\\b"}));
    EXPECT_EQ(more.GetSize(), 2);
}

TEST(ShellFileOp, ADestinationIsMadeAsAFolder) {
    const TestFolder folder;
    CFShellFileOp op;
    EXPECT_EQ(op.AddDestFile(folder.Path(_T("a\\b.txt"))), 1);
    EXPECT_EQ(op.AddDestFile(folder.Path(_T("c/"))), 1);
    EXPECT_TRUE(kvtfile::FIsDirectory(folder.Path(_T("a\\b.txt"))));
    EXPECT_TRUE(kvtfile::FIsDirectory(folder.Path(_T("c"))));
    EXPECT_EQ(Texts(op.GetDestFileList()), (Names{Utf8(folder.Path(_T("a\\b.txt"))), Utf8(folder.Path(_T("c/")))}));
}

TEST(ShellFileOp, ADestinationThatCannotBeMadeIsKeptAllTheSame) {
    const TestFolder folder;
    WriteBytes(folder.Path(_T("file")), "x");
    CFShellFileOp op;
    EXPECT_EQ(op.AddDestFile(folder.Path(_T("file\\sub"))), 1);
    EXPECT_EQ(op.GetDestFileList().GetCount(), 1);
}

TEST(ShellFileOp, SwitchesBecomeFlags) {
    const struct {
        int silent, undo, files, sure, folders, rename, simple;
        FILEOP_FLAGS flags;
    } rows[] = {
        {0, 0, 0, 0, 0, 0, 0, 0},    {1, 0, 0, 0, 0, 0, 0, 0x4},   {0, 1, 0, 0, 0, 0, 0, 0x40},
        {0, 0, 1, 0, 0, 0, 0, 0x80}, {0, 0, 0, 1, 0, 0, 0, 0x10},  {0, 0, 0, 0, 1, 0, 0, 0x200},
        {0, 0, 0, 0, 0, 1, 0, 0x8},  {0, 0, 0, 0, 0, 0, 1, 0x100}, {7, -1, 2, 3, 4, 5, 6, 0x3DC},
    };
    for (const auto& row : rows) {
        OpenOp op;
        op.SetOperationFlags(FO_COPY, nullptr, row.silent, row.undo, row.files, row.sure, row.folders, row.rename,
                             row.simple);
        EXPECT_EQ(op.m_rFOS.fFlags, row.flags);
        EXPECT_EQ(op.m_rFOS.wFunc, FO_COPY);
        EXPECT_EQ(op.m_bFlagsSet, 1);
    }
}

TEST(ShellFileOp, TheOwnersHandleIsKept) {
    OpenOp op;
    CWnd owner;
    owner.m_hWnd = reinterpret_cast<HWND>(&owner);
    op.SetOperationFlags(FO_MOVE, &owner, FOF_SILENT);
    EXPECT_EQ(op.m_rFOS.hwnd, owner.m_hWnd);
    EXPECT_EQ(op.m_rFOS.fFlags, FOF_SILENT);
    op.SetOperationFlags(FO_MOVE, nullptr, FOF_SILENT);
    EXPECT_EQ(op.m_rFOS.hwnd, nullptr);
    owner.m_hWnd = nullptr;
}

TEST(ShellFileOp, ResetForgetsEverything) {
    const TestFolder folder;
    OpenOp op;
    op.AddSourceFile(folder.Path(_T("none")));
    op.AddDestFile(folder.Path(_T("d")));
    op.SetOperationFlags(FO_COPY, nullptr, kQuiet);
    op.SetProgressDlgTitle(_T("title"));
    EXPECT_EQ(op.m_strProgressTitle, _T("title"));
    op.Reset();
    EXPECT_EQ(op.m_bFlagsSet, 0);
    EXPECT_TRUE(op.GetSourceFileList().IsEmpty());
    EXPECT_TRUE(op.GetDestFileList().IsEmpty());
    EXPECT_EQ(op.m_rFOS.wFunc, 0u);
    EXPECT_EQ(op.m_rFOS.fFlags, 0);
    EXPECT_TRUE(op.m_strProgressTitle.IsEmpty());
    EXPECT_EQ(Go(op).started, 0);
}

TEST(ShellFileOp, GoRefusesWhatIsNotComplete) {
    const TestFolder folder;
    const CString source = folder.Path(_T("a.txt"));
    WriteBytes(source, "a");
    const struct {
        const char* what;
        int sources, destinations;
        UINT operation;  // 99: none is set
    } rows[] = {
        {"no operation", 1, 1, 99},        {"operation 0", 1, 1, 0},
        {"operation 5", 1, 1, 5},          {"no source", 0, 1, FO_COPY},
        {"no source", 0, 0, FO_DELETE},    {"no destination", 1, 0, FO_COPY},
        {"no destination", 1, 0, FO_MOVE}, {"no destination", 1, 0, FO_RENAME},
        {"two for one", 1, 2, FO_COPY},    {"three for two", 2, 3, FO_COPY},
        {"two for three", 3, 2, FO_MOVE},  {"three for two", 2, 3, FO_RENAME},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        OpenOp op;
        for (int i = 0; i < row.sources; ++i) {
            op.AddSourceFile(source);
        }
        for (int i = 0; i < row.destinations; ++i) {
            op.AddDestFile(folder.Path(_T("d")));
        }
        if (row.operation != 99) {
            op.SetOperationFlags(row.operation, nullptr, kQuiet);
        }
        const GoResult result = Go(op);
        EXPECT_EQ(result.returned, 0);
        EXPECT_EQ(result.started, 0);
        EXPECT_EQ(result.code, -1);
        EXPECT_EQ(result.aborted, -1);
        EXPECT_EQ(op.m_bGoCalled, 0);
        EXPECT_TRUE(Exists(source));
    }
}

TEST(ShellFileOp, GoRefusesPathsThatWouldEndTheListEarly) {
    const TestFolder folder;
    const CString first = folder.Path(_T("a.txt"));
    WriteBytes(first, "a");
    const CString with_nul = first + CString(_T("\0x"), 2);
    for (const CString& bad : {CString(), with_nul}) {
        CFShellFileOp op;
        CStringArray sources;
        sources.Add(first);
        sources.Add(bad);
        op.AddSourceFile(sources);
        op.SetOperationFlags(FO_DELETE, nullptr, kQuiet);
        EXPECT_EQ(Go(op).started, 0);
    }
    CFShellFileOp null_source;
    EXPECT_EQ(null_source.AddSourceFile(static_cast<LPCWSTR>(nullptr)), 1);
    null_source.SetOperationFlags(FO_DELETE, nullptr, kQuiet);
    EXPECT_EQ(Go(null_source).started, 0);
    CFShellFileOp null_destination;
    null_destination.AddSourceFile(first);
    EXPECT_EQ(null_destination.AddDestFile(nullptr), 1);
    null_destination.SetOperationFlags(FO_COPY, nullptr, kQuiet);
    EXPECT_EQ(Go(null_destination).started, 0);
    EXPECT_TRUE(Exists(first));
}

TEST(ShellFileOp, ResultPointersMayBeNull) {
    const TestFolder folder;
    const CString path = folder.Path(_T("a.txt"));
    WriteBytes(path, "a");
    CFShellFileOp op;
    EXPECT_EQ(op.Go(nullptr, nullptr, nullptr), 0);
    op.AddSourceFile(path);
    op.SetOperationFlags(FO_DELETE, nullptr, kQuiet);
    op.SetProgressDlgTitle(nullptr);
    EXPECT_EQ(op.Go(nullptr, nullptr, nullptr), 1);
    EXPECT_FALSE(Exists(path));
}

TEST(ShellFileOp, GoCopiesIntoOneFolder) {
    const TestFolder folder;
    WriteBytes(folder.Path(_T("a.txt")), "a");
    WriteBytes(folder.Path(_T("b.txt")), "b");
    WriteBytes(folder.Path(_T("c.dat")), "c");
    OpenOp op;
    op.AddSourceFile(folder.Path(_T("*.txt")));
    op.AddSourceFile(folder.Path(_T("c.dat")));
    op.AddDestFile(folder.Path(_T("d\\e")));
    op.SetOperationFlags(FO_COPY, nullptr, 1, 0, 0, 1, 1, 0, 0);
    const GoResult result = Go(op);
    EXPECT_EQ(result.returned, 1);
    EXPECT_EQ(result.started, 1);
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.aborted, 0);
    EXPECT_EQ(op.m_bGoCalled, 1);
    EXPECT_EQ(op.m_rFOS.fFlags & FOF_MULTIDESTFILES, 0);
    EXPECT_EQ(ReadBytes(folder.Path(_T("d\\e\\a.txt"))), "a");
    EXPECT_EQ(ReadBytes(folder.Path(_T("d\\e\\b.txt"))), "b");
    EXPECT_EQ(ReadBytes(folder.Path(_T("d\\e\\c.dat"))), "c");
    EXPECT_EQ(folder.Names(), (Names{"a.txt", "b.txt", "c.dat", "d"}));
}

TEST(ShellFileOp, GoMovesIntoOneFolder) {
    const TestFolder folder;
    WriteBytes(folder.Path(_T("a.txt")), "a");
    MakeFolders(folder.Path(_T("s\\in")));
    WriteBytes(folder.Path(_T("s\\in\\b.txt")), "b");
    CFShellFileOp op;
    op.AddSourceFile(folder.Path(_T("a.txt")));
    op.AddSourceFile(folder.Path(_T("s")));
    op.AddDestFile(folder.Path(_T("d")));
    op.SetOperationFlags(FO_MOVE, nullptr, kQuiet);
    const GoResult result = Go(op);
    EXPECT_EQ(result.returned, 1);
    EXPECT_EQ(result.code, 0);
    EXPECT_EQ(result.aborted, 0);
    EXPECT_EQ(op.AnyOperationsAborted(), FALSE);
    EXPECT_EQ(ReadBytes(folder.Path(_T("d\\a.txt"))), "a");
    EXPECT_EQ(ReadBytes(folder.Path(_T("d\\s\\in\\b.txt"))), "b");
    EXPECT_EQ(folder.Names(), (Names{"d"}));
}

TEST(ShellFileOp, RenamingNeedsTheFolderOfTheNewNameRemoved) {
    const TestFolder folder;
    WriteBytes(folder.Path(_T("a.txt")), "a");
    CFShellFileOp op;
    op.AddSourceFile(folder.Path(_T("a.txt")));
    op.AddDestFile(folder.Path(_T("b.txt")));
    op.SetOperationFlags(FO_RENAME, nullptr, kQuiet);
    EXPECT_EQ(Go(op).returned, 0);
    EXPECT_EQ(ReadBytes(folder.Path(_T("a.txt"))), "a");
    ASSERT_TRUE(::RemoveDirectoryW(folder.Path(_T("b.txt"))));
    EXPECT_EQ(Go(op).returned, 1);
    EXPECT_EQ(folder.Names(), (Names{"b.txt"}));
    EXPECT_EQ(ReadBytes(folder.Path(_T("b.txt"))), "a");
}

TEST(ShellFileOp, GoCanRunAgain) {
    const TestFolder folder;
    WriteBytes(folder.Path(_T("a.txt")), "1");
    CFShellFileOp op;
    op.AddSourceFile(folder.Path(_T("a.txt")));
    op.AddDestFile(folder.Path(_T("d")));
    op.SetOperationFlags(FO_COPY, nullptr, kQuiet);
    EXPECT_EQ(Go(op).returned, 1);
    WriteBytes(folder.Path(_T("a.txt")), "2");
    EXPECT_EQ(Go(op).returned, 1);
    EXPECT_EQ(ReadBytes(folder.Path(_T("d\\a.txt"))), "2");
}

TEST(ShellFileOp, SeveralDestinationsSetTheirFlag) {
    const TestFolder folder;
    WriteBytes(folder.Path(_T("a.txt")), "a");
    WriteBytes(folder.Path(_T("b.txt")), "b");
    OpenOp op;
    op.AddSourceFile(folder.Path(_T("a.txt")));
    op.AddSourceFile(folder.Path(_T("b.txt")));
    op.AddDestFile(folder.Path(_T("d")));
    op.AddDestFile(folder.Path(_T("e")));
    op.SetOperationFlags(FO_COPY, nullptr, kQuiet);
    EXPECT_EQ(Go(op).started, 1);
    EXPECT_NE(op.m_rFOS.fFlags & FOF_MULTIDESTFILES, 0);
    EXPECT_EQ(op.m_rFOS.pFrom, nullptr);
    EXPECT_EQ(op.m_rFOS.pTo, nullptr);
}

TEST(ShellFileOp, GoDeletesWithoutDestinations) {
    const TestFolder folder;
    MakeFolders(folder.Path(_T("d\\e")));
    WriteBytes(folder.Path(_T("d\\e\\a.txt")), "a");
    WriteBytes(folder.Path(_T("b.txt")), "b");
    CFShellFileOp op;
    op.AddSourceFile(folder.Path(_T("d")));
    op.AddSourceFile(folder.Path(_T("b.txt")));
    op.SetOperationFlags(FO_DELETE, nullptr, kQuiet);
    EXPECT_EQ(Go(op).returned, 1);
    EXPECT_TRUE(folder.Names().empty());
}

TEST(ShellFileOp, AFailureGivesTheShellsResult) {
    const TestFolder folder;
    CFShellFileOp op;
    op.AddSourceFile(folder.Path(_T("none.txt")));
    op.SetOperationFlags(FO_DELETE, nullptr, kQuiet);
    const GoResult result = Go(op);
    EXPECT_EQ(result.returned, 0);
    EXPECT_EQ(result.started, 1);
    EXPECT_NE(result.code, 0);
}

TEST(ShellFileOp, AnObjectIsNotCopied) {
    EXPECT_FALSE(std::is_copy_constructible_v<CFShellFileOp>);
    EXPECT_FALSE(std::is_copy_assignable_v<CFShellFileOp>);
}

TEST(DelFile, DeletesFilesFoldersAndMatches) {
    const TestFolder folder;
    WriteBytes(folder.Path(_T("a.txt")), "a");
    WriteBytes(folder.Path(_T("b1.dat")), "b");
    WriteBytes(folder.Path(_T("b2.dat")), "b");
    MakeFolders(folder.Path(_T("d\\e")));
    WriteBytes(folder.Path(_T("d\\e\\f.txt")), "f");
    EXPECT_EQ(kvtfile::DelFile(folder.Path(_T("a.txt"))), 1);
    EXPECT_EQ(folder.Names(), (Names{"b1.dat", "b2.dat", "d"}));
    EXPECT_EQ(kvtfile::DelFile(folder.Path(_T("b*.dat"))), 1);
    EXPECT_EQ(kvtfile::DelFile(folder.Path(_T("d"))), 1);
    EXPECT_TRUE(folder.Names().empty());
}

TEST(DelFile, WhatIsNotThereIsAFailure) {
    const TestFolder folder;
    WriteBytes(folder.Path(_T("a.txt")), "a");
    EXPECT_EQ(kvtfile::DelFile(folder.Path(_T("none.txt"))), 0);
    EXPECT_EQ(kvtfile::DelFile(folder.Path(_T("none\\a.txt"))), 0);
    EXPECT_EQ(kvtfile::DelFile(CString()), 0);
    EXPECT_EQ(kvtfile::DelFile(folder.Path(_T("a.txt")) + CString(_T("\0x"), 2)), 0);
    EXPECT_EQ(folder.Names(), (Names{"a.txt"}));
}

}  // namespace
