// Reading .nvdb files. The only source that includes NanoVDB.
#include "io/readNvdb.h"

#include "io/gridVolume.h"
#include "io/nvdbNodes.h"
#include "io/quoted.h"
#include "io/readFile.h"

#include <nanovdb/util/IO.h>

#include <cstdlib>
#include <filesystem>
#include <new>
#include <stdexcept>

namespace Stratum::io {

namespace {

using nanovdb::GridType;

// A grid's bytes, aligned as its nodes want it.
class GridBytes {
public:
    explicit GridBytes(std::string_view bytes) : size_(bytes.size()) {
        constexpr std::size_t kAlignment = NANOVDB_DATA_ALIGNMENT;
        data_ = static_cast<char*>(
            std::aligned_alloc(kAlignment, (size_ / kAlignment + 1) * kAlignment));
        if (data_ == nullptr)
            throw std::bad_alloc();
        std::memcpy(data_, bytes.data(), size_);
    }
    ~GridBytes() { std::free(data_); }
    GridBytes(const GridBytes&) = delete;
    GridBytes& operator=(const GridBytes&) = delete;

    std::string_view view() const { return {data_, size_}; }
    const nanovdb::GridData& header() const {
        return *reinterpret_cast<const nanovdb::GridData*>(data_);
    }

private:
    std::size_t size_;
    char* data_;
};

struct Found {
    std::string name;
    std::string_view bytes;
    GridType type;
};

// Hands out a file's parts one after the other.
class Parts {
public:
    explicit Parts(std::string_view bytes) : bytes_(bytes) {}

    bool atEnd() const { return at_ == bytes_.size(); }

    std::string_view take(std::uint64_t size) {
        if (size > bytes_.size() - at_)
            throw std::runtime_error("it is cut short: byte " + std::to_string(at_) + " and " +
                                     std::to_string(size) + " more are wanted, of " +
                                     std::to_string(bytes_.size()));
        const auto part = bytes_.substr(at_, size);
        at_ += size;
        return part;
    }

    template <class T>
    T take() {
        T value;
        std::memcpy(static_cast<void*>(&value), take(sizeof(T)).data(), sizeof(T));
        return value;
    }

private:
    std::string_view bytes_;
    std::size_t at_ = 0;
};

void check(const nanovdb::io::Header& header) {
    if (header.magic != NANOVDB_MAGIC_NUMBER)
        throw std::runtime_error("it is no .nvdb file");
    if (header.version.getMajor() != NANOVDB_MAJOR_VERSION_NUMBER)
        throw std::runtime_error("it is of version " + std::to_string(header.version.getMajor()) +
                                 " of the format; version " +
                                 std::to_string(NANOVDB_MAJOR_VERSION_NUMBER) + " can be read");
    if (header.codec != nanovdb::io::Codec::NONE)
        throw std::runtime_error("it is compressed, which cannot be read; write it again without "
                                 "compression (codec NONE), or as a .vdb file");
}

std::vector<Found> readGrids(std::string_view file, UniqueNames& unique) {
    if (file.empty())
        throw std::runtime_error("it is no .nvdb file: it is empty");
    Parts parts(file);
    std::vector<Found> grids;
    while (!parts.atEnd()) {
        const auto header = parts.take<nanovdb::io::Header>();
        check(header);
        std::vector<std::pair<nanovdb::io::MetaData, std::string>> claims;
        for (int i = 0; i < header.gridCount; ++i) {
            const auto claim = parts.take<nanovdb::io::MetaData>();
            std::string name(parts.take(claim.nameSize));
            name.resize(std::min(name.find('\0'), name.size()));
            claims.emplace_back(claim, unique.add(name));
        }
        for (const auto& [claim, name] : claims)
            grids.push_back({name, parts.take(claim.fileSize), claim.gridType});
    }
    return grids;
}

template <class F>
bool withValueType(GridType type, const F& f) {
    switch (type) {
    case GridType::Float:
        return f(float{}), true;
    case GridType::Double:
        return f(double{}), true;
    case GridType::Int32:
        return f(std::int32_t{}), true;
    case GridType::Int64:
        return f(std::int64_t{}), true;
    case GridType::Vec3f:
        return f(nanovdb::Vec3f{}), true;
    case GridType::Vec3d:
        return f(nanovdb::Vec3d{}), true;
    default:
        return false;
    }
}

std::string typeName(GridType type) {
    return type < GridType::End ? nanovdb::toStr(type) : "unknown";
}

ChannelKind kindOf(nanovdb::GridClass gridClass, const std::string& name) {
    if (gridClass == nanovdb::GridClass::LevelSet)
        return ChannelKind::kLevelSet;
    const bool fog = gridClass == nanovdb::GridClass::FogVolume ||
                     (gridClass == nanovdb::GridClass::Unknown && name == "density");
    return fog ? ChannelKind::kFog : ChannelKind::kOther;
}

std::string originOf(const nanovdb::GridData& header) {
    std::string type = typeName(header.mGridType);
    type.front() = static_cast<char>(std::tolower(static_cast<unsigned char>(type.front())));
    const char* kind = header.mGridClass == nanovdb::GridClass::LevelSet    ? "level set"
                       : header.mGridClass == nanovdb::GridClass::FogVolume ? "fog volume"
                                                                            : "grid";
    return std::string("a ") + kind + " of " + type;
}

GridTransform transformOf(const nanovdb::Map& map) {
    GridTransform transform;
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t column = 0; column < 3; ++column)
            transform.matrix[row][column] = map.mMatD[3 * row + column];
        transform.translation[row] = map.mVecD[row];
    }
    return transform;
}

FileGrid fileGrid(const Found& found, std::vector<std::string>& warnings) {
    const auto bytes = std::make_shared<const GridBytes>(found.bytes);
    if (found.bytes.size() < sizeof(nanovdb::GridData))
        throw std::runtime_error("grid '" + found.name + "' is cut short");
    const auto& header = bytes->header();
    if (header.mMagic != NANOVDB_MAGIC_NUMBER || header.mGridType != found.type ||
        header.mGridSize != found.bytes.size())
        throw std::runtime_error("grid '" + found.name +
                                 "' is damaged: its header is not the one "
                                 "that the file announces");
    const auto placement = requirePlacement(found.name, placementOf(transformOf(header.mMap)));
    if (found.type == GridType::Int64)
        warnings.push_back("grid '" + found.name +
                           "' holds 64-bit integers; beyond 2^53 they are rounded");
    FileGrid result{nullptr, originOf(header), kindOf(header.mGridClass, found.name)};
    withValueType(found.type, [&]<class T>(T) {
        result.grid = std::make_unique<TypedSourceGrid<NvdbAccess<T>>>(
            bytes, NvdbNodes<T>(bytes->view()).region(), found.name, placement);
    });
    return result;
}

Volume readChecked(const std::string& file, const VdbOptions& options) {
    UniqueNames unique;
    std::vector<std::string> warnings;
    std::vector<FileGrid> grids;
    std::string names;
    for (const Found& found : readGrids(file, unique)) {
        (names += names.empty() ? "" : ", ") += found.name;
        if (!options.grid.empty() && options.grid != found.name)
            continue;
        throwIfInterrupted();
        if (withValueType(found.type, [](auto) {}))
            grids.push_back(fileGrid(found, warnings));
        else
            warnings.push_back("grid '" + found.name + "' is left out: values of type " +
                               typeName(found.type) + " cannot be sampled");
    }
    requireGrids(options.grid, unique, !grids.empty(), names);
    return makeGridVolume(grids, options, std::move(warnings));
}

} // namespace

Volume readNvdb(const std::string& path, const VdbOptions& options) {
    const std::string file = readFile(path);
    try {
        return readChecked(file, options);
    } catch (const Cancelled&) {
        throw;
    } catch (const std::bad_alloc&) {
        throw std::runtime_error("cannot read '" + path + "': out of memory");
    } catch (const std::exception& error) {
        throw std::runtime_error("cannot read '" + path + "': " + oneLine(error.what()));
    }
}

bool canReadNvdb() {
    return true;
}

} // namespace Stratum::io
