# Configures, builds and runs the example that embeds Plexa with
# add_subdirectory().
#   cmake -DSOURCE=... -DPLEXA=... -DBINARY=... -DCXX=... [-DLAUNCHER=ccache] [-DFLAGS=...] -P embedded_consumer.cmake
file(REMOVE_RECURSE "${BINARY}")
execute_process(COMMAND "${CMAKE_COMMAND}" -S "${SOURCE}" -B "${BINARY}" "-DPLEXA_SOURCE_DIR=${PLEXA}"
    "-DCMAKE_CXX_COMPILER=${CXX}" "-DCMAKE_CXX_COMPILER_LAUNCHER=${LAUNCHER}"
    "-DCMAKE_CXX_FLAGS=${FLAGS}" "-DCMAKE_EXE_LINKER_FLAGS=${FLAGS}" "-DCMAKE_SHARED_LINKER_FLAGS=${FLAGS}"
    -DCMAKE_BUILD_TYPE=Release
  OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND "${CMAKE_COMMAND}" --build "${BINARY}" --target app -j2 OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND "${BINARY}/app" COMMAND_ERROR_IS_FATAL ANY)
