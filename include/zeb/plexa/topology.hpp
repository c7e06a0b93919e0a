// Plexa topology: element boundaries and neighbours, node graphs,
// node-to-element lists, sub-domains, grouping of mixed elements by kind.
#pragma once

#include <zeb/plexa/core.hpp>

namespace zeb {
namespace plexa {}  // namespace plexa
}  // namespace zeb
