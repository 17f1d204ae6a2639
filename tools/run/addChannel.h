// A channel as a graph describes it.
#pragma once

#include "KDX/TileTree.h"
#include "Ostrum/Ptr.h"
#include "run/Node.h"

namespace Stratum::tools::graph {

/// Adds the channel to the object, on a tree that the object has.
template <class Traits>
void addChannel(const Json& json, const Inputs& inputs,
                const Ostrum::Ptr<const KDX::TileTree3D::TileTree<Traits>>& tree,
                Vantor::Object& object);

} // namespace Stratum::tools::graph
