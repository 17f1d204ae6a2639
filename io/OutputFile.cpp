#include "io/OutputFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <utility>

namespace Stratum::io {

namespace {

constexpr std::size_t kBufferSize = std::size_t{1} << 16;

} // namespace

OutputFile::OutputFile(const std::string& path) : name_(path), target_(path) {
    std::error_code ignored;
    const auto status = std::filesystem::status(path, ignored);
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
        descriptor_ = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
    } else {
        // Writes through a symbolic link instead of replacing it.
        const auto resolved = std::filesystem::weakly_canonical(path, ignored);
        if (!ignored)
            target_ = resolved.string();
        openTemporary();
    }
    if (descriptor_ < 0)
        fail();
}

OutputFile::OutputFile(int descriptor, std::string name)
    : name_(std::move(name)), descriptor_(descriptor), owned_(false) {}

OutputFile::~OutputFile() {
    if (owned_ && descriptor_ >= 0)
        ::close(descriptor_);
    if (!temporary_.empty())
        ::unlink(temporary_.c_str());
}

void OutputFile::openTemporary() {
    std::string name = target_ + ".XXXXXX";
    descriptor_ = ::mkostemp(name.data(), O_CLOEXEC);
    if (descriptor_ < 0)
        return;
    temporary_ = name;
    // A file made by mkostemp is private; give it the mode of a file made the ordinary way.
    const mode_t mask = ::umask(0);
    ::umask(mask);
    if (::fchmod(descriptor_, 0666 & ~mask) != 0)
        fail();
}

void OutputFile::write(std::string_view text) {
    buffer_ += text;
    if (buffer_.size() >= kBufferSize)
        flush();
}

void OutputFile::flush() {
    std::string_view rest = buffer_;
    while (!rest.empty()) {
        const ssize_t written = ::write(descriptor_, rest.data(), rest.size());
        if (written >= 0)
            rest.remove_prefix(static_cast<std::size_t>(written));
        else if (errno != EINTR)
            fail();
    }
    buffer_.clear();
}

void OutputFile::commit() {
    flush();
    if (!owned_)
        return;
    if (::close(std::exchange(descriptor_, -1)) != 0)
        fail();
    if (temporary_.empty())
        return;
    if (::rename(temporary_.c_str(), target_.c_str()) != 0)
        fail();
    temporary_.clear();
}

void OutputFile::fail() const {
    throw std::system_error(errno, std::generic_category(), "cannot write '" + name_ + "'");
}

} // namespace Stratum::io
