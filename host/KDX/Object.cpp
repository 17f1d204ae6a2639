#include "KDX/Object.h"
#include "KDX/exceptionMessage.h"

namespace KDX {

const Ostrum::String exceptionMessage("The job was cancelled by the host.");

Component::~Component() = default;

void Object::addComponent(const Ostrum::String& name, const Ostrum::Ptr<Component>& component) {
    components_.emplace_back(name, component);
}

} // namespace KDX
