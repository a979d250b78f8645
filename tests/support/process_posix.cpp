// Programs run with posix_spawn; their output goes through unnamed files, so that no pipe can fill up.

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "tests/support/process.h"
#include "tests/support/support.h"

namespace kvttest {

namespace {

std::string TakeAll(std::FILE* file) {
    std::string text;
    std::rewind(file);
    char part[4096];
    for (size_t got = 0; (got = std::fread(part, 1, sizeof part, file)) != 0;) {
        text.append(part, got);
    }
    std::fclose(file);
    return text;
}

}  // namespace

ProcessResult RunProcess(const std::string& program, const std::vector<std::string>& arguments) {
    ProcessResult result;
    std::FILE* out = std::tmpfile();
    std::FILE* err = std::tmpfile();
    if (!out || !err) {
        ADD_FAILURE() << "no temporary file: " << std::strerror(errno);
        return result;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", 0, 0);
    posix_spawn_file_actions_adddup2(&actions, fileno(out), STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, fileno(err), STDERR_FILENO);
    std::vector<char*> words = {const_cast<char*>(program.c_str())};
    for (const std::string& argument : arguments) {
        words.push_back(const_cast<char*>(argument.c_str()));
    }
    words.push_back(nullptr);
    pid_t child = 0;
    const int error = posix_spawn(&child, program.c_str(), &actions, nullptr, words.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        ADD_FAILURE() << program << ": " << std::strerror(error);
    } else {
        int status = 0;
        while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
        }
        if (WIFEXITED(status)) {
            result.exitCode = WEXITSTATUS(status);
        } else {
            ADD_FAILURE() << program << " was ended by signal " << WTERMSIG(status);
        }
    }
    result.out = TakeAll(out);
    result.err = TakeAll(err);
    return result;
}

}  // namespace kvttest
