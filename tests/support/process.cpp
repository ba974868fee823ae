#include "support/process.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <stdexcept>

#include <boost/algorithm/string/split.hpp>

extern char** environ;

namespace integrity_check_tool::test {

std::vector<std::string> EmulatorCommand()
{
#ifdef ICT_TEST_EMULATOR
    std::string joined = ICT_TEST_EMULATOR;
    std::vector<std::string> parts;
    if (!joined.empty()) {
        boost::algorithm::split(parts, joined, [](char c) { return c == '|'; });
    }
    return parts;
#else
    return {};
#endif
}

ProcessResult RunProcess(const std::string& program, const std::vector<std::string>& arguments,
                         const std::string& workingDirectory, const std::vector<std::string>& launcher)
{
    std::vector<std::string> command = launcher;
    const std::vector<std::string> emulator = EmulatorCommand();
    command.insert(command.end(), emulator.begin(), emulator.end());
    command.push_back(program);
    command.insert(command.end(), arguments.begin(), arguments.end());
    return RunHostProcess(command, workingDirectory);
}

ProcessResult RunHostProcess(std::vector<std::string> command, const std::string& workingDirectory)
{
    std::vector<char*> argv;
    for (std::string& part : command) {
        argv.push_back(part.data());
    }
    argv.push_back(nullptr);

    int outPipe[2];
    int errPipe[2];
    if (::pipe2(outPipe, O_CLOEXEC) != 0 || ::pipe2(errPipe, O_CLOEXEC) != 0) {
        throw std::runtime_error("pipe failed");
    }
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, outPipe[1], STDOUT_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, errPipe[1], STDERR_FILENO);
    if (!workingDirectory.empty()) {
        ::posix_spawn_file_actions_addchdir_np(&actions, workingDirectory.c_str());
    }
    pid_t pid = 0;
    const int spawned = ::posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    ::close(outPipe[1]);
    ::close(errPipe[1]);
    if (spawned != 0) {
        ::close(outPipe[0]);
        ::close(errPipe[0]);
        throw std::runtime_error("cannot start " + command.front());
    }

    ProcessResult result;
    std::array<pollfd, 2> fds{{{outPipe[0], POLLIN, 0}, {errPipe[0], POLLIN, 0}}};
    std::string* sinks[2] = {&result.out, &result.err};
    int open = 2;
    while (open > 0) {
        if (::poll(fds.data(), fds.size(), -1) < 0) {
            if (errno == EINTR) {
                continue;
            }
            break;
        }
        for (std::size_t i = 0; i < fds.size(); ++i) {
            if (fds[i].fd < 0 || fds[i].revents == 0) {
                continue;
            }
            char buffer[65536];
            const ssize_t got = ::read(fds[i].fd, buffer, sizeof buffer);
            if (got > 0) {
                sinks[i]->append(buffer, static_cast<std::size_t>(got));
            } else if (got == 0 || errno != EINTR) {
                ::close(fds[i].fd);
                fds[i].fd = -1;
                --open;
            }
        }
    }
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    result.exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return result;
}

}  // namespace integrity_check_tool::test
