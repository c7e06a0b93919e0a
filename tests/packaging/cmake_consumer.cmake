# Configures, builds and runs the example consumer against an installed prefix.
#   cmake -DSOURCE=... -DBINARY=... -DPREFIX=... -DCXX=... [-DLAUNCHER=ccache] [-DFLAGS=...] -P cmake_consumer.cmake
file(REMOVE_RECURSE "${BINARY}")
execute_process(COMMAND "${CMAKE_COMMAND}" -S "${SOURCE}" -B "${BINARY}"
    "-DCMAKE_PREFIX_PATH=${PREFIX}" "-DCMAKE_CXX_COMPILER=${CXX}"
    "-DCMAKE_CXX_COMPILER_LAUNCHER=${LAUNCHER}"
    "-DCMAKE_CXX_FLAGS=${FLAGS}" "-DCMAKE_EXE_LINKER_FLAGS=${FLAGS}"
    -DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF -DCMAKE_BUILD_TYPE=Release
  OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
# The package must come from the prefix, not from the build tree or the system.
file(STRINGS "${BINARY}/CMakeCache.txt" found REGEX "^zebplexa_DIR:")
if(NOT found MATCHES "=${PREFIX}/")
  message(FATAL_ERROR "zebplexa found elsewhere: ${found}")
endif()
execute_process(COMMAND "${CMAKE_COMMAND}" --build "${BINARY}" COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND "${BINARY}/app" COMMAND_ERROR_IS_FATAL ANY)
