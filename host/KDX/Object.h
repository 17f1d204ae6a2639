// An object of the volume library: components, each found by its name and type.
#pragma once

#include "Ostrum/Export.h"
#include "Ostrum/Ptr.h"
#include "Ostrum/String.h"

#include <memory>
#include <utility>
#include <vector>

namespace KDX {

/// Whatever an object can be made of. What works on a component for longer than a call may share
/// in its ownership.
class OSTRUM_API Component : public std::enable_shared_from_this<Component> {
public:
    Component() = default;
    Component(const Component&) = default;
    Component& operator=(const Component&) = default;
    virtual ~Component();
};

/// Named components. Components of different types may share a name, as the trees of both shapes
/// do.
class OSTRUM_API Object {
public:
    /// Takes the place of a component of the same name and type, if there is one.
    void addComponent(const Ostrum::String& name, const Ostrum::Ptr<Component>& component);

    /// The component of that name and type, or null.
    template <class C>
    Ostrum::Ptr<C> component(const Ostrum::String& name) const {
        for (const auto& [key, value] : components_)
            if (key == name)
                if (auto typed = Ostrum::dynamicPtrCast<C>(value))
                    return typed;
        return nullptr;
    }

    const std::vector<std::pair<Ostrum::String, Ostrum::Ptr<Component>>>& components() const {
        return components_;
    }

private:
    std::vector<std::pair<Ostrum::String, Ostrum::Ptr<Component>>> components_;
};

} // namespace KDX
