# Installation: libraries, headers, the CMake package zebplexa (target
# zeb::plexa and the companions) and the pkg-config file.
include(CMakePackageConfigHelpers)

# The MPI companion zebplexa_mpi (zeb::plexa_mpi) when it is built; the
# package then finds MPI for its users.
set(PLEXA_INSTALLED_TARGETS zebmath1 zebmisc zeblapack zebplexa)
set(PLEXA_PACKAGE_HAS_MPI OFF)
set(PLEXA_MPI_HEADER_RULE PATTERN mpi.hpp EXCLUDE)
if(TARGET zebplexa_mpi)
  list(APPEND PLEXA_INSTALLED_TARGETS zebplexa_mpi)
  set(PLEXA_PACKAGE_HAS_MPI ON)
  set(PLEXA_MPI_HEADER_RULE)
endif()
install(TARGETS ${PLEXA_INSTALLED_TARGETS} EXPORT zebplexaTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
# The test-only allocation-failure switch (zeb/testing/) is not installed,
# nor <zeb/plexa/mpi.hpp> without its library.
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/zeb DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  PATTERN testing EXCLUDE ${PLEXA_MPI_HEADER_RULE})

set(PLEXA_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/zebplexa)
install(EXPORT zebplexaTargets NAMESPACE zeb:: DESTINATION ${PLEXA_CMAKE_DIR})
export(EXPORT zebplexaTargets NAMESPACE zeb:: FILE ${PROJECT_BINARY_DIR}/zebplexaTargets.cmake)

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/zebplexaConfig.cmake.in
  ${PROJECT_BINARY_DIR}/zebplexaConfig.cmake INSTALL_DESTINATION ${PLEXA_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/zebplexaConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/zebplexaConfig.cmake ${PROJECT_BINARY_DIR}/zebplexaConfigVersion.cmake
  DESTINATION ${PLEXA_CMAKE_DIR})

# The pkg-config file finds the prefix from its own location, so that the
# installed tree can be moved (and installed with `cmake --install --prefix`).
file(RELATIVE_PATH PLEXA_PC_TO_PREFIX "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
string(REGEX REPLACE "/$" "" PLEXA_PC_TO_PREFIX "${PLEXA_PC_TO_PREFIX}")
configure_file(${PROJECT_SOURCE_DIR}/cmake/zebplexa.pc.in ${PROJECT_BINARY_DIR}/zebplexa.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/zebplexa.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
