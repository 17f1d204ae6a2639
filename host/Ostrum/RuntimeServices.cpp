#include "Ostrum/RuntimeServices.h"

#include <iostream>

namespace Ostrum {

RuntimeServices::RuntimeServices()
    : RuntimeServices(2, [](int, const String& message) { std::cerr << message << '\n'; }) {}

RuntimeServices::RuntimeServices(int levelLimit, Sink sink)
    : levelLimit_(levelLimit), sink_(std::move(sink)) {}

RuntimeServices::~RuntimeServices() = default;

bool RuntimeServices::isLogEnabled(int level) const {
    return level <= levelLimit_;
}

void RuntimeServices::logImpl(int level, const String& message) const {
    if (sink_)
        sink_(level, message);
}

} // namespace Ostrum
