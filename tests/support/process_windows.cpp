// Programs run with CreateProcessW; their output goes through temporary files, so that no pipe can fill up.

#include <windows.h>

#include "tests/support/process.h"
#include "tests/support/support.h"

namespace kvttest {

namespace {

/// A temporary file that a child process may write to.
class OutputFile {
public:
    OutputFile() {
        WCHAR folder[MAX_PATH + 1];
        WCHAR name[MAX_PATH + 1];
        ::GetTempPathW(MAX_PATH, folder);
        ::GetTempFileNameW(folder, L"out", 0, name);
        m_path = name;
        SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
        m_handle = ::CreateFileW(m_path, GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited, CREATE_ALWAYS,
                                 FILE_ATTRIBUTE_NORMAL, nullptr);
        EXPECT_NE(m_handle, INVALID_HANDLE_VALUE) << Utf8(m_path) << ", error " << ::GetLastError();
    }
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    ~OutputFile() { ::DeleteFileW(m_path); }

    HANDLE Handle() const { return m_handle; }
    std::string TakeAll() {
        ::CloseHandle(m_handle);
        return ReadBytes(m_path);
    }

private:
    CString m_path;
    HANDLE m_handle;
};

/// One word of a command line, in the form that programs take apart again: quotes and the backslashes before them are
/// escaped.
std::wstring Word(const std::string& argument) {
    const CString text = Wide(argument);
    std::wstring word = L"\"";
    size_t backslashes = 0;
    for (int i = 0; i < text.GetLength(); ++i) {
        if (text[i] == L'\\') {
            ++backslashes;
            continue;
        }
        word.append(text[i] == L'"' ? backslashes * 2 + 1 : backslashes, L'\\');
        backslashes = 0;
        word += text[i];
    }
    word.append(backslashes * 2, L'\\');
    return word + L"\"";
}

}  // namespace

ProcessResult RunProcess(const std::string& program, const std::vector<std::string>& arguments) {
    ProcessResult result;
    // A path of the machine that built the program is on drive Z.
    const std::string path = program.rfind('/', 0) == 0 ? "Z:" + program : program;
    std::wstring line = Word(path);
    for (const std::string& argument : arguments) {
        line += L" " + Word(argument);
    }
    OutputFile out;
    OutputFile err;
    STARTUPINFOW start = {};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdOutput = out.Handle();
    start.hStdError = err.Handle();
    PROCESS_INFORMATION process = {};
    if (!::CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start, &process)) {
        ADD_FAILURE() << path << ": error " << ::GetLastError();
    } else {
        ::WaitForSingleObject(process.hProcess, INFINITE);
        DWORD code = 0;
        ::GetExitCodeProcess(process.hProcess, &code);
        result.exitCode = static_cast<int>(code);
        ::CloseHandle(process.hThread);
        ::CloseHandle(process.hProcess);
    }
    result.out = out.TakeAll();
    result.err = err.TakeAll();
    return result;
}

}  // namespace kvttest
