// The command with a registry of its own that cannot be read, or not be written: a damaged store is not taken for an
// empty one, and looking needs no right to write.

#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>

#include "tests/tools/command_fixture.h"

namespace kvttest {
namespace {

/// Runs of the command in a prefix of their own.
class OwnRegistryCommand : public CommandTest {
protected:
    OwnRegistryCommand() {
        char folder[] = "/tmp/kvtfile-own-XXXXXX";
        m_prefix = mkdtemp(folder);
        m_before = getenv("KVTFILE_PREFIX");
        setenv("KVTFILE_PREFIX", m_prefix.c_str(), 1);
    }
    ~OwnRegistryCommand() override {
        setenv("KVTFILE_PREFIX", m_before.c_str(), 1);
        chmod(m_prefix.c_str(), 0755);
        for (const char* more : {"", "-wal", "-shm", ".lock"}) {
            unlink((Store() + more).c_str());
        }
        for (const char* folder : {"/drive_c", ""}) {
            rmdir((m_prefix + folder).c_str());
        }
    }

    std::string Store() const { return m_prefix + "/registry.db"; }
    const std::string& Prefix() const { return m_prefix; }

private:
    std::string m_prefix;
    std::string m_before;
};

class DamagedRegistryCommand : public OwnRegistryCommand {
protected:
    DamagedRegistryCommand() {
        std::FILE* store = std::fopen(Store().c_str(), "wb");
        std::fputs("no database at all", store);
        std::fclose(store);
    }
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

TEST_F(OwnRegistryCommand, ARegistrationIsShownWithoutTheRightToWrite) {
    if (geteuid() == 0) {
        GTEST_SKIP() << "root may do everything";
    }
    for (const char* half : {"machine", "user"}) {
        const ProcessResult imported =
            Run({"reg", "import", KVTFILE_TEST_DATA "/registry/acad2020-" + std::string(half) + ".reg"});
        ASSERT_EQ(imported.exitCode, 0) << imported.err;
    }
    std::vector<std::string> add = {"arx", "add", "Walls", "--release", "2020", "--folder", "C:\\Walls"};
    ASSERT_EQ(Run(add).exitCode, 0);
    const std::vector<std::string> status = {"arx", "status", "Walls", "--release", "2020"};
    const ProcessResult before = Run(status);
    ASSERT_EQ(before.exitCode, 0) << before.err;
    ASSERT_EQ(chmod(Store().c_str(), 0444), 0);
    ASSERT_EQ(chmod(Prefix().c_str(), 0555), 0);

    Expect(status, 0, before.out);
    const std::string refused =
        "kvtfile: the keys of the release 2020 may not be written\n"
        "  Registering needs the right to do so; 'kvtfile arx status' only reads.\n";
    Expect(add, 1, "", refused);
    add.push_back("--dry-run");
    const ProcessResult dryRun = Run(add);
    EXPECT_EQ(dryRun.exitCode, 0) << dryRun.err;
    EXPECT_EQ(dryRun.out + "loaded 0x00: not by itself\n", before.out);
}

}  // namespace
}  // namespace kvttest
