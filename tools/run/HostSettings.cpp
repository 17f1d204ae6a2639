#include "run/HostSettings.h"

#include "KDX/ChannelPool.h"
#include "Kelvane/Logger.h"

#include <utility>
#include <vector>

namespace Stratum::tools::graph {

namespace {

using KDX::TileTree3D::ChannelMemoryPool;
using KDX::TileTree3D::ChannelPool;
namespace Logger = Kelvane::Logger;

std::vector<std::pair<std::string, std::string>> readProperties(const Json* json) {
    std::vector<std::pair<std::string, std::string>> properties;
    if (json)
        for (const auto& [name, values] : json->record())
            for (const Json& value : values.list())
                properties.emplace_back(name, value.text());
    return properties;
}

} // namespace

HostSettings::HostSettings(const Json* json)
    : verbosity_(Logger::verboseLevel()), testMode_(Logger::getEnableTestMode()),
      channelPool_(ChannelPool::enabled()), memoryPool_(ChannelMemoryPool::enabled()) {
    if (!json)
        return;
    json->allowOnly({"threads", "verbosity", "test_mode", "properties", "channel_pool",
                     "channel_memory_pool", "timer_seconds"});
    const auto flag = [&](const char* key, bool otherwise) {
        const Json* value = json->find(key);
        return value ? value->boolean() : otherwise;
    };
    const auto number = [&](const char* key, std::int64_t lowest, int otherwise) {
        const Json* value = json->find(key);
        return value ? static_cast<int>(value->integer(lowest, 1024)) : otherwise;
    };
    // All is read before anything is changed.
    const int threads = number("threads", 1, 0), verbosity = number("verbosity", 0, verbosity_);
    const bool testMode = flag("test_mode", testMode_);
    const bool channelPool = flag("channel_pool", channelPool_);
    const bool memoryPool = flag("channel_memory_pool", memoryPool_);
    withSeconds_ = flag("timer_seconds", false);
    const auto properties = readProperties(json->find("properties"));

    if (threads > 0)
        threads_.emplace(tbb::global_control::max_allowed_parallelism,
                         static_cast<std::size_t>(threads));
    Logger::setVerboseLevel(verbosity);
    Logger::setEnableTestMode(testMode);
    ChannelPool::setEnabled(channelPool);
    ChannelMemoryPool::setEnabled(memoryPool);
    for (const auto& [name, value] : properties)
        Logger::registerProperty(name, value);
}

HostSettings::~HostSettings() {
    Logger::setVerboseLevel(verbosity_);
    Logger::setEnableTestMode(testMode_);
    Logger::clearProperties();
    ChannelPool::setEnabled(channelPool_);
    ChannelMemoryPool::setEnabled(memoryPool_);
}

} // namespace Stratum::tools::graph
