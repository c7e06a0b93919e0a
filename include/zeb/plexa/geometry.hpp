// Plexa geometry: transforms, bounding boxes, centroids, mesh copies,
// symmetry and clipping.
#pragma once

#include <zeb/plexa/core.hpp>

namespace zeb {
namespace plexa {}  // namespace plexa
}  // namespace zeb
