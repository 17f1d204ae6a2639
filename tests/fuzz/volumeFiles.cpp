// Volume files. The first byte chooses the format and the tree's shape; the rest is the file.
#include "MemoryFile.h"
#include "fuzz.h"

#include "io/readNvdb.h"
#include "io/readVdb.h"
#include "ops/sample_volume.h"

namespace Stratum::fuzz {

namespace {

using Vantor::Math::float3;

// Nodes of volume files are up to a quarter of a megabyte, most of it one value over and over.
// Records of (repetitions of the last eight bytes, number of bytes that follow as they are, these
// bytes) keep inputs so small that changes at random meet what matters.
std::string unpacked(std::string_view packed) {
    constexpr std::size_t kMost = std::size_t{4} << 20;
    std::string file(8, '\0');
    while (packed.size() >= 3 && file.size() < kMost) {
        const auto byte = [&](std::size_t i) {
            return static_cast<std::size_t>(static_cast<unsigned char>(packed[i]));
        };
        const std::size_t repetitions = byte(0) + 256 * byte(1), plain = byte(2);
        const std::string word = file.substr(file.size() - 8);
        for (std::size_t i = 0; i < repetitions; ++i)
            file += word;
        file += packed.substr(3, plain);
        packed.remove_prefix(std::min(packed.size(), 3 + plain));
    }
    return file.substr(8);
}

template <class T>
void sample(const Vantor::Object& object, const std::string& channel) {
    using Geometry::Query::SamplerType;
    const Ostrum::Array<float3> positions{{0, 0, 0}, {3.5F, -2, 1e3F}, {1e9F, 7, 0.1F}};
    for (const auto sampler : {SamplerType::kLinear, SamplerType::kCubicC1}) {
        Ostrum::Ptr<Ostrum::Array<T>> out;
        Geometry::Query::sample_volume(object, positions, T{}, channel, sampler, out);
        require(out && out->size() == positions.size(), "a value for each position");
    }
}

} // namespace

bool runInput(std::string_view bytes) {
    if (bytes.empty())
        return false;
    const auto choice = static_cast<unsigned char>(bytes[0]);
    bytes.remove_prefix(1);
    const bool isNvdb = choice & 1, isPacked = choice & 2;
    const MemoryFile file(isPacked ? unpacked(bytes) : bytes);
    const io::VdbOptions options{choice & 4 ? io::TreeShape::kFive : io::TreeShape::kTwo, "", 64e6};
    return accepts(file.path(), [&] {
        const auto volume = (isNvdb ? io::readNvdb : io::readVdb)(file.path(), options);
        for (const auto& channel : volume.channels) {
            sample<float>(*volume.object, channel.name);
            sample<double>(*volume.object, channel.name);
            sample<float3>(*volume.object, channel.name);
        }
    });
}

} // namespace Stratum::fuzz
