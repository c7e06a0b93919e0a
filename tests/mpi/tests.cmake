# The tests of zebplexa_mpi, one program run by mpirun on 1, 2 and 4 ranks
# (oversubscribed: the machine may have fewer cores).  Left out with the
# library.  The program links the shared libraries only (no internal twin),
# as a user's program would.
if(NOT TARGET zebplexa_mpi)
  return()
endif()
file(GLOB PLEXA_MPI_TESTS CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/*.cpp)
add_executable(plexa_mpi_tests ${PLEXA_MPI_TESTS})
plexa_target_defaults(plexa_mpi_tests)
target_link_libraries(plexa_mpi_tests PRIVATE zeb::plexa_mpi GTest::gtest)
find_program(PLEXA_MPIEXEC NAMES ${MPIEXEC_EXECUTABLE} mpirun mpiexec)
foreach(ranks 1 2 4)
  add_test(NAME mpi.ranks${ranks}
    COMMAND ${PLEXA_MPIEXEC} --oversubscribe -n ${ranks} $<TARGET_FILE:plexa_mpi_tests>)
  # Open MPI refuses to run as root without these (CI containers do).  Under
  # AddressSanitizer the leak check is off: Open MPI keeps allocations until
  # exit in plugins it has unloaded by then, which no suppression can name.
  set_tests_properties(mpi.ranks${ranks} PROPERTIES TIMEOUT 300 PROCESSORS ${ranks}
    ENVIRONMENT "OMPI_ALLOW_RUN_AS_ROOT=1;OMPI_ALLOW_RUN_AS_ROOT_CONFIRM=1;OMPI_MCA_rmaps_base_oversubscribe=1;ASAN_OPTIONS=allocator_may_return_null=1:detect_leaks=0")
endforeach()
# The tool on part files under mpirun.
if(TARGET plexa AND EXISTS /usr/bin/python3)
  add_test(NAME mpi.cli_sizemap_parts
           COMMAND /usr/bin/python3 ${CMAKE_CURRENT_LIST_DIR}/sizemap_parts_check.py $<TARGET_FILE:plexa>
                   ${PLEXA_MPIEXEC} ${CMAKE_CURRENT_BINARY_DIR}/sizemap_parts)
  set_tests_properties(mpi.cli_sizemap_parts PROPERTIES TIMEOUT 300 PROCESSORS 3
    ENVIRONMENT "OMPI_ALLOW_RUN_AS_ROOT=1;OMPI_ALLOW_RUN_AS_ROOT_CONFIRM=1;OMPI_MCA_rmaps_base_oversubscribe=1;ASAN_OPTIONS=allocator_may_return_null=1:detect_leaks=0")
endif()
