// The volumes and positions that all benchmarks share, so that ours and the peer's see the same.
#pragma once

#include "KDX/Channel.h"
#include "KDX/Container.h"
#include "Ostrum/Array.h"
#include "Vantor/Object.h"
#include "common/Math.h"

#include <initializer_list>
#include <string>

namespace Stratum::Bench {

/// Voxels per axis of every volume, and positions per benchmark. Samples lie on voxel corners and a
/// voxel is one world unit wide.
inline constexpr int kSize = 256;
inline constexpr std::size_t kPositions = 1'000'000;
inline constexpr char kChannel[] = "value";

/// Every voxel of the cube, or only those within a few voxels of a sphere (a narrow band).
enum class Content { kDense, kBand };
enum class Access { kRandom, kCoherent };

/// The value at a voxel; both libraries are filled with it.
float fieldValue(double x, double y, double z);
bool isInBand(double x, double y, double z);

/// The parts of a benchmark's name, joined by slashes.
std::string join(std::initializer_list<std::string> parts);

std::string nameOf(Content content);
std::string nameOf(Access access);

template <class Traits>
struct BenchVolume {
    Vantor::Object object;
    Ostrum::Ptr<KDX::TileTree3D::Container<Traits>> container;
    Ostrum::Ptr<KDX::TileTree3D::VoxelTopology<Traits>> topology;
    Ostrum::Ptr<KDX::TileTree3D::Channel<Traits, float, Traits::kVoxelsPerAxis, 0, 0>> channel;
};

/// Built once and kept.
template <class Traits>
const BenchVolume<Traits>& benchVolume(Content content);

/// Positions inside the cube, or near the sphere for the band: drawn at random, or along lines in
/// steps of 0.37 voxels as a ray marcher takes them.
const Ostrum::Array<Vantor::Math::float3>& benchPositions(Content content, Access access);

} // namespace Stratum::Bench
