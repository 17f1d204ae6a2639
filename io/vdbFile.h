// Checks on a .vdb file before it is read. Part of readVdb.cpp, the one source that includes
// OpenVDB.
#pragma once

#include "io/byteOrder.h"
#include "io/quoted.h"

#include <openvdb/io/Archive.h>
#include <openvdb/io/GridDescriptor.h>
#include <openvdb/openvdb.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

namespace Stratum::io {

/// Opens a file, or throws std::runtime_error saying why it is none that holds volumes.
inline std::ifstream openVdbFile(const std::string& path) {
    const auto fail = [](const std::string& reason) { throw std::runtime_error(reason); };
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    if (error)
        fail(error.message());
    if (std::filesystem::is_directory(status))
        fail("it is a directory");
    if (!std::filesystem::is_regular_file(status))
        fail("it is no regular file");
    std::ifstream file(path, std::ios::binary);
    if (!file)
        fail(std::strerror(errno));
    constexpr char kMagic[8] = {' ', 'B', 'D', 'V', 0, 0, 0, 0};
    char start[sizeof(kMagic)] = {};
    file.read(start, sizeof(start));
    if (std::memcmp(start, kMagic, sizeof(kMagic)) != 0)
        fail("it is no .vdb file");
    file.seekg(0);
    return file;
}

/// Passes over the parts of a file whose sizes it claims itself, none of which may exceed the file.
class VdbSkipper {
public:
    VdbSkipper(std::istream& in, std::int64_t fileSize) : in_(in), fileSize_(fileSize) {}

    void skipText() { skip(readSize()); }

    /// A table of metadata: names, names of types, values.
    void skipMetadata() {
        for (std::uint32_t left = readSize(); left > 0; --left) {
            skipText();
            const std::string type = readText();
            const std::uint32_t size = readSize();
            // Values of a fixed size are read without a look at the size that is claimed, and what
            // follows would be taken from the wrong place.
            const auto known = openvdb::Metadata::isRegisteredType(type)
                                   ? openvdb::Metadata::createMetadata(type)->size()
                                   : 0;
            if (known != 0 && type != "__delayedload" && known != size)
                throw std::runtime_error("it is damaged: a value of type " +
                                         Stratum::io::quoted(type) + " has " +
                                         std::to_string(size) + " bytes");
            skip(size);
        }
    }

private:
    std::uint32_t readSize() {
        std::array<char, 4> bytes{};
        in_.read(bytes.data(), bytes.size());
        return loadAs<std::uint32_t>(bytes.data(), std::endian::little);
    }
    std::string readText() {
        const auto start = in_.tellg();
        skipText();
        std::string text(static_cast<std::size_t>(in_.tellg() - start) - 4, '\0');
        in_.seekg(start + std::streamoff{4});
        in_.read(text.data(), static_cast<std::streamsize>(text.size()));
        return text;
    }
    void skip(std::uint32_t size) {
        if (size > fileSize_ - in_.tellg())
            throw std::runtime_error("it is cut short or damaged: a text or value of " +
                                     std::to_string(size) + " bytes is claimed");
        in_.seekg(size, std::ios::cur);
    }

    std::istream& in_;
    std::int64_t fileSize_;
};

/// Follows a file's table of grids to its end, and the claims of sizes on the way. The library
/// itself notices a file that was cut short only sometimes, and then in other words each time; it
/// takes memory for whatever is claimed.
class VdbCompleteness : private openvdb::io::Archive {
public:
    /// Throws std::runtime_error when a grid ends beyond the file.
    static void check(std::ifstream& file, std::uintmax_t fileSize) {
        try {
            // Throws at once for a file that has already ended.
            file.exceptions(std::ios::failbit | std::ios::badbit | std::ios::eofbit);
            VdbCompleteness().walk(file, static_cast<std::int64_t>(fileSize));
        } catch (const std::ios_base::failure&) {
            throw std::runtime_error("it is cut short or damaged");
        }
    }

private:
    // The library reads on in files of versions to come, and prints a warning.
    static void checkVersion(std::istream& in) {
        std::array<char, 4> bytes{};
        in.seekg(8); // after the magic number
        in.read(bytes.data(), bytes.size());
        in.seekg(0);
        const auto version = loadAs<std::uint32_t>(bytes.data(), std::endian::little);
        if (version > openvdb::OPENVDB_FILE_VERSION)
            throw std::runtime_error(
                "it is of version " + std::to_string(version) + " of the format; versions up to " +
                std::to_string(openvdb::OPENVDB_FILE_VERSION) + " can be read");
    }

    void walk(std::istream& in, std::int64_t fileSize) {
        checkVersion(in);
        readHeader(in);
        setFormatVersion(in);
        setLibraryVersion(in);
        if (!inputHasGridOffsets())
            return;
        VdbSkipper skipper(in, fileSize);
        skipper.skipMetadata();
        const int count = readGridCount(in);
        for (int i = 0; i < count; ++i) {
            const auto start = in.tellg();
            skipper.skipText();
            skipper.skipText();
            in.seekg(start);
            openvdb::io::GridDescriptor grid;
            grid.read(in);
            if (grid.getEndPos() > fileSize || grid.getEndPos() < 0)
                throw std::runtime_error("it is cut short: grid '" + grid.gridName() +
                                         "' would end at byte " + std::to_string(grid.getEndPos()) +
                                         " of " + std::to_string(fileSize));
            grid.seekToGrid(in);
            readGridCompression(in);
            skipper.skipMetadata();
            if (i + 1 < count)
                grid.seekToEnd(in);
        }
    }
};

} // namespace Stratum::io
