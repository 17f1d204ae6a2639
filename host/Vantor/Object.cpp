#include "Vantor/Object.h"

#include <algorithm>

namespace Vantor {

void Object::addComponent(const Ostrum::String& name, std::size_t elementCount) {
    for (auto& [key, count] : elementComponents_)
        if (key == name) {
            count = elementCount;
            return;
        }
    elementComponents_.emplace_back(name, elementCount);
}

void Object::addComponent(const Ostrum::String& name,
                          const Ostrum::Ptr<KDX::Component>& component) {
    parts_.addComponent(name, component);
}

bool Object::hasComponent(const Ostrum::String& name) const {
    const auto named = [&](const auto& entry) { return entry.first == name; };
    return std::ranges::any_of(elementComponents_, named) ||
           std::ranges::any_of(parts_.components(), named);
}

std::size_t Object::elementCount(const Ostrum::String& component) const {
    for (const auto& [key, count] : elementComponents_)
        if (key == component)
            return count;
    return 0;
}

const Object::Property* Object::find(const Ostrum::String& name) const {
    const auto found = std::ranges::find(properties_, name, &Property::name);
    return found == properties_.end() ? nullptr : &*found;
}

void Object::setErased(const Ostrum::String& name, const Ostrum::String& target,
                       std::shared_ptr<const Values> values) {
    std::erase_if(properties_, [&](const Property& property) { return property.name == name; });
    properties_.push_back({name, target, std::move(values)});
}

Ostrum::String Object::propertyTarget(const Ostrum::String& name) const {
    const Property* found = find(name);
    return found ? found->target : Ostrum::String();
}

bool Object::isA(const Prototype& prototype) const {
    return std::ranges::all_of(prototype.requiredComponents(),
                               [&](const Ostrum::String& name) { return hasComponent(name); });
}

} // namespace Vantor
