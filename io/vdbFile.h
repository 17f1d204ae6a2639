// A .vdb file, checked before it is read. Part of readVdb.cpp, the one source that includes
// OpenVDB.
#pragma once

#include "io/FileBuffer.h"
#include "io/VdbSkipper.h"
#include "io/byteOrder.h"
#include "io/checkVdbTree.h"

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

/// The grids whose values can be sampled.
using UsableVdbGrids = openvdb::TypeList<openvdb::FloatGrid, openvdb::DoubleGrid,
                                         openvdb::Int32Grid, openvdb::Int64Grid, openvdb::Vec3SGrid,
                                         openvdb::Vec3DGrid, openvdb::Vec3IGrid>;

inline bool isUsable(const openvdb::GridBase& grid) {
    return grid.apply<UsableVdbGrids>([](const auto&) {});
}

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
        fileSize_ = static_cast<std::int64_t>(std::filesystem::file_size(path));
        reading([&] { walk(); });
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
        const auto& parent = entry.descriptor.instanceParentName();
        auto grid = entry.whole ? entry.whole : read(entry.descriptor);
        if (parent.empty())
            return grid;
        if (const Entry& shared = named(parent); shared.whole)
            grid->setTree(shared.whole->baseTree().copy());
        else
            grid->setTree(read(shared.descriptor)->baseTreePtr());
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

    // The library reads on in files of versions to come, and prints a warning. Of those before 222,
    // of 2013, the nodes are written in other ways, which checkVdbTree() does not know.
    void checkVersion() {
        std::array<char, 4> bytes{};
        in_.seekg(8); // after the magic number
        in_.read(bytes.data(), bytes.size());
        in_.seekg(0);
        constexpr std::uint32_t kFirst = openvdb::OPENVDB_FILE_VERSION_NODE_MASK_COMPRESSION,
                                kLast = openvdb::OPENVDB_FILE_VERSION;
        const auto version = loadAs<std::uint32_t>(bytes.data(), std::endian::little);
        if (version < kFirst || version > kLast)
            throw std::runtime_error("it is of version " + std::to_string(version) +
                                     " of the format; versions from " + std::to_string(kFirst) +
                                     " to " + std::to_string(kLast) + " can be read");
    }

    void walk() {
        checkVersion();
        readHeader(in_);
        metadata_->setSeekable(inputHasGridOffsets());
        openvdb::io::setStreamMetadataPtr(in_, metadata_, /*transfer=*/false);
        setFormatVersion(in_);
        setLibraryVersion(in_);
        setDataCompression(in_);
        VdbSkipper skipper(in_, fileSize_);
        skipper.skipMetadata();
        const int count = readGridCount(in_);
        if (!inputHasGridOffsets())
            return readAll(count, skipper);
        for (int i = 0; i < count; ++i) {
            const Descriptor grid = readDescriptor(skipper);
            // One that ended here or before would be met for ever.
            if (grid.getEndPos() <= in_.tellg())
                throw std::runtime_error("it is damaged: grid '" + grid.gridName() +
                                         "' would end before it begins");
            if (grid.getEndPos() > fileSize_)
                throw std::runtime_error("it is cut short: grid '" + grid.gridName() +
                                         "' would end at byte " + std::to_string(grid.getEndPos()) +
                                         " of " + std::to_string(fileSize_));
            grid.seekToGrid(in_);
            checkGridStart(skipper);
            if (i + 1 < count)
                grid.seekToEnd(in_);
            grids_.push_back({grid});
        }
    }

    Descriptor readDescriptor(VdbSkipper& skipper) {
        const auto start = in_.tellg();
        skipper.skipText(); // its name
        skipper.skipText(); // its type
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
        skipper.skipTransformClaims();
        in_.seekg(start);
    }

    // Follows the tree of a grid that begins here, and goes back.
    void checkTree(const Descriptor& descriptor) {
        const auto start = in_.tellg();
        readGridCompression(in_);
        const auto compression = openvdb::io::getDataCompression(in_);
        constexpr auto kPacked = openvdb::io::COMPRESS_ZIP | openvdb::io::COMPRESS_BLOSC;
        const auto grid = create(descriptor);
        grid->readMeta(in_);
        grid->readTransform(in_);
        VdbTreeFormat format;
        format.omitsInactive = (compression & openvdb::io::COMPRESS_ACTIVE_MASK) != 0;
        format.isBlosc = (compression & openvdb::io::COMPRESS_BLOSC) != 0;
        format.repeatsMasks = !inputHasGridOffsets();
        if (!descriptor.isInstance() && (compression & kPacked) != 0) {
            setValueSizes(*grid, format);
            checkVdbTree(in_, fileSize_, format);
        }
        in_.seekg(start);
    }

    // Sets how values are written.
    static void setValueSizes(const GridBase& grid, VdbTreeFormat& format) {
        const bool isKnown = grid.apply<UsableVdbGrids>([&](const auto& typed) {
            using Value = typename std::decay_t<decltype(typed)>::ValueType;
            using Half = openvdb::io::RealToHalf<Value>;
            format.valueBytes = sizeof(Value);
            format.runBytes = grid.saveFloatAsHalf() ? sizeof(typename Half::HalfT) : sizeof(Value);
        });
        if (!isKnown) // only where it would have to be passed over to find the next grid
            throw std::runtime_error("it is written without the places of its grids, of which '" +
                                     grid.getName() + "', of type " + grid.valueType() +
                                     ", cannot be read");
    }

    // For a file that was written without the places of its grids.
    void readAll(int count, VdbSkipper& skipper) {
        for (int i = 0; i < count; ++i) {
            const Descriptor descriptor = readDescriptor(skipper);
            checkGridStart(skipper);
            const auto grid = create(descriptor);
            if (i + 1 == count && !isUsable(*grid)) { // nothing behind it has to be found
                readGridCompression(in_);
                grid->readMeta(in_);
            } else {
                checkTree(descriptor);
                readGrid(grid, descriptor, in_);
            }
            grids_.push_back({descriptor, grid});
        }
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
            checkTree(descriptor);
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
    std::int64_t fileSize_ = 0;
    std::vector<Entry> grids_;
};

} // namespace Stratum::io
