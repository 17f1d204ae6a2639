#include "ops/linearSampling.h"
#include "ops/sample_volume.h"

namespace Geometry::Query {

using namespace Vantor::Math;

namespace {

template <class T, class R>
void sampleGradients(const Vantor::Object& object, const Ostrum::Array<float3>& positions,
                     const T& defaultValue, const Ostrum::String& property, SamplerType sampler,
                     Ostrum::Ptr<Ostrum::Array<R>>& out) {
    const auto work = [&](Ostrum::Array<R>& results) {
        Stratum::forEachVolume<T>(object, property, [&](const auto& volume) {
            if (sampler != SamplerType::kLinear)
                return;
            Stratum::sampleLinear(volume, [&](const auto& linear) {
                Stratum::sampleGradients(linear, positions, results,
                                         Stratum::visitOrder(volume, Stratum::viewOf(positions),
                                                             Stratum::OrderFrom::kOnePlaceEach));
            });
        });
    };
    Stratum::runOperator("sample_volume_gradient", positions.size(), splat<R>(defaultValue), out,
                         work);
}

} // namespace

void sample_volume_gradient(const Vantor::Object& object, const Ostrum::Array<float3>& positions,
                            const float& default_value, const Ostrum::String& property,
                            SamplerType sampler, Ostrum::Ptr<Ostrum::Array<float3>>& out) {
    sampleGradients(object, positions, default_value, property, sampler, out);
}

void sample_volume_gradient(const Vantor::Object& object, const Ostrum::Array<float3>& positions,
                            const double& default_value, const Ostrum::String& property,
                            SamplerType sampler, Ostrum::Ptr<Ostrum::Array<double3>>& out) {
    sampleGradients(object, positions, default_value, property, sampler, out);
}

} // namespace Geometry::Query
