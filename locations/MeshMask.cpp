#include "locations/MeshMask.h"

#include "Vantor/Geometry.h"
#include "Vantor/Object.h"
#include "locations/maskProperty.h"

namespace Vantor::Sample {

namespace {

template <class T>
class TypedMeshMask : public MeshMask {
public:
    TypedMeshMask(std::unique_ptr<const Sampler<T>> sampler, const MeshView& mesh,
                  const GenerateLocationOptions& options)
        : sampler_(std::move(sampler)), mesh_(mesh),
          seed_(static_cast<std::uint64_t>(options.seed)), invert_(options.invert_mask) {}

    bool rejects(std::size_t face, std::size_t t, const Barycentric& w,
                 std::uint64_t draw) const override {
        const std::array<std::size_t, 3> corners{0, t, t + 1};
        for (const std::size_t corner : corners)
            if (!sampler_->hasValue(face, corner))
                return false;
        // Decided before the values are blended, whose rounding could leave a chance.
        if (std::ranges::all_of(corners, [&](std::size_t c) { return isCertain(face, c); }))
            return true;
        return Sample::rejects(sampler_->value(face, 0, t, t + 1, w[0], w[1], w[2]), draw, seed_,
                               invert_);
    }

    bool rejectsAll(std::size_t face) const override {
        const std::size_t count = mesh_.faces[face].size();
        for (std::size_t corner = 0; corner < count; ++corner)
            if (!sampler_->hasValue(face, corner) || !isCertain(face, corner))
                return false;
        return count > 0;
    }

private:
    bool isCertain(std::size_t face, std::size_t corner) const {
        return isCertainRejection(sampler_->cornerValue(face, corner), invert_);
    }

    const std::unique_ptr<const Sampler<T>> sampler_;
    const MeshView& mesh_;
    const std::uint64_t seed_;
    const bool invert_;
};

template <class T>
std::unique_ptr<const Sampler<T>> makeSampler(const Ostrum::String& target, const MeshView& mesh,
                                              const Ostrum::Ptr<Ostrum::Array<T>>& values) {
    constexpr auto kMode = Interpolation::kLinear;
    if (target == Geometry::sPointComp)
        return std::make_unique<VertexSampler<T>>(mesh, values, kMode);
    if (target == Geometry::sFaceComp)
        return std::make_unique<FaceSampler<T>>(mesh, values, kMode);
    return std::make_unique<FaceVertexSampler<T>>(mesh, values, kMode);
}

} // namespace

std::unique_ptr<const MeshMask> makeMeshMask(const Object& geometry, const MeshView& mesh,
                                             const GenerateLocationOptions& options,
                                             const Ostrum::RuntimeServices* services) {
    if (!geometry.hasProperty(options.mask_property))
        return nullptr;
    const auto target = Geometry::getGeoPropTargetName(geometry, options.mask_property);
    if (target != Geometry::sPointComp && target != Geometry::sFaceComp &&
        target != Geometry::sFaceVertexComp) {
        warn(services, "Unsupported target for mask property.");
        return nullptr;
    }
    return makeOfMaskType<MeshMask>(geometry, options, services,
                                    [&]<class T>(const Ostrum::Ptr<Ostrum::Array<T>>& values) {
                                        return std::make_unique<TypedMeshMask<T>>(
                                            makeSampler(target, mesh, values), mesh, options);
                                    });
}

} // namespace Vantor::Sample
