#pragma once

// A folder of the file system with small trees in it, as the tests of shell operations write them down.

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "tests/support/support.h"

namespace kvttest {

/// A fresh folder that is removed with everything in it at the end. Names use "/".
class PosixFolder {
public:
    /// @param above The folder to make it in; empty: the usual one for temporary files.
    explicit PosixFolder(const std::string& above = std::string()) {
        m_path = (above.empty() ? std::filesystem::temp_directory_path().string() : above) + "/kvtfile-shell-XXXXXX";
        if (!::mkdtemp(m_path.data())) {
            ADD_FAILURE() << "no folder " << m_path;
        }
    }
    ~PosixFolder() {
        RemoveTree(Windows(""));
        std::error_code none;
        std::filesystem::remove_all(m_path, none);  // links that lead nowhere, which listings do not show
    }
    PosixFolder(const PosixFolder&) = delete;
    PosixFolder& operator=(const PosixFolder&) = delete;

    std::string operator/(const std::string& name) const { return name.empty() ? m_path : m_path + "/" + name; }
    CString Windows(const std::string& name) const { return _T("Z:") + Backslashes(*this / name); }

    void MakeFolder(const std::string& name) const { std::filesystem::create_directories(*this / name); }
    void Write(const std::string& name, const std::string& bytes) const {
        std::filesystem::create_directories(std::filesystem::path(*this / name).parent_path());
        std::ofstream(*this / name, std::ios::binary) << bytes;
    }
    std::string Read(const std::string& name) const {
        std::ifstream file(*this / name, std::ios::binary);
        EXPECT_TRUE(file) << name;
        return {std::istreambuf_iterator<char>(file), {}};
    }

    /// All that is in it, sorted: "folder/", "folder/file=content", "link->text".
    std::vector<std::string> Tree(const std::string& below = std::string()) const {
        namespace fs = std::filesystem;
        std::vector<std::string> entries;
        const fs::path root = *this / below;
        if (!fs::exists(root)) {
            return {"missing"};
        }
        for (const auto& entry : fs::recursive_directory_iterator(root)) {
            const std::string name = entry.path().lexically_relative(root).string();
            if (entry.is_symlink()) {
                entries.push_back(name + "->" + fs::read_symlink(entry.path()).string());
            } else if (entry.is_directory()) {
                entries.push_back(name + "/");
            } else if (entry.is_regular_file()) {
                std::ifstream file(entry.path(), std::ios::binary);
                entries.push_back(name + "=" + std::string(std::istreambuf_iterator<char>(file), {}));
            } else {
                entries.push_back(name + "|");
            }
        }
        std::sort(entries.begin(), entries.end());
        return entries;
    }

private:
    static CString Backslashes(const std::string& path) {
        CString text = Wide(path);
        text.Replace(_T('/'), _T('\\'));
        return text;
    }

    std::string m_path;
};

}  // namespace kvttest
