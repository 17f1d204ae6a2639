#include "KDX/Object.h"
#include "KDX/exceptionMessage.h"

#include <stdexcept>
#include <typeinfo>

namespace KDX {

const Ostrum::String exceptionMessage("The job was cancelled by the host.");

Component::~Component() = default;

void Object::addComponent(const Ostrum::String& name, const Ostrum::Ptr<Component>& component) {
    if (!component)
        throw std::invalid_argument("a component must not be null");
    const Component& added = *component;
    for (auto& [key, value] : components_) {
        const Component& held = *value;
        if (key == name && typeid(held) == typeid(added)) {
            value = component;
            return;
        }
    }
    components_.emplace_back(name, component);
}

} // namespace KDX
