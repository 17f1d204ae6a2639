// The host's switches for the time of one graph.
#pragma once

#include "run/Json.h"

#include <oneapi/tbb/global_control.h>

#include <optional>

namespace Stratum::tools::graph {

/// Applies a graph's "settings" (null: none) as long as it lives.
class HostSettings {
public:
    explicit HostSettings(const Json* json);
    ~HostSettings();
    HostSettings(const HostSettings&) = delete;
    HostSettings& operator=(const HostSettings&) = delete;

    /// Whether results tell how long timers ran, which no two runs agree on.
    bool withSeconds() const { return withSeconds_; }

private:
    std::optional<tbb::global_control> threads_;
    int verbosity_;
    bool testMode_, channelPool_, memoryPool_;
    bool withSeconds_ = false;
};

} // namespace Stratum::tools::graph
