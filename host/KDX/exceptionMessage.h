// The text that marks an exception as the host's cancellation.
#pragma once

#include "Ostrum/Export.h"
#include "Ostrum/String.h"

namespace KDX {

OSTRUM_API extern const Ostrum::String exceptionMessage;

} // namespace KDX
