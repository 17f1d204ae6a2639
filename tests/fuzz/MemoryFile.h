// Files for readers that want a path.
#pragma once

#include "fuzz.h"

#include <sys/mman.h>
#include <unistd.h>

#include <string>
#include <string_view>

namespace Stratum::fuzz {

/// A file in memory that goes with this object.
class MemoryFile {
public:
    explicit MemoryFile(std::string_view bytes) : file_(::memfd_create("fuzz", MFD_CLOEXEC)) {
        require(file_ >= 0 && ::write(file_, bytes.data(), bytes.size()) ==
                                  static_cast<ssize_t>(bytes.size()),
                "no memory for a file");
    }
    ~MemoryFile() { ::close(file_); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    std::string path() const { return "/proc/self/fd/" + std::to_string(file_); }

private:
    int file_;
};

} // namespace Stratum::fuzz
