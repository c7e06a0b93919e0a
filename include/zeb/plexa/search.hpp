// Plexa spatial search and node merging: the node_detector k-d tree, merge,
// removal of degenerate elements and of unused nodes.
#pragma once

#include <zeb/plexa/core.hpp>

namespace zeb {
namespace plexa {}  // namespace plexa
}  // namespace zeb
