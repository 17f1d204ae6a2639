// How an operator tells the host that it ended early.
#pragma once

#include "Ostrum/Array.h"
#include "Ostrum/Export.h"
#include "Ostrum/String.h"

namespace Kelvane {

/// Told the operator's name when the operator ends because of a cancellation.
OSTRUM_API void terminateMessage(const Ostrum::String& operatorName);

/// The names told so far, oldest first, the first 1024 of them; the call forgets them.
OSTRUM_API Ostrum::Array<Ostrum::String> takeTerminateMessages();

} // namespace Kelvane
