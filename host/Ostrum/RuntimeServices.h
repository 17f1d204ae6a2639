// The host's log, as an operator may be handed it.
#pragma once

#include "Ostrum/Export.h"
#include "Ostrum/String.h"

#include <functional>

namespace Ostrum {

/// A log with levels: smaller numbers matter more; level 2 is a warning. Every level is enabled
/// that does not exceed the limit given at construction; what is logged goes to the sink.
class OSTRUM_API RuntimeServices {
public:
    using Sink = std::function<void(int level, const String& message)>;

    /// Logs to the standard error stream.
    RuntimeServices();
    RuntimeServices(int levelLimit, Sink sink);
    virtual ~RuntimeServices();

    virtual bool isLogEnabled(int level) const;
    virtual void logImpl(int level, const String& message) const;

private:
    int levelLimit_;
    Sink sink_;
};

} // namespace Ostrum
