# Tests of the packaging and of the plexa tool.

# The tool's tests run its commands in-process.  Without the tool in the
# build, they compile its command sources themselves.
if(TARGET plexa_cli_tests AND TARGET plexa_cli)
  target_link_libraries(plexa_cli_tests PRIVATE plexa_cli)
elseif(TARGET plexa_cli_tests)
  file(GLOB_RECURSE plexa_cli_sources CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/cli/*.cpp)
  list(FILTER plexa_cli_sources EXCLUDE REGEX ".*/main\\.cpp$")
  if(TARGET zebplexa_mpi)
    target_compile_definitions(plexa_cli_tests PRIVATE PLEXA_CLI_MPI=1)
    target_link_libraries(plexa_cli_tests PRIVATE zeb::plexa_mpi)
  else()
    list(FILTER plexa_cli_sources EXCLUDE REGEX ".*/commands/(partition|merge_parts)\\.cpp$")
  endif()
  target_sources(plexa_cli_tests PRIVATE ${plexa_cli_sources})
  target_include_directories(plexa_cli_tests PRIVATE ${PROJECT_SOURCE_DIR}/cli)
endif()

# Generated files and install trees of these tests.
set(plexa_packaging_dir ${CMAKE_CURRENT_BINARY_DIR}/packaging)

# Every public header compiles on its own as C++17 without warnings: one
# generated translation unit per header, built with `all`.
file(GLOB_RECURSE plexa_public_headers CONFIGURE_DEPENDS RELATIVE ${PROJECT_SOURCE_DIR}/include
  ${PROJECT_SOURCE_DIR}/include/*.hpp ${PROJECT_SOURCE_DIR}/include/*.h)
# <zeb/plexa/mpi.hpp> needs MPI's headers: checked only with its library.
if(NOT TARGET zebplexa_mpi)
  list(REMOVE_ITEM plexa_public_headers zeb/plexa/mpi.hpp)
endif()
set(plexa_header_units "")
foreach(header ${plexa_public_headers})
  set(unit ${plexa_packaging_dir}/header_check/${header}.cpp)
  file(CONFIGURE OUTPUT ${unit} CONTENT "#include <${header}>\n")
  list(APPEND plexa_header_units ${unit})
endforeach()
add_library(plexa_header_check OBJECT ${plexa_header_units})
target_include_directories(plexa_header_check PRIVATE ${PROJECT_SOURCE_DIR}/include)
target_compile_options(plexa_header_check PRIVATE -Wall -Wextra -Wpedantic -Werror)
set_target_properties(plexa_header_check PROPERTIES CXX_STANDARD 17 CXX_STANDARD_REQUIRED ON CXX_EXTENSIONS OFF)
if(TARGET zebplexa_mpi)
  target_link_libraries(plexa_header_check PRIVATE zeb::plexa_mpi)
endif()

# Only the public API leaves the shared library.
set(plexa_nm ${CMAKE_NM})
if(NOT plexa_nm)
  set(plexa_nm nm)
endif()
add_test(NAME packaging.exported_symbols
  COMMAND ${CMAKE_COMMAND} -DLIBRARY=$<TARGET_FILE:zebplexa> -DNM=${plexa_nm}
          -P ${CMAKE_CURRENT_LIST_DIR}/exported_symbols.cmake)
if(TARGET zebplexa_mpi)
  add_test(NAME packaging.exported_symbols_mpi
    COMMAND ${CMAKE_COMMAND} -DLIBRARY=$<TARGET_FILE:zebplexa_mpi> -DNM=${plexa_nm}
            -P ${CMAKE_CURRENT_LIST_DIR}/exported_symbols.cmake)
endif()

if(PLEXA_INSTALL)
  # The installed package, used the two documented ways.  One fixture installs
  # the build into a prefix inside the build tree; the consumers need it.
  set(plexa_test_prefix ${plexa_packaging_dir}/prefix)
  # For the tests of other folders that use the installed tree (python/).
  set_property(GLOBAL PROPERTY PLEXA_TEST_PREFIX ${plexa_test_prefix})
  set(plexa_consumer_flags "")
  if(PLEXA_SANITIZE)
    # A program linked with the sanitized libraries must load the sanitizer runtime first.
    set(plexa_consumer_flags "-fsanitize=address,undefined -fno-sanitize-recover=all")
  endif()
  set(plexa_expected_files ${CMAKE_INSTALL_LIBDIR}/cmake/zebplexa/zebplexaConfig.cmake
    ${CMAKE_INSTALL_LIBDIR}/pkgconfig/zebplexa.pc ${CMAKE_INSTALL_INCLUDEDIR}/zeb/plexa.hpp)
  if(TARGET plexa)
    list(APPEND plexa_expected_files ${CMAKE_INSTALL_BINDIR}/plexa)
  endif()

  add_test(NAME packaging.install
    COMMAND ${CMAKE_COMMAND} -DBUILD_DIR=${CMAKE_BINARY_DIR} -DPREFIX=${plexa_test_prefix}
            "-DEXPECTED=${plexa_expected_files}"
            -DUNEXPECTED=${CMAKE_INSTALL_INCLUDEDIR}/zeb/testing/allocation_failure.hpp
            -P ${CMAKE_CURRENT_LIST_DIR}/install_prefix.cmake)
  set_tests_properties(packaging.install PROPERTIES FIXTURES_SETUP plexa_prefix)

  add_test(NAME packaging.cmake_consumer
    COMMAND ${CMAKE_COMMAND} -DSOURCE=${PROJECT_SOURCE_DIR}/examples/consumer
            -DBINARY=${plexa_packaging_dir}/cmake_consumer -DPREFIX=${plexa_test_prefix}
            -DCXX=${CMAKE_CXX_COMPILER} "-DLAUNCHER=${CMAKE_CXX_COMPILER_LAUNCHER}" "-DFLAGS=${plexa_consumer_flags}"
            -P ${CMAKE_CURRENT_LIST_DIR}/cmake_consumer.cmake)
  add_test(NAME packaging.pkgconfig_consumer
    COMMAND ${CMAKE_COMMAND} -DSOURCE=${PROJECT_SOURCE_DIR}/examples/consumer/main.cpp
            -DBINARY=${plexa_packaging_dir}/pkgconfig_consumer -DPREFIX=${plexa_test_prefix}
            -DCXX=${CMAKE_CXX_COMPILER} "-DLAUNCHER=${CMAKE_CXX_COMPILER_LAUNCHER}" "-DFLAGS=${plexa_consumer_flags}"
            -P ${CMAKE_CURRENT_LIST_DIR}/pkgconfig_consumer.cmake)
  set_tests_properties(packaging.cmake_consumer packaging.pkgconfig_consumer PROPERTIES
    FIXTURES_REQUIRED plexa_prefix PASS_REGULAR_EXPRESSION "plexa 5\\.3\\.0\\.0: 2 triangles on 4 nodes: 0 1 2 3")
endif()

# Plexa built inside another project's tree.  The sanitized build leaves it
# out: it compiles the library once more, and the plain build proves the
# same CMake.
if(NOT PLEXA_SANITIZE)
  add_test(NAME packaging.embedded_consumer
    COMMAND ${CMAKE_COMMAND} -DSOURCE=${PROJECT_SOURCE_DIR}/examples/embedded -DPLEXA=${PROJECT_SOURCE_DIR}
            -DBINARY=${plexa_packaging_dir}/embedded_consumer
            -DCXX=${CMAKE_CXX_COMPILER} "-DLAUNCHER=${CMAKE_CXX_COMPILER_LAUNCHER}"
            -P ${CMAKE_CURRENT_LIST_DIR}/embedded_consumer.cmake)
  set_tests_properties(packaging.embedded_consumer PROPERTIES
    PASS_REGULAR_EXPRESSION "plexa 5\\.3\\.0\\.0: 2 triangles on 4 nodes: 0 1 2 3")
endif()

if(TARGET plexa)
  if(PLEXA_INSTALL)
    add_test(NAME packaging.installed_tool COMMAND ${plexa_test_prefix}/${CMAKE_INSTALL_BINDIR}/plexa --version)
    set_tests_properties(packaging.installed_tool PROPERTIES
      FIXTURES_REQUIRED plexa_prefix PASS_REGULAR_EXPRESSION "^plexa 5\\.3\\.0\\.0\n$")
  endif()
  # The built tool itself (the in-process tests cover the commands).
  add_test(NAME cli.tool_runs_demo COMMAND plexa demo)
  set_tests_properties(cli.tool_runs_demo PROPERTIES PASS_REGULAR_EXPRESSION "HEXA8: 2")
endif()
