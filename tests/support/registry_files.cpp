// Host registries from registration files: what the Registry Editor writes in its version 5, read into the registry.

#include "tests/support/registry.h"

namespace kvttest {

namespace {

unsigned Number(const CString& digits) {
    return static_cast<unsigned>(std::stoul(Utf8(digits), nullptr, 16));
}

// The text between the quote at `at` and the next one; `at` moves behind that.
CString TakeQuoted(const CString& line, int& at) {
    CString text;
    while (line[++at] != '"') {
        if (line[at] == '\\') {
            ++at;
        }
        text.AppendChar(line[at]);
    }
    ++at;
    return text;
}

void LoadValue(HKEY hive, const CString& key, const CString& line) {
    int at = 0;
    CString name;
    if (line[0] == '@') {
        at = 1;
    } else {
        name = TakeQuoted(line, at);
    }
    ++at;
    if (line[at] == '"') {
        PutText(hive, key, name, TakeQuoted(line, at));
        return;
    }
    const int colon = line.Find(_T(':'), at);
    const CString kind = line.Mid(at, colon - at);
    if (kind == _T("dword")) {
        PutNumber(hive, key, name, Number(line.Mid(colon + 1)));
        return;
    }
    const DWORD type = kind == _T("hex") ? REG_BINARY : Number(kind.Mid(4));
    std::string bytes;
    for (int byte = colon + 1; byte < line.GetLength(); byte += 3) {
        bytes += static_cast<char>(Number(line.Mid(byte, 2)));
    }
    PutBytes(hive, key, name, type, bytes);
}

}  // namespace

void HostKeys::LoadFile(const std::string& name) {
    const std::string bytes = ReadBytes(Wide(KVTFILE_TEST_DATA "/registry/" + name + ".reg"));
    ASSERT_EQ(Hex(bytes.substr(0, 2)), "FF FE") << name;
    CString text;
    for (size_t i = 2; i + 1 < bytes.size(); i += 2) {
        text.AppendChar(
            static_cast<WCHAR>(static_cast<unsigned char>(bytes[i]) | (static_cast<unsigned char>(bytes[i + 1]) << 8)));
    }
    text.Replace(_T("\\\r\n  "), _T(""));
    HKEY hive = nullptr;
    CString key;
    int position = 0;
    ASSERT_EQ(text.Tokenize(_T("\r\n"), position), _T("Windows Registry Editor Version 5.00"));
    for (CString line = text.Tokenize(_T("\r\n"), position); position >= 0;
         line = text.Tokenize(_T("\r\n"), position)) {
        if (line[0] != '[') {
            LoadValue(hive, key, line);
            continue;
        }
        const int root = line.Find(_T('\\'));
        hive = line.Mid(1, root - 1) == _T("HKEY_LOCAL_MACHINE") ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER;
        key = line.Mid(root + 1, line.GetLength() - root - 2);
        PutKey(hive, key);
    }
}

void HostKeys::Load(const std::string& name) {
    LoadFile(name + "-machine");
    LoadFile(name + "-user");
}

}  // namespace kvttest
