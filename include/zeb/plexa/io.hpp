// Plexa file formats: mesh and solution writers and readers.
#pragma once

#include <zeb/plexa/core.hpp>

namespace zeb {
namespace plexa {}  // namespace plexa
}  // namespace zeb
