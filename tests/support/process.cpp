#include "support/process.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <thread>

#include <boost/algorithm/string/split.hpp>

extern char** environ;

namespace integrity_check_tool::test {

namespace {

/// Everything that comes through `fd` until its end; then closes it.
std::string Drain(int fd)
{
    std::string text;
    char buffer[65536];
    for (ssize_t got; (got = ::read(fd, buffer, sizeof buffer)) != 0;) {
        if (got > 0) {
            text.append(buffer, static_cast<std::size_t>(got));
        } else if (errno != EINTR) {
            break;
        }
    }
    ::close(fd);
    return text;
}

}  // namespace

std::vector<std::string> EmulatorCommand()
{
    std::vector<std::string> parts;
#ifdef ICT_TEST_EMULATOR
    const std::string joined = ICT_TEST_EMULATOR;
    if (!joined.empty()) {
        boost::algorithm::split(parts, joined, [](char c) { return c == '|'; });
    }
#endif
    return parts;
}

ProcessResult RunProcess(const std::string& program, const std::vector<std::string>& arguments,
                         const std::string& workingDirectory,
                         const std::vector<std::string>& launcher)
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

    // Both pipes are read at once, so that a child filling one never waits.
    ProcessResult result;
    std::thread errors([&] { result.err = Drain(errPipe[0]); });
    result.out = Drain(outPipe[0]);
    errors.join();
    if (spawned != 0) {
        throw std::runtime_error("cannot start " + command.front());
    }
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    result.exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return result;
}

int FreeLoopbackPort()
{
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    int port = 0;
    if (fd >= 0 && ::bind(fd, reinterpret_cast<sockaddr*>(&address), size) == 0 &&
        ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &size) == 0) {
        port = ntohs(address.sin_port);
    }
    ::close(fd);
    return port;
}

}  // namespace integrity_check_tool::test
