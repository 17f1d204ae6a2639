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

namespace fs = std::filesystem;

constexpr std::size_t kBufferSize = std::size_t{1} << 16;

// A name beside a file, as a template for mkostemp(). Long names are cut, since the system allows
// 255 bytes, and not within a UTF-8 sequence, which some file systems refuse.
std::string temporaryNameFor(const std::string& file) {
    constexpr std::size_t kLongest = 200;
    const fs::path path(file);
    std::string name = path.filename().string();
    if (name.size() > kLongest) {
        std::size_t end = kLongest;
        while (end > 0 && (static_cast<unsigned char>(name[end]) & 0xC0U) == 0x80)
            --end;
        name.resize(end);
    }
    return (path.parent_path() / (name + ".XXXXXX")).string();
}

} // namespace

std::string followLinks(const std::string& name) {
    fs::path path = name;
    constexpr int kMostLinks = 40; // as many as the system follows
    std::error_code error;
    for (int i = 0; fs::is_symlink(fs::symlink_status(path, error)); ++i) {
        if (i == kMostLinks)
            throw std::system_error(ELOOP, std::generic_category(),
                                    "cannot write '" + path.string() + "'");
        path = path.parent_path() / fs::read_symlink(path);
    }
    return path.string();
}

OutputFile::OutputFile(const std::string& path) : name_(path), target_(path) {
    std::error_code ignored;
    const auto status = fs::status(path, ignored);
    if (fs::exists(status) && !fs::is_regular_file(status)) {
        descriptor_ = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
    } else {
        target_ = followLinks(path);
        openTemporary();
    }
    if (descriptor_ < 0)
        fail();
}

OutputFile::OutputFile(int descriptor, std::string name)
    : name_(std::move(name)), descriptor_(descriptor), owned_(false) {}

OutputFile::~OutputFile() {
    close();
}

void OutputFile::close() noexcept {
    if (owned_ && descriptor_ >= 0)
        ::close(descriptor_);
    if (!temporary_.empty())
        ::unlink(temporary_.c_str());
}

void OutputFile::openTemporary() {
    std::string name = temporaryNameFor(target_);
    descriptor_ = ::mkostemp(name.data(), O_CLOEXEC);
    if (descriptor_ < 0)
        return;
    temporary_ = std::move(name);
    // A file made by mkostemp is private. It gets the mode of the file that it replaces, or of one
    // made the ordinary way.
    struct stat replaced {};
    const bool replaces = ::stat(target_.c_str(), &replaced) == 0;
    const mode_t mask = ::umask(0);
    ::umask(mask);
    if (::fchmod(descriptor_, replaces ? replaced.st_mode & 07777 : 0666 & ~mask) != 0) {
        const int reason = errno;
        close(); // without an object there is no destructor either
        errno = reason;
        fail();
    }
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
