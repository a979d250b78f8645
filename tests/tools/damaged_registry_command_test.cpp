// The command with a registry that cannot be read: a damaged store is not taken for an empty one.

#include <stdlib.h>
#include <unistd.h>

#include <cstdio>

#include "tests/tools/command_fixture.h"

namespace kvttest {
namespace {

/// Runs of the command in a prefix of their own, whose registry is no database.
class DamagedRegistryCommand : public CommandTest {
protected:
    DamagedRegistryCommand() {
        char folder[] = "/tmp/kvtfile-damaged-XXXXXX";
        m_prefix = mkdtemp(folder);
        std::FILE* store = std::fopen(Store().c_str(), "wb");
        std::fputs("no database at all", store);
        std::fclose(store);
        m_before = getenv("KVTFILE_PREFIX");
        setenv("KVTFILE_PREFIX", m_prefix.c_str(), 1);
    }
    ~DamagedRegistryCommand() override {
        setenv("KVTFILE_PREFIX", m_before.c_str(), 1);
        for (const char* more : {"", "-wal", "-shm", ".lock"}) {
            unlink((Store() + more).c_str());
        }
        rmdir(m_prefix.c_str());
    }

private:
    std::string Store() const { return m_prefix + "/registry.db"; }

    std::string m_prefix;
    std::string m_before;
};

TEST_F(DamagedRegistryCommand, IsAFailureOfEveryVerbThatReadsIt) {
    const std::string damaged = Utf8(SystemText(ERROR_BADDB));
    for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
             {"reg", "query", "HKCU"},
             {"host", "list"},
             {"arx", "status", "A", "--release", "2020"},
             {"arx", "add", "A", "--release", "R14", "--folder", "C:\\A"},
             {"support-path", "list"},
             {"support-path", "add", "C:\\A"},
         }) {
        SCOPED_TRACE(arguments[0] + " " + arguments[1]);
        const ProcessResult result = Run(arguments);
        EXPECT_EQ(result.exitCode, 3);
        EXPECT_EQ(result.out, "");
        EXPECT_NE(result.err.find(damaged), std::string::npos) << result.err;
    }
}

}  // namespace
}  // namespace kvttest
