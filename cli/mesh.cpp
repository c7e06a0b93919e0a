// The tool's mesh value.
#include "mesh.hpp"

#include <new>

#include "builtin_mesh.hpp"

namespace plexa_cli {

bool mesh::add_block(const zeb::dense2D<unsigned>& connect, zeb::plexa::element_type type) {
  if (!types.push_back(int(type))) return false;
  try {
    blocks.push_back(connect);
  } catch (const std::bad_alloc&) {
    types.resize(types.size() - 1);
    return false;
  }
  return true;
}

unsigned mesh::element_count() const {
  unsigned n = 0;
  for (const zeb::dense2D<unsigned>& b : blocks) n += b.empty() ? 0 : b.cols();
  return n;
}

bool builtin_mesh(mesh& m) {
  zeb::dense2D<unsigned> solids;
  return builtin_mesh(m.coords, solids) && m.add_block(solids, zeb::plexa::ELT_SOLID_MIX);
}

}  // namespace plexa_cli
