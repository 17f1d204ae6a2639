// Loads and unloads the operator library as a host does, and calls it in between. Results live on
// after the library is closed.
#include "Vantor/Volume.h"
#include "ops/sample_volume.h"
#include "support/volumes.h"

#include <dlfcn.h>

#include <iostream>

using namespace StratumTest;

namespace {

int fail(const char* what) {
    std::cout << what << '\n';
    return 1;
}

} // namespace

int main(int, char** arguments) {
    using Shape = Traits<2, 4, 1>;
    using SampleVolume = void (*)(const Vantor::Object&, const Ostrum::Array<float3>&, const float&,
                                  const Ostrum::String&, Geometry::Query::SamplerType,
                                  Ostrum::Ptr<Ostrum::Array<float>>&);
    Vantor::Object object;
    const auto tree = build<Shape>({.hole = 0});
    Vantor::Geometry::addTree<Shape>(object, tree);
    Vantor::Geometry::addChannel(
        object, makeChannel<Shape, float>(tree, 0.0F, [](const double3&, int) { return 6.0; }));
    const Ostrum::Array<float3> positions(2000, {1, 2, 3});
    Ostrum::Ptr<Ostrum::Array<float>> out;
    for (int round = 0; round < 20; ++round) {
        void* library = dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL);
        if (!library)
            return fail(dlerror());
        const auto sampleVolume = reinterpret_cast<SampleVolume>(
            dlsym(library, "_ZN8Geometry5Query13sample_volumeERKN6Vantor6ObjectERKN6Ostrum5ArrayINS"
                           "1_4Math6float3EEERKfRKNS5_6StringENS0_11SamplerTypeERNS5_3PtrINS6_IfEE"
                           "EE"));
        if (!sampleVolume)
            return fail(dlerror());
        sampleVolume(object, positions, -1.0F, "value", Geometry::Query::SamplerType::kLinear, out);
        if (*out != Ostrum::Array<float>(positions.size(), 6.0F))
            return fail("a wrong value");
        if (dlclose(library) != 0)
            return fail(dlerror());
    }
    return 0;
}
