// A file that appears complete or not at all.
#pragma once

#include <string>
#include <string_view>

namespace Stratum::io {

/// Where symbolic links lead to, also when nothing is there yet, so that a link is written through
/// instead of replaced. Throws std::system_error for links that lead in a circle.
std::string followLinks(const std::string& name);

/// Writes to a temporary file beside the target and renames it on commit(); without a commit the
/// target stays as it was. What is there and no regular file (a device, a pipe) is written to
/// directly, and so is a descriptor. All failures throw std::system_error naming the target.
class OutputFile {
public:
    explicit OutputFile(const std::string& path);
    /// Writes to an open descriptor that stays open; `name` is for messages.
    OutputFile(int descriptor, std::string name);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    void write(std::string_view text);
    void commit();

private:
    void openTemporary();
    void close() noexcept;
    void flush();
    [[noreturn]] void fail() const;

    std::string name_, target_, temporary_, buffer_;
    int descriptor_ = -1;
    bool owned_ = true;
};

} // namespace Stratum::io
