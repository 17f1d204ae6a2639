// A .vdb file, checked before it is read. Part of readVdb.cpp, the one source that includes
// OpenVDB.
#pragma once

#include "io/FileBuffer.h"
#include "io/byteOrder.h"
#include "io/quoted.h"

#include <openvdb/io/Archive.h>
#include <openvdb/io/GridDescriptor.h>
#include <openvdb/openvdb.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <istream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace Stratum::io {

/// Throws std::runtime_error saying why a path is none of a file that can be read.
inline void requireRegularFile(const std::string& path) {
    const auto fail = [](const std::string& reason) { throw std::runtime_error(reason); };
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    if (error)
        fail(error.message());
    if (std::filesystem::is_directory(status))
        fail("it is a directory");
    if (!std::filesystem::is_regular_file(status))
        fail("it is no regular file");
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

/// The grids of a file. The library's own reader asks the system where it is in the file for every
/// leaf, which costs as much as reading; this one has a buffer that knows.
class VdbFile : private openvdb::io::Archive {
public:
    using GridBase = openvdb::GridBase;

    /// Follows the file's table of grids to its end, and the claims of sizes on the way. The
    /// library itself notices a file that was cut short only sometimes, and then in other words
    /// each time; it takes memory for whatever is claimed. Throws std::runtime_error for a file
    /// that is no .vdb file or a grid that ends beyond it.
    explicit VdbFile(const std::string& path)
        : buffer_((requireRegularFile(path), path)), in_(&buffer_) {
        requireMagicNumber();
        reading([&] { walk(static_cast<std::int64_t>(std::filesystem::file_size(path))); });
        std::ranges::stable_sort(grids_, {},
                                 [](const Entry& e) { return e.descriptor.gridName(); });
    }

    /// The grids are in the order of their names.
    std::size_t gridCount() const { return grids_.size(); }

    /// A grid's type and metadata, without its values.
    GridBase::ConstPtr header(std::size_t i) {
        const Entry& entry = grids_[i];
        if (entry.whole)
            return entry.whole;
        const auto grid = create(entry.descriptor);
        reading([&] {
            entry.descriptor.seekToGrid(in_);
            readGridCompression(in_);
            grid->readMeta(in_);
        });
        return grid;
    }

    /// A grid whose tree no other one shares.
    GridBase::Ptr grid(std::size_t i) {
        const Entry& entry = grids_[i];
        if (entry.whole)
            return entry.whole;
        auto grid = read(entry.descriptor);
        if (const auto& parent = entry.descriptor.instanceParentName(); !parent.empty())
            grid->setTree(read(named(parent).descriptor)->baseTreePtr());
        return grid;
    }

private:
    using Descriptor = openvdb::io::GridDescriptor;

    struct Entry {
        Descriptor descriptor;
        GridBase::Ptr whole = nullptr; // when the file cannot be read in parts
    };

    template <class F>
    void reading(const F& f) {
        try {
            // Throws at once for a file that has already ended.
            in_.exceptions(std::ios::failbit | std::ios::badbit | std::ios::eofbit);
            f();
        } catch (const std::ios_base::failure&) {
            throw std::runtime_error("it is cut short or damaged");
        }
    }

    void requireMagicNumber() {
        constexpr char kMagic[8] = {' ', 'B', 'D', 'V', 0, 0, 0, 0};
        char start[sizeof(kMagic)] = {};
        in_.read(start, sizeof(start));
        if (std::memcmp(start, kMagic, sizeof(kMagic)) != 0)
            throw std::runtime_error("it is no .vdb file");
    }

    // The library reads on in files of versions to come, and prints a warning.
    void checkVersion() {
        std::array<char, 4> bytes{};
        in_.seekg(8); // after the magic number
        in_.read(bytes.data(), bytes.size());
        in_.seekg(0);
        const auto version = loadAs<std::uint32_t>(bytes.data(), std::endian::little);
        if (version > openvdb::OPENVDB_FILE_VERSION)
            throw std::runtime_error(
                "it is of version " + std::to_string(version) + " of the format; versions up to " +
                std::to_string(openvdb::OPENVDB_FILE_VERSION) + " can be read");
    }

    void walk(std::int64_t fileSize) {
        checkVersion();
        readHeader(in_);
        metadata_->setSeekable(inputHasGridOffsets());
        openvdb::io::setStreamMetadataPtr(in_, metadata_, /*transfer=*/false);
        setFormatVersion(in_);
        setLibraryVersion(in_);
        setDataCompression(in_);
        VdbSkipper skipper(in_, fileSize);
        skipper.skipMetadata();
        const int count = readGridCount(in_);
        if (!inputHasGridOffsets())
            return readAll(count, skipper);
        for (int i = 0; i < count; ++i) {
            const Descriptor grid = readDescriptor(skipper);
            if (grid.getEndPos() > fileSize || grid.getEndPos() < 0)
                throw std::runtime_error("it is cut short: grid '" + grid.gridName() +
                                         "' would end at byte " + std::to_string(grid.getEndPos()) +
                                         " of " + std::to_string(fileSize));
            grid.seekToGrid(in_);
            checkGridStart(skipper);
            if (i + 1 < count)
                grid.seekToEnd(in_);
            grids_.push_back({grid});
        }
    }

    bool hasInstances() const {
        return fileVersion() >= openvdb::OPENVDB_FILE_VERSION_GRID_INSTANCING;
    }

    Descriptor readDescriptor(VdbSkipper& skipper) {
        const auto start = in_.tellg();
        skipper.skipText(); // its name
        skipper.skipText(); // its type
        if (hasInstances())
            skipper.skipText(); // the grid whose voxels it shares
        in_.seekg(start);
        Descriptor grid;
        grid.read(in_);
        return grid;
    }

    // Looks at the claims before a grid's tree, and goes back to where the grid begins.
    void checkGridStart(VdbSkipper& skipper) {
        const auto start = in_.tellg();
        readGridCompression(in_);
        skipper.skipMetadata();
        if (hasInstances())
            skipper.skipText(); // the kind of its transform
        in_.seekg(start);
    }

    // For a file that was written without the places of its grids.
    void readAll(int count, VdbSkipper& skipper) {
        for (int i = 0; i < count; ++i) {
            const Descriptor descriptor = readDescriptor(skipper);
            checkGridStart(skipper);
            const auto grid = create(descriptor);
            readGrid(grid, descriptor, in_);
            grids_.push_back({descriptor, grid});
        }
        for (const Entry& entry : grids_)
            if (const auto& parent = entry.descriptor.instanceParentName(); !parent.empty())
                entry.whole->setTree(named(parent).whole->baseTree().copy());
    }

    static GridBase::Ptr create(const Descriptor& descriptor) {
        auto grid = GridBase::createGrid(descriptor.gridType());
        grid->setSaveFloatAsHalf(descriptor.saveFloatAsHalf());
        return grid;
    }

    GridBase::Ptr read(const Descriptor& descriptor) {
        auto grid = create(descriptor);
        reading([&] {
            descriptor.seekToGrid(in_);
            readGrid(grid, descriptor, in_);
        });
        return grid;
    }

    const Entry& named(const std::string& uniqueName) const {
        const auto found = std::ranges::find_if(
            grids_, [&](const Entry& e) { return e.descriptor.uniqueName() == uniqueName; });
        if (found == grids_.end())
            throw std::runtime_error("it is damaged: it has no grid '" +
                                     Descriptor::nameAsString(uniqueName) +
                                     "', whose voxels another one shares");
        return *found;
    }

    openvdb::io::StreamMetadata::Ptr metadata_ = std::make_shared<openvdb::io::StreamMetadata>();
    FileBuffer buffer_;
    std::istream in_;
    std::vector<Entry> grids_;
};

} // namespace Stratum::io
