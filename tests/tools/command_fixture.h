#pragma once

// Runs of the command `kvtfile` in a folder of their own.

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/support/process.h"
#include "tests/support/support.h"

namespace kvttest {

using Json = nlohmann::ordered_json;

class CommandTest : public testing::Test {
protected:
    CommandTest();
    ~CommandTest() override;

    /// Runs the command in the folder; "%DIR%" in an argument stands for the folder's path, and so it does in results.
    ProcessResult Run(std::vector<std::string> arguments);

    /// Runs the command and compares everything that it gives.
    void Expect(const std::vector<std::string>& arguments, int exitCode, const std::string& out,
                const std::string& err = "");
    /// Runs the command, which succeeds, and compares the JSON that it prints.
    void ExpectJson(const std::vector<std::string>& arguments, const std::string& json);

    /// Files in the folder.
    CString File(const CString& name) const { return m_folder.Path(name); }
    void Write(const CString& name, const std::string& bytes) const { WriteBytes(File(name), bytes); }
    std::string Read(const CString& name) const { return ReadBytes(File(name)); }
    const TestFolder& Folder() const { return m_folder; }

private:
    TestFolder m_folder;
    CString m_before;  // the current folder of the test process
};

}  // namespace kvttest
