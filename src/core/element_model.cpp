// Exported element-type queries: plain look-ups in the element table.
#include "core/element_model.hpp"

namespace zeb {
namespace plexa {

const char* version() noexcept { return "5.3.0.0"; }

unsigned int nbr_nodes(element_type type) noexcept { return detail::node_count(type); }
unsigned int nbr_base_nodes(element_type type) noexcept { return detail::base_node_count(type); }
unsigned int nbr_boundaries(element_type type) noexcept { return detail::boundary_count(type); }
unsigned int element_dim(element_type type) noexcept { return detail::dimension(type); }

}  // namespace plexa
}  // namespace zeb
