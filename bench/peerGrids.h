// The peers' volumes: the same values in OpenVDB and in NanoVDB.
#pragma once

#include "benchVolumes.h"

#include <openvdb/openvdb.h>

namespace Stratum::Bench {

/// Built once and kept.
const openvdb::FloatGrid& openGrid(const Scene& scene);

} // namespace Stratum::Bench
