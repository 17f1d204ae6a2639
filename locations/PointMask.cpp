#include "Vantor/Geometry.h"
#include "locations/maskProperty.h"
#include "locations/maskValue.h"
#include "locations/scatterOnPoints.h"
#include "locations/warn.h"

#include <utility>

namespace Vantor::Sample {

namespace {

template <class T>
class TypedPointMask : public PointMask {
public:
    TypedPointMask(Ostrum::Ptr<Ostrum::Array<T>> values, const GenerateLocationOptions& options)
        : values_(std::move(values)), seed_(static_cast<std::uint64_t>(options.seed)),
          invert_(options.invert_mask) {}

    bool rejects(std::size_t point, std::uint64_t draw) const override {
        return point < values_->size() && Sample::rejects(at(point), draw, seed_, invert_);
    }
    bool rejectsAll(std::size_t point) const override {
        return point < values_->size() && isCertainRejection(at(point), invert_);
    }

private:
    auto at(std::size_t point) const { return maskScalar<T>((*values_)[point]); }

    const Ostrum::Ptr<Ostrum::Array<T>> values_;
    const std::uint64_t seed_;
    const bool invert_;
};

} // namespace

std::unique_ptr<const PointMask> makePointMask(const Object& geometry,
                                               const GenerateLocationOptions& options,
                                               const Ostrum::RuntimeServices* services) {
    if (!geometry.hasProperty(options.mask_property))
        return nullptr;
    if (Geometry::getGeoPropTargetName(geometry, options.mask_property) != Geometry::sPointComp) {
        warn(services, "Unsupported target for mask property.");
        return nullptr;
    }
    return makeOfMaskType<PointMask>(
        geometry, options, services,
        [&]<class T>(
            const Ostrum::Ptr<Ostrum::Array<T>>& values) -> std::unique_ptr<const PointMask> {
            return std::make_unique<TypedPointMask<T>>(values, options);
        });
}

} // namespace Vantor::Sample
