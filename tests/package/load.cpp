// Loads and unloads the operator library by its path, as a host does, and calls an operator of it
// in between. Results live on after the library is closed.
#include "KDX/ChannelBuilder.h"
#include "KDX/TreeBuilder.h"
#include "Vantor/Volume.h"
#include "ops/sample_volume.h"

#include <dlfcn.h>

#include <cstdio>

int main(int, char** arguments) {
    using namespace KDX::TileTree3D;
    using Shape = Traits<2, 4, 1>;
    TreeBuilder<Shape> tiles;
    tiles.addTile(Shape::kFinestDepth, {0, 0, 0});
    const auto tree = tiles.build(1, VoxelOffsetType::kCorner);
    ChannelBuilder<Shape, float> field(tree, "x", 0.0F);
    field.fill([](const double3& p, int) { return static_cast<float>(p.x); });
    Vantor::Object object;
    Vantor::Geometry::addTree<Shape>(object, tree);
    Vantor::Geometry::addChannel(object, field.finish());

    using SampleVolume = void (*)(const Vantor::Object&, const Ostrum::Array<float3>&, const float&,
                                  const Ostrum::String&, Geometry::Query::SamplerType,
                                  Ostrum::Ptr<Ostrum::Array<float>>&);
    const Ostrum::Array<float3> positions(2000, {1.25F, 1, 1});
    Ostrum::Ptr<Ostrum::Array<float>> out;
    for (int round = 0; round < 20; ++round) {
        void* library = dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL);
        const auto sampleVolume = reinterpret_cast<SampleVolume>(
            library
                ? dlsym(library,
                        "_ZN8Geometry5Query13sample_volumeERKN6Vantor6ObjectERKN6Ostrum5ArrayINS1_"
                        "4Math6float3EEERKfRKNS5_6StringENS0_11SamplerTypeERNS5_3PtrINS6_IfEEEE")
                : nullptr);
        if (!sampleVolume) {
            std::puts(dlerror());
            return 1;
        }
        sampleVolume(object, positions, -1.0F, "x", Geometry::Query::SamplerType::kLinear, out);
        if (dlclose(library) != 0 || *out != Ostrum::Array<float>(positions.size(), 1.25F))
            return 1;
    }
    return 0;
}
