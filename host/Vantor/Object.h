// The host's geometry object.
#pragma once

#include "KDX/Object.h"
#include "Ostrum/Array.h"
#include "Ostrum/Export.h"
#include "Ostrum/Ptr.h"
#include "Ostrum/String.h"

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

namespace Vantor {

/// What kind of geometry an object must at least be: the components that it needs.
class OSTRUM_API Prototype {
public:
    explicit Prototype(Ostrum::Array<Ostrum::String> requiredComponents)
        : requiredComponents_(std::move(requiredComponents)) {}
    const Ostrum::Array<Ostrum::String>& requiredComponents() const { return requiredComponents_; }

private:
    Ostrum::Array<Ostrum::String> requiredComponents_;
};

/// A geometry: components (points, faces, a voxel tree), each with a number of elements or a part
/// of a volume behind it, and named properties, each an array of values for the elements of a
/// component.
class OSTRUM_API Object {
public:
    /// A component with that many elements, such as points; adding it again sets the number.
    void addComponent(const Ostrum::String& name, std::size_t elementCount);

    /// A part of a volume: tree, topology or channel. Parts of different types may share a name.
    void addComponent(const Ostrum::String& name, const Ostrum::Ptr<KDX::Component>& component);

    bool hasComponent(const Ostrum::String& name) const;

    /// The number of elements of a component, 0 when there is none of that name.
    std::size_t elementCount(const Ostrum::String& component) const;

    /// Values for the elements of the target component; setting a property again replaces it.
    template <class T>
    void setProperty(const Ostrum::String& name, const Ostrum::String& targetComponent,
                     const Ostrum::Ptr<Ostrum::Array<T>>& values) {
        setErased(name, targetComponent, std::make_shared<TypedValues<T>>(values));
    }

    /// A property's values, or null when there is none of that name and element type.
    template <class T>
    Ostrum::Ptr<Ostrum::Array<T>> propertyData(const Ostrum::String& name) const {
        const Property* found = find(name);
        const auto* typed =
            found ? dynamic_cast<const TypedValues<T>*>(found->values.get()) : nullptr;
        return typed ? typed->values : nullptr;
    }

    bool hasProperty(const Ostrum::String& name) const { return find(name) != nullptr; }

    /// The component whose elements a property belongs to; empty when there is no such property.
    Ostrum::String propertyTarget(const Ostrum::String& name) const;

    /// Whether the object has every component that the prototype needs.
    bool isA(const Prototype& prototype) const;

    /// The parts of a volume.
    const KDX::Object& volumeParts() const { return parts_; }

private:
    struct Values {
        Values() = default;
        Values(const Values&) = delete;
        Values& operator=(const Values&) = delete;
        virtual ~Values() = default;
    };
    template <class T>
    struct TypedValues : Values {
        explicit TypedValues(Ostrum::Ptr<Ostrum::Array<T>> v) : values(std::move(v)) {}
        Ostrum::Ptr<Ostrum::Array<T>> values;
    };
    struct Property {
        Ostrum::String name, target;
        std::shared_ptr<const Values> values;
    };

    const Property* find(const Ostrum::String& name) const;
    void setErased(const Ostrum::String& name, const Ostrum::String& target,
                   std::shared_ptr<const Values> values);

    std::vector<std::pair<Ostrum::String, std::size_t>> elementComponents_;
    std::vector<Property> properties_;
    KDX::Object parts_;
};

} // namespace Vantor
