# Interoperability of the MEDIT writer: meshes written by the library are
# read back by meshio (an independent reader, Debian's python3-meshio, run
# with the system Python) and compared with the inputs they were written
# from.  The test reports itself skipped when meshio is missing.
add_executable(plexa_medit_sample ${CMAKE_CURRENT_LIST_DIR}/medit_sample.cpp)
plexa_target_defaults(plexa_medit_sample)
target_link_libraries(plexa_medit_sample PRIVATE zeb::plexa)

if(EXISTS /usr/bin/python3)
  add_test(NAME io.medit_read_by_meshio
           COMMAND /usr/bin/python3 ${CMAKE_CURRENT_LIST_DIR}/medit_meshio_check.py
                   $<TARGET_FILE:plexa_medit_sample> ${CMAKE_CURRENT_BINARY_DIR}/medit_meshio)
  set_tests_properties(io.medit_read_by_meshio PROPERTIES SKIP_RETURN_CODE 77)
else()
  message(STATUS "io.medit_read_by_meshio not registered: /usr/bin/python3 is missing")
endif()
