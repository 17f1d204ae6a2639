// A mask on the faces, corners or points of a mesh.
#pragma once

#include "Ostrum/Array.h"
#include "Ostrum/Ptr.h"
#include "Ostrum/RuntimeServices.h"
#include "locations/GenerateLocationOptions.h"
#include "locations/geometryViews.h"
#include "locations/maskValue.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <utility>

namespace Vantor {
class Object;
}

namespace Vantor::Sample {

/// The weights of a triangle's corners.
using Barycentric = std::array<float, 3>;

/// Decides which locations on a mesh are kept.
class MeshMask {
public:
    MeshMask() = default;
    MeshMask(const MeshMask&) = delete;
    MeshMask& operator=(const MeshMask&) = delete;
    virtual ~MeshMask() = default;

    /// Whether a location on the triangle (0, t, t + 1) of a face is rejected. Where the mask has
    /// no value for it, it is not.
    virtual bool rejects(std::size_t face, std::size_t t, const Barycentric& weights,
                         std::uint64_t draw) const = 0;

    /// Whether every location on the face is rejected, whatever is drawn.
    virtual bool rejectsAll(std::size_t face) const = 0;
};

/// The mask that the options name; null, with a warning, when the property has an unsuitable target
/// or type, and without one when there is no such property. The mesh must outlive it.
std::unique_ptr<const MeshMask> makeMeshMask(const Object& geometry, const MeshView& mesh,
                                             const GenerateLocationOptions& options,
                                             const Ostrum::RuntimeServices* services);

/// How the values at a triangle's corners make one.
enum class Interpolation : std::uint8_t {
    kNearest = 0, ///< the corner of the largest weight, the first of equal ones
    kLinear = 1,
};

/// Reads a mask of type T, at places of its array that the kind of element determines.
template <class T>
class Sampler {
public:
    using Scalar = Math::ScalarOf<T>;

    Sampler(const MeshView& mesh, Ostrum::Ptr<Ostrum::Array<T>> values, Interpolation mode)
        : mesh_(mesh), values_(std::move(values)), mode_(mode) {}
    Sampler(const Sampler&) = delete;
    Sampler& operator=(const Sampler&) = delete;
    virtual ~Sampler() = default;

    /// The scalar of the mask at corners i0, i1, i2 of a face, weighted; the corners must have
    /// values.
    virtual Scalar value(std::size_t face, std::size_t i0, std::size_t i1, std::size_t i2, float w0,
                         float w1, float w2) const {
        const Scalar a = at(place(face, i0)), b = at(place(face, i1)), c = at(place(face, i2));
        switch (mode_) {
        case Interpolation::kLinear:
            return w0 * blendable(a) + w1 * blendable(b) + w2 * blendable(c);
        case Interpolation::kNearest:
            return w0 >= w1 && w0 >= w2 ? a : w1 >= w0 && w1 >= w2 ? b : c;
        }
        return 0;
    }

    bool hasValue(std::size_t face, std::size_t corner) const {
        return place(face, corner) < values_->size();
    }
    Scalar cornerValue(std::size_t face, std::size_t corner) const {
        return at(place(face, corner));
    }

protected:
    static constexpr std::size_t kNowhere = std::numeric_limits<std::size_t>::max();

    /// Where in the array the value of a face's corner is.
    virtual std::size_t place(std::size_t face, std::size_t corner) const = 0;

    const MeshView& mesh() const { return mesh_; }
    Scalar at(std::size_t place) const { return maskScalar<T>((*values_)[place]); }

private:
    const MeshView& mesh_;
    const Ostrum::Ptr<Ostrum::Array<T>> values_;
    const Interpolation mode_;
};

/// One value a face, whatever the weights.
template <class T>
class FaceSampler : public Sampler<T> {
public:
    using Sampler<T>::Sampler;
    typename Sampler<T>::Scalar value(std::size_t face, std::size_t, std::size_t, std::size_t,
                                      float, float, float) const override {
        return this->at(face);
    }

protected:
    std::size_t place(std::size_t face, std::size_t) const override { return face; }
};

/// One value a corner.
template <class T>
class FaceVertexSampler : public Sampler<T> {
public:
    using Sampler<T>::Sampler;

protected:
    std::size_t place(std::size_t face, std::size_t corner) const override {
        const IndexSpan corners = this->mesh().faces[face];
        return corner < corners.size() ? corners.begin + corner : Sampler<T>::kNowhere;
    }
};

/// One value a point.
template <class T>
class VertexSampler : public Sampler<T> {
public:
    using Sampler<T>::Sampler;

protected:
    std::size_t place(std::size_t face, std::size_t corner) const override {
        const IndexSpan corners = this->mesh().faces[face];
        return corner < corners.size() ? this->mesh().faceVertex[corners.begin + corner]
                                       : Sampler<T>::kNowhere;
    }
};

} // namespace Vantor::Sample
