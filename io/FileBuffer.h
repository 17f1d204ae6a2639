// Reading a file through a stream.
#pragma once

#include <streambuf>
#include <string>
#include <vector>

namespace Stratum::io {

/// A file's bytes for a std::istream. Asking where the stream is, and going to a place near by,
/// takes no call of the system and reads nothing anew, as it would in a std::filebuf: formats that
/// are read node by node do both all the time.
class FileBuffer final : public std::streambuf {
public:
    /// Throws std::runtime_error saying why the file cannot be opened.
    explicit FileBuffer(const std::string& path);
    ~FileBuffer() override;
    FileBuffer(const FileBuffer&) = delete;
    FileBuffer& operator=(const FileBuffer&) = delete;

protected:
    int_type underflow() override;
    std::streamsize xsgetn(char* to, std::streamsize count) override;
    pos_type seekoff(off_type offset, std::ios_base::seekdir from,
                     std::ios_base::openmode which) override;
    pos_type seekpos(pos_type position, std::ios_base::openmode which) override;

private:
    off_type position() const { return end_ - (egptr() - gptr()); }
    // Bytes read from the current position on, which is not in the buffer; 0 at the end.
    std::streamsize read(char* to, std::streamsize count);

    int file_;
    off_type end_ = 0; // of what the buffer holds, in the file
    std::vector<char> bytes_;
};

} // namespace Stratum::io
