// Plexa file formats: one header per format, all included here.
//
//   zeb/plexa/io/medit.hpp   MEDIT mesh and solution files
//
// Every writer formats its numbers itself, byte for byte in the C locale's
// conventions ("%E", "%d", ... of printf), whatever locale the calling
// program has set.  Path-taking functions open and close their own stream.
#pragma once

#include <zeb/plexa/io/medit.hpp>
