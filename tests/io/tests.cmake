# Interoperability of the writers and readers: files written by the library
# are read back by independent readers run with the system Python (Debian's
# python3-meshio, python3-vtk9) or by admesh and compared with the inputs
# they were written from (plexa_io_samples writes both); STL files written
# by meshio and numpy-stl (python3-stl) are read by the library
# (plexa_io_samples --read-stl); MEDIT and OBJ files that meshio and gmsh
# (python3-gmsh) write are read by the library (plexa_io_read prints what it
# read), and so are the NASTRAN decks they write; the library's MEDIT
# solutions are read by FreeFem++ (freefem++, libfreefem++), meshio and gmsh
# having no reader of them.  A test reports itself skipped when the other
# program is missing.
add_executable(plexa_io_samples ${CMAKE_CURRENT_LIST_DIR}/io_samples.cpp)
target_link_libraries(plexa_io_samples PRIVATE zeb::plexa)
plexa_target_defaults(plexa_io_samples)
# The readers' side: files that other tools write, read by the library.
add_executable(plexa_io_read ${CMAKE_CURRENT_LIST_DIR}/io_read.cpp)
target_link_libraries(plexa_io_read PRIVATE zeb::plexa)
plexa_target_defaults(plexa_io_read)

if(EXISTS /usr/bin/python3)
  add_test(NAME io.medit_read_by_meshio
           COMMAND /usr/bin/python3 ${CMAKE_CURRENT_LIST_DIR}/medit_meshio_check.py
                   $<TARGET_FILE:plexa_io_samples> ${CMAKE_CURRENT_BINARY_DIR}/medit_meshio)
  foreach(check vtk_read_by_vtk vtk_read_by_meshio nastran_read_by_meshio ensight_read_by_vtk)
    add_test(NAME io.${check}
             COMMAND /usr/bin/python3 ${CMAKE_CURRENT_LIST_DIR}/writers_check.py ${check}
                     $<TARGET_FILE:plexa_io_samples> ${CMAKE_CURRENT_BINARY_DIR}/${check})
  endforeach()
  foreach(check stl_read_by_admesh stl_read_by_meshio stl_written_by_meshio stl_written_by_numpy_stl)
    add_test(NAME io.${check}
             COMMAND /usr/bin/python3 ${CMAKE_CURRENT_LIST_DIR}/stl_check.py ${check}
                     $<TARGET_FILE:plexa_io_samples> ${CMAKE_CURRENT_BINARY_DIR}/${check})
  endforeach()
  foreach(check medit_from_meshio obj_from_meshio medit_from_gmsh sol_read_by_freefem nastran_from_meshio
                nastran_from_gmsh)
    add_test(NAME io.${check}
             COMMAND /usr/bin/python3 ${CMAKE_CURRENT_LIST_DIR}/readers_check.py ${check}
                     $<TARGET_FILE:plexa_io_read> $<TARGET_FILE:plexa_io_samples> ${CMAKE_CURRENT_BINARY_DIR}/${check})
  endforeach()
  set_tests_properties(io.medit_read_by_meshio io.vtk_read_by_vtk io.vtk_read_by_meshio io.nastran_read_by_meshio
                       io.ensight_read_by_vtk io.stl_read_by_admesh io.stl_read_by_meshio io.stl_written_by_meshio
                       io.stl_written_by_numpy_stl io.medit_from_meshio io.obj_from_meshio io.medit_from_gmsh
                       io.sol_read_by_freefem io.nastran_from_meshio io.nastran_from_gmsh PROPERTIES SKIP_RETURN_CODE 77)
else()
  message(STATUS "the io interoperability tests are not registered: /usr/bin/python3 is missing")
endif()

# The reader table of the fuzz targets (fuzz/readers.cpp), with which
# fuzz_regressions_test.cpp replays the inputs of tests/data/fuzz/.
target_sources(plexa_io_tests PRIVATE ${PROJECT_SOURCE_DIR}/fuzz/readers.cpp)
target_include_directories(plexa_io_tests PRIVATE ${PROJECT_SOURCE_DIR}/fuzz)
target_compile_definitions(plexa_io_tests PRIVATE PLEXA_FUZZ_REGRESSIONS="${PROJECT_SOURCE_DIR}/tests/data/fuzz")
