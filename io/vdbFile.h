// Checks on a .vdb file before it is read. Part of readVdb.cpp, the one source that includes
// OpenVDB.
#pragma once

#include <openvdb/io/Archive.h>
#include <openvdb/io/GridDescriptor.h>
#include <openvdb/openvdb.h>

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

/// Follows a file's table of grids to its end. The library itself notices a file that was cut short
/// only sometimes, and then in other words each time.
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
    void walk(std::istream& in, std::int64_t fileSize) {
        readHeader(in);
        setFormatVersion(in);
        setLibraryVersion(in);
        if (!inputHasGridOffsets())
            return;
        openvdb::MetaMap fileMetadata;
        fileMetadata.readMeta(in);
        const int count = readGridCount(in);
        for (int i = 0; i < count; ++i) {
            openvdb::io::GridDescriptor grid;
            grid.read(in);
            if (grid.getEndPos() > fileSize || grid.getEndPos() < 0)
                throw std::runtime_error("it is cut short: grid '" + grid.gridName() +
                                         "' would end at byte " + std::to_string(grid.getEndPos()) +
                                         " of " + std::to_string(fileSize));
            if (i + 1 < count)
                grid.seekToEnd(in);
        }
    }
};

} // namespace Stratum::io
