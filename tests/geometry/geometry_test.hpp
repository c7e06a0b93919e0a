// Names shared by the geometry tests.
#pragma once

#include "support/support.hpp"

using namespace zeb::plexa;
using plexa_test::NO;
using zeb::dense1D;
using zeb::dense2D;
using V2 = zeb::vector_fixed<double, 2>;
using V3 = zeb::vector_fixed<double, 3>;
