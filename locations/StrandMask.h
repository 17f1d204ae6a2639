// A mask on strands or on their points.
#pragma once

#include "Ostrum/Array.h"
#include "Ostrum/Ptr.h"
#include "Ostrum/RuntimeServices.h"
#include "Vantor/GeoLocation.h"
#include "locations/GenerateLocationOptions.h"
#include "locations/geometryViews.h"
#include "locations/maskValue.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

namespace Vantor::Sample {

/// Decides which locations on strands are kept.
class StrandSamplerBase {
public:
    StrandSamplerBase() = default;
    StrandSamplerBase(const StrandSamplerBase&) = delete;
    StrandSamplerBase& operator=(const StrandSamplerBase&) = delete;

    /// Whether the mask rejects all of the segment from local point `s` of a strand to the next.
    virtual bool isFullyMasked(std::size_t strand, std::size_t s) const = 0;

    /// Whether a location is rejected. One that is not on a strand, or for which the mask has no
    /// value, is not.
    virtual bool reject(const Geometry::Common::GeoLocation& location, std::uint64_t draw,
                        const GenerateLocationOptions& options) const = 0;

    virtual ~StrandSamplerBase() = default;
};

/// The mask that the options name; null, with a warning, when the property has an unsuitable target
/// or type. The strands must outlive it.
std::unique_ptr<const StrandSamplerBase> makeStrandMask(const Object& geometry,
                                                        const StrandView& strands,
                                                        const GenerateLocationOptions& options,
                                                        const Ostrum::RuntimeServices* services);

/// A mask of type T.
template <class T>
class StrandSamplerBaseTyped : public StrandSamplerBase {
public:
    StrandSamplerBaseTyped(const StrandView& strands, Ostrum::Ptr<Ostrum::Array<T>> values,
                           bool invert)
        : strands_(strands), values_(std::move(values)), invert_(invert) {}

protected:
    const StrandView& strands() const { return strands_; }
    bool hasValue(std::size_t place) const { return place < values_->size(); }
    Math::ScalarOf<T> at(std::size_t place) const { return maskScalar<T>((*values_)[place]); }
    bool isCertain(std::size_t place) const {
        return hasValue(place) && isCertainRejection(at(place), invert_);
    }

private:
    const StrandView& strands_;
    const Ostrum::Ptr<Ostrum::Array<T>> values_;
    const bool invert_;
};

/// One value a strand.
template <class T>
class StrandSamplerPerStrand : public StrandSamplerBaseTyped<T> {
public:
    using StrandSamplerBaseTyped<T>::StrandSamplerBaseTyped;

    bool isFullyMasked(std::size_t strand, std::size_t) const override {
        return this->isCertain(strand);
    }
    bool reject(const Geometry::Common::GeoLocation& location, std::uint64_t draw,
                const GenerateLocationOptions& options) const override {
        if (location.kind != Geometry::Common::kOnStrand ||
            location.element >= this->strands().strands.count() ||
            !this->hasValue(location.element))
            return false;
        return rejects(this->at(location.element), draw, static_cast<std::uint64_t>(options.seed),
                       options.invert_mask);
    }
};

/// One value a point, interpolated along segments.
template <class T>
class StrandSamplerPerVertex : public StrandSamplerBaseTyped<T> {
public:
    using StrandSamplerBaseTyped<T>::StrandSamplerBaseTyped;

    bool isFullyMasked(std::size_t strand, std::size_t s) const override {
        if (strand >= this->strands().strands.count())
            return false;
        const std::size_t first = this->strands().strands[strand].begin + s;
        return this->isCertain(first) && this->isCertain(first + 1);
    }
    bool reject(const Geometry::Common::GeoLocation& location, std::uint64_t draw,
                const GenerateLocationOptions& options) const override {
        if (location.kind != Geometry::Common::kOnStrand ||
            location.element >= this->strands().strands.count())
            return false;
        const std::size_t begin = this->strands().strands[location.element].begin,
                          p0 = begin + location.indices[0], p1 = begin + location.indices[1];
        if (!this->hasValue(p0) || !this->hasValue(p1))
            return false;
        // Decided before the values are blended, whose rounding could leave a chance.
        if (this->isCertain(p0) && this->isCertain(p1))
            return true;
        return rejects(location.weights[0] * blendable(this->at(p0)) +
                           location.weights[1] * blendable(this->at(p1)),
                       draw, static_cast<std::uint64_t>(options.seed), options.invert_mask);
    }
};

} // namespace Vantor::Sample
