#include "utils/atomic_file.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <random>

#include "exception.h"

namespace integrity_check_tool {

namespace {

constexpr const char* kWriteFailed = "Can't write file %1%. Reason: %2%";

std::string RandomSuffix()
{
    static constexpr char kLetters[] = "abcdefghijklmnopqrstuvwxyz0123456789";
    std::random_device device;
    std::string suffix;
    for (int i = 0; i < 8; ++i) {
        suffix.push_back(kLetters[device() % (sizeof kLetters - 1)]);
    }
    return suffix;
}

// The temporary file being written, for the signal handler: a process
// stopped by Ctrl-C or a termination request leaves no half-written file
// behind. One file is written at a time, always on the main thread.
std::atomic<const char*> pendingTemporary{nullptr};

extern "C" void RemoveTemporaryAndDie(int signalNumber);

extern "C" void RemoveTemporaryAndDie(int signalNumber)
{
    if (const char* path = pendingTemporary.exchange(nullptr)) {
        ::unlink(path);
    }
    std::signal(signalNumber, SIG_DFL);
    std::raise(signalNumber);
}

void InstallSignalCleanup()
{
    static const bool installed = [] {
        for (const int signalNumber : {SIGINT, SIGTERM, SIGHUP}) {
            struct sigaction current {};
            // A signal the caller chose to ignore stays ignored.
            if (::sigaction(signalNumber, nullptr, &current) == 0 &&
                current.sa_handler == SIG_DFL) {
                struct sigaction action {};
                action.sa_handler = RemoveTemporaryAndDie;
                sigemptyset(&action.sa_mask);
                ::sigaction(signalNumber, &action, nullptr);
            }
        }
        // Past a file-size limit a write then fails with EFBIG and is
        // reported, instead of the signal ending the process mid-write.
        std::signal(SIGXFSZ, SIG_IGN);
        return true;
    }();
    (void)installed;
}

/// Creates `path` exclusively and hands it to the signal handler in one
/// step: a termination request arriving in between would otherwise leave
/// the new file behind. Returns the descriptor, or -1 with errno set.
int CreateAnnounced(const Path& path)
{
    sigset_t cleanup;
    sigemptyset(&cleanup);
    for (const int signalNumber : {SIGINT, SIGTERM, SIGHUP}) {
        sigaddset(&cleanup, signalNumber);
    }
    sigset_t previous;
    ::pthread_sigmask(SIG_BLOCK, &cleanup, &previous);
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    const int error = errno;
    if (fd >= 0) {
        pendingTemporary.store(path.c_str());
    }
    ::pthread_sigmask(SIG_SETMASK, &previous, nullptr);
    errno = error;
    return fd;
}

}  // namespace

AtomicFile::AtomicFile(Path target) : target_(std::move(target))
{
    InstallSignalCleanup();
    const Path directory = target_.has_parent_path() ? target_.parent_path() : Path(".");
    for (int attempt = 0; attempt < 16 && !stream_; ++attempt) {
        temporary_ = directory / ("." + target_.filename().string() + ".tmp" + RandomSuffix());
        const int fd = CreateAnnounced(temporary_);
        if (fd < 0) {
            if (errno == EEXIST) {
                continue;
            }
            ICT_THROW(kWriteFailed, target_.string(),
                      zel::ResultMessage(zel::ResultFromErrno(errno)));
        }
        ::close(fd);
        zel::IIOPtr stream;
        const zel::Result result =
            zel::FileIO::Open(temporary_.string(), zel::OpenMode::CreateAlways, stream);
        if (zel::Failed(result)) {
            pendingTemporary.store(nullptr);
            ::unlink(temporary_.c_str());
            ICT_THROW(kWriteFailed, target_.string(), zel::ResultMessage(result));
        }
        stream_ = stream;
    }
    if (!stream_) {
        ICT_THROW(kWriteFailed, target_.string(), "no free temporary name");
    }
}

AtomicFile::~AtomicFile()
{
    pendingTemporary.store(nullptr);
    stream_.reset();
    if (!committed_) {
        ::unlink(temporary_.c_str());
    }
}

void AtomicFile::Write(std::string_view bytes)
{
    const zel::Result result = stream_->Write(bytes.data(), bytes.size(), nullptr);
    if (zel::Failed(result)) {
        ICT_THROW(kWriteFailed, target_.string(), zel::ResultMessage(result));
    }
}

void AtomicFile::Commit()
{
    // Unless a mode was set, a replaced file keeps its permissions and a new
    // one gets the usual ones.
    struct stat existing {};
    mode_t mode = 0;
    if (mode_) {
        mode = *mode_;
    } else if (::stat(target_.c_str(), &existing) == 0) {
        mode = existing.st_mode & 07777;
    } else {
        const mode_t mask = ::umask(0);
        ::umask(mask);
        mode = 0666 & ~mask;
    }
    zel::Result result = static_cast<zel::FileIO&>(*stream_).Sync();
    if (zel::Succeeded(result) && ::chmod(temporary_.c_str(), mode) != 0) {
        result = zel::ResultFromErrno(errno);
    }
    stream_.reset();
    if (zel::Succeeded(result) && ::rename(temporary_.c_str(), target_.c_str()) != 0) {
        result = zel::ResultFromErrno(errno);
    }
    if (zel::Succeeded(result)) {
        pendingTemporary.store(nullptr);  // the name is the target's now
    }
    if (zel::Failed(result)) {
        ICT_THROW(kWriteFailed, target_.string(), zel::ResultMessage(result));
    }
    committed_ = true;
}

}  // namespace integrity_check_tool
