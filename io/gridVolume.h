// A volume of the grids that a file holds.
#pragma once

#include "io/SourceGrid.h"
#include "io/Volume.h"
#include "io/readVdb.h"

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace Stratum::io {

/// Names that no two channels share, whatever the grids are called.
class UniqueNames {
public:
    std::string add(const std::string& wanted);
    bool isTaken(const std::string& name) const { return taken_.contains(name); }

private:
    std::set<std::string> taken_;
    std::map<std::string, int> lastNumbers_; ///< a file may give one name to all its many grids
};

struct FileGrid {
    std::unique_ptr<SourceGrid> grid;
    std::string origin; ///< for people to read
    ChannelKind kind = ChannelKind::kOther;
};

/// The placement of a grid; throws std::runtime_error naming the grid when it has none.
GridPlacement requirePlacement(const std::string& name, const GridPlacementResult& result);

/// Makes a volume with one channel a grid. Throws std::runtime_error when their placements differ
/// or lie beyond a tree's indices, or the volume takes more memory than the options allow.
Volume makeGridVolume(const std::vector<FileGrid>& grids, const VdbOptions& options,
                      std::vector<std::string> warnings);

/// Throws std::runtime_error when none of a file's grids is the wanted one, or none can be used.
/// `all` are their names.
void requireGrids(const std::string& wanted, const UniqueNames& unique, bool anyUsable,
                  const std::string& all);

} // namespace Stratum::io
