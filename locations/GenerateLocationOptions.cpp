#include "locations/GenerateLocationOptions.h"

#include <type_traits>
#include <utility>

namespace Vantor::Sample {

// What moving a record without a chance of failure rests on.
static_assert(std::is_nothrow_move_assignable_v<Ostrum::String> &&
              std::is_nothrow_move_assignable_v<Ostrum::Ptr<Ostrum::Array<long long>>>);

GenerateLocationOptions::GenerateLocationOptions() = default;
GenerateLocationOptions::GenerateLocationOptions(const GenerateLocationOptions&) = default;
GenerateLocationOptions::~GenerateLocationOptions() = default;

// All or nothing: copying the text may throw.
GenerateLocationOptions& GenerateLocationOptions::operator=(const GenerateLocationOptions& other) {
    if (this != &other) {
        GenerateLocationOptions copy(other);
        *this = std::move(copy);
    }
    return *this;
}

// Hosts rely on the source keeping its text, and copying that may throw: the seeds are taken last.
// NOLINTBEGIN(performance-noexcept-move-constructor,performance-move-constructor-init)
GenerateLocationOptions::GenerateLocationOptions(GenerateLocationOptions&& other)
    : sample_type(other.sample_type), amount(other.amount), amount_type(other.amount_type),
      mask_control(other.mask_control), seed(other.seed), seed_array(other.seed_array),
      use_max_number(other.use_max_number), max_number(other.max_number), use_mask(other.use_mask),
      mask_property(std::as_const(other.mask_property)), invert_mask(other.invert_mask) {
    other.seed_array = nullptr;
}
// NOLINTEND(performance-noexcept-move-constructor,performance-move-constructor-init)

GenerateLocationOptions&
GenerateLocationOptions::operator=(GenerateLocationOptions&& other) noexcept {
    if (this == &other)
        return *this;
    sample_type = other.sample_type;
    amount = other.amount;
    amount_type = other.amount_type;
    mask_control = other.mask_control;
    seed = other.seed;
    seed_array = std::exchange(other.seed_array, nullptr);
    use_max_number = other.use_max_number;
    max_number = other.max_number;
    use_mask = other.use_mask;
    mask_property = std::move(other.mask_property);
    invert_mask = other.invert_mask;
    return *this;
}

} // namespace Vantor::Sample
