// The built-in mesh that `plexa demo` (and any command run without an input
// file) works on.
#pragma once

#include <zeb/dense.hpp>

namespace plexa_cli {

// A small conforming 3-D mesh of mixed solids: two hexahedra side by side
// (x in [0, 2]), a roof of two wedges on top of them (ridge at z = 1.5), a
// pyramid on the end face x = 2 of the block with a tetrahedron between the
// pyramid and the end of the roof, and a tetrahedron capping the other end of
// the roof.  Neighbouring elements share whole faces.  Every element is
// positive (a positive Jacobian, as other mesh tools read it): tetrahedra
// have nodes 0, 1, 2 counter-clockwise seen from node 3, pyramids, wedges
// and hexahedra their base counter-clockwise seen from the apex or the top
// face.  The library's boundary tables therefore see the faces of the
// tetrahedra pointing out and those of the other elements pointing in.
//
// Outputs: coords, 3 x 17 (one column per node); solids, an ELT_SOLID_MIX
// connectivity of 8 x 7 (two hexahedra, two wedges, one pyramid, two
// tetrahedra, in this order; unused rows hold UINT_MAX).
// Returns false, with both outputs empty, when memory could not be had.
bool builtin_mesh(zeb::dense2D<double>& coords, zeb::dense2D<unsigned>& solids);

}  // namespace plexa_cli
