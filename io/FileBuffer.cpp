#include "io/FileBuffer.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace Stratum::io {

namespace {
constexpr std::size_t kBufferBytes = std::size_t{1} << 18; // stays in the second-nearest cache
} // namespace

FileBuffer::FileBuffer(const std::string& path)
    : file_(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
    if (file_ < 0)
        throw std::runtime_error(std::strerror(errno));
    try {
        bytes_.resize(kBufferBytes);
    } catch (...) {
        ::close(file_);
        throw;
    }
    setg(bytes_.data(), bytes_.data(), bytes_.data());
}

FileBuffer::~FileBuffer() {
    ::close(file_);
}

std::streamsize FileBuffer::read(char* to, std::streamsize count) {
    for (;;) {
        const auto got = ::pread(file_, to, static_cast<std::size_t>(count), end_);
        if (got < 0 && errno == EINTR)
            continue;
        if (got > 0)
            end_ += got;
        return std::max<std::streamsize>(got, 0);
    }
}

FileBuffer::int_type FileBuffer::underflow() {
    const auto got = read(bytes_.data(), static_cast<std::streamsize>(bytes_.size()));
    setg(bytes_.data(), bytes_.data(), bytes_.data() + got);
    return got > 0 ? traits_type::to_int_type(*gptr()) : traits_type::eof();
}

std::streamsize FileBuffer::xsgetn(char* to, std::streamsize count) {
    std::streamsize done = 0;
    while (done < count) {
        if (gptr() == egptr() && traits_type::eq_int_type(underflow(), traits_type::eof()))
            break;
        const auto part = std::min<std::streamsize>(count - done, egptr() - gptr());
        std::memcpy(to + done, gptr(), static_cast<std::size_t>(part));
        setg(eback(), gptr() + part, egptr());
        done += part;
    }
    return done;
}

FileBuffer::pos_type FileBuffer::seekoff(off_type offset, std::ios_base::seekdir from,
                                         std::ios_base::openmode which) {
    const off_type base = from == std::ios_base::cur ? position()
                          : from == std::ios_base::end
                              ? static_cast<off_type>(::lseek(file_, 0, SEEK_END))
                              : 0;
    off_type target = 0;
    return __builtin_add_overflow(base, offset, &target) ? pos_type(off_type(-1))
                                                         : seekpos(pos_type(target), which);
}

FileBuffer::pos_type FileBuffer::seekpos(pos_type position, std::ios_base::openmode) {
    const auto target = off_type(position);
    if (target < 0)
        return pos_type(off_type(-1));
    const off_type begin = end_ - (egptr() - eback());
    if (target >= begin && target <= end_) {
        setg(eback(), eback() + (target - begin), egptr());
    } else {
        end_ = target;
        setg(bytes_.data(), bytes_.data(), bytes_.data());
    }
    return pos_type(target);
}

} // namespace Stratum::io
