#include "tinyHost/runtime.h"

#include <atomic>
#include <stdexcept>

namespace {
std::atomic<int> stepsLeft{0}, aliveCount{0};
}

void Tiny::failAtStep(int n) {
    stepsLeft = n;
}
void Tiny::step() {
    if (--stepsLeft == 0)
        throw std::runtime_error("step");
}

int Tiny::Counted::alive() {
    return aliveCount;
}
Tiny::Counted::Counted() {
    step();
    ++aliveCount;
}
Tiny::Counted::Counted(const Counted&) noexcept {
    ++aliveCount;
}
Tiny::Counted::~Counted() {
    --aliveCount;
}

bool Ostrum::isJobCancelled() {
    Tiny::step();
    return false;
}
