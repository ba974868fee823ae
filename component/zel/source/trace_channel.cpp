#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "zel/tracer.h"

namespace zel {

namespace {

/// Writes each line with one system call so that records of a crashed run
/// are already on disk.
class FdTraceChannel final : public ITraceChannel {
public:
    FdTraceChannel(int fd, bool owned) : fd_(fd), owned_(owned) {}
    ~FdTraceChannel() override
    {
        if (owned_) {
            ::close(fd_);
        }
    }

    Result Write(std::string_view line) override
    {
        if (fd_ == STDOUT_FILENO) {
            std::fflush(stdout);  // keep order with console output
        }
        std::size_t done = 0;
        while (done < line.size()) {
            const ssize_t put = ::write(fd_, line.data() + done, line.size() - done);
            if (put < 0) {
                if (errno == EINTR) {
                    continue;
                }
                return ResultFromErrno(errno);
            }
            done += static_cast<std::size_t>(put);
        }
        return kOk;
    }

private:
    int fd_;
    bool owned_;
};

}  // namespace

Result CreateFileTraceChannel(const std::string& path, ITraceChannelPtr& channel)
{
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOCTTY, 0644);
    if (fd < 0) {
        return ResultFromErrno(errno);
    }
    channel = MakeIntrusive<FdTraceChannel>(fd, true);
    return kOk;
}

Result CreateStdoutTraceChannel(ITraceChannelPtr& channel)
{
    channel = MakeIntrusive<FdTraceChannel>(STDOUT_FILENO, false);
    return kOk;
}

}  // namespace zel
