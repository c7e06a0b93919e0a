// Exported element-type queries: plain look-ups in the element table.
#include "core/element_model.hpp"

namespace zeb {
namespace plexa {

const char* version() noexcept { return "5.3.0.0"; }

// A value outside the enumeration reads as ELT_NONE: every count is 0.
unsigned int nbr_nodes(element_type type) noexcept {
  return detail::is_element_type(type) ? detail::node_count(type) : 0;
}
unsigned int nbr_base_nodes(element_type type) noexcept {
  return detail::is_element_type(type) ? detail::base_node_count(type) : 0;
}
unsigned int nbr_boundaries(element_type type) noexcept {
  return detail::is_element_type(type) ? detail::boundary_count(type) : 0;
}
unsigned int element_dim(element_type type) noexcept {
  return detail::is_element_type(type) ? detail::dimension(type) : 0;
}

}  // namespace plexa
}  // namespace zeb
