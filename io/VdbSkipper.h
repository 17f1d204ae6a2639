// Passing over parts of a .vdb file. Part of readVdb.cpp, the one source that includes OpenVDB.
#pragma once

#include "io/byteOrder.h"
#include "io/quoted.h"

#include <openvdb/Metadata.h>
#include <openvdb/math/Maps.h>

#include <array>
#include <cstdint>
#include <istream>
#include <stdexcept>
#include <string>

namespace Stratum::io {

/// Passes over the parts of a file whose sizes it claims itself, none of which may exceed the file.
class VdbSkipper {
public:
    VdbSkipper(std::istream& in, std::int64_t fileSize) : in_(in), fileSize_(fileSize) {}

    void skipText() { skip(readSize()); }

    std::string readText() {
        const auto start = in_.tellg();
        skipText();
        std::string text(static_cast<std::size_t>(in_.tellg() - start) - 4, '\0');
        in_.seekg(start + std::streamoff{4});
        in_.read(text.data(), static_cast<std::streamsize>(text.size()));
        return text;
    }

    /// The kind of a grid's transform, and what a frustum claims. The library reads a frustum
    /// within a frustum, which nothing writes, and so on until its stack ends.
    void skipTransformClaims() {
        const std::string frustum = openvdb::math::NonlinearFrustumMap::mapType();
        if (readText() != frustum)
            return;
        in_.seekg(8 * sizeof(double), std::ios::cur); // its box, taper and depth
        if (readText() == frustum)
            throw std::runtime_error("it is damaged: a frustum within a frustum");
    }

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
            if (known != 0 && known != size)
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
    void skip(std::uint32_t size) {
        if (size > fileSize_ - in_.tellg())
            throw std::runtime_error("it is cut short or damaged: a text or value of " +
                                     std::to_string(size) + " bytes is claimed");
        in_.seekg(size, std::ios::cur);
    }

    std::istream& in_;
    std::int64_t fileSize_;
};

} // namespace Stratum::io
