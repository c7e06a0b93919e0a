// Plexa file formats: one header per format, all included here.
//
//   zeb/plexa/io/medit.hpp     MEDIT mesh and solution files, read and written
//   zeb/plexa/io/vtk.hpp       legacy VTK unstructured grids
//   zeb/plexa/io/nastran.hpp   NASTRAN bulk data
//   zeb/plexa/io/ensight.hpp   EnSight ASCII geometry files
//   zeb/plexa/io/stl.hpp       STL surfaces, ASCII and binary, read and written
//   zeb/plexa/io/obj.hpp       Wavefront OBJ polygon meshes, read and written
//
// Every reader parses its numbers itself too, as scanf's "%lg" reads them in
// the C locale, and survives any bytes: a damaged file gives a result code.
// Every writer formats its numbers itself, byte for byte in the C locale's
// conventions ("%E", "%f", "%d", ... of printf), whatever locale the calling
// program has set.  Path-taking functions open and close their own stream,
// on every path; writers that take an open stream flush it but leave it
// open.  Write errors are detected: 0 means every byte reached the file.
#pragma once

#include <zeb/plexa/io/ensight.hpp>
#include <zeb/plexa/io/medit.hpp>
#include <zeb/plexa/io/nastran.hpp>
#include <zeb/plexa/io/obj.hpp>
#include <zeb/plexa/io/stl.hpp>
#include <zeb/plexa/io/vtk.hpp>
