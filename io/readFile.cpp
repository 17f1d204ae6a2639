#include "io/readFile.h"

#include "io/Cancelled.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <memory>

namespace Stratum::io {

namespace {

struct Descriptor {
    int number;
    bool owned;

    ~Descriptor() {
        if (owned && number >= 0)
            ::close(number);
    }
};

[[noreturn]] void fail(const std::string& path, const std::string& reason) {
    throw std::runtime_error("cannot read " + (path == "-" ? sourceName(path) : "'" + path + "'") +
                             ": " + reason);
}

} // namespace

std::string sourceName(const std::string& path) {
    return path == "-" ? "standard input" : path;
}

std::string readFile(const std::string& path) {
    std::error_code ignored;
    if (path != "-" && std::filesystem::is_directory(path, ignored))
        fail(path, "it is a directory");
    const Descriptor in{path == "-" ? STDIN_FILENO : ::open(path.c_str(), O_RDONLY | O_CLOEXEC),
                        path != "-"};
    if (in.number < 0)
        fail(path, std::strerror(errno));
    constexpr std::size_t kBlock = std::size_t{1} << 20;
    const auto block = std::make_unique<char[]>(kBlock);
    std::string bytes;
    for (;;) {
        const ssize_t count = ::read(in.number, block.get(), kBlock);
        throwIfInterrupted();
        if (count < 0 && errno != EINTR)
            fail(path, std::strerror(errno));
        if (count == 0)
            return bytes;
        if (count > 0)
            bytes.append(block.get(), static_cast<std::size_t>(count));
    }
}

} // namespace Stratum::io
