// The reading half of the verification floor: reads every file of a
// NUL-separated list (as `find -print0` writes it) from start to end, in
// 256 KiB blocks on one thread, and discards the bytes. Prints the bytes read.

#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: read_files LIST\n");
        return 2;
    }
    std::ifstream input(argv[1], std::ios::binary);
    const std::string list{std::istreambuf_iterator<char>(input), std::istreambuf_iterator<char>()};
    std::vector<char> buffer(256 * 1024);
    std::uint64_t total = 0;
    for (std::size_t start = 0; start < list.size();) {
        const std::size_t end = std::min(list.find('\0', start), list.size());
        const std::string path = list.substr(start, end - start);
        start = end + 1;
        const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        if (fd < 0) {
            std::perror(path.c_str());
            return 1;
        }
        ssize_t got = 0;
        while ((got = ::read(fd, buffer.data(), buffer.size())) > 0) {
            total += static_cast<std::uint64_t>(got);
        }
        ::close(fd);
    }
    std::printf("%llu\n", static_cast<unsigned long long>(total));
    return 0;
}
