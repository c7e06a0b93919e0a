# Compiles one file with the flags pkg-config gives for the installed
# zebplexa.pc, then runs the program.
#   cmake -DSOURCE=main.cpp -DBINARY=... -DPREFIX=... -DCXX=... [-DLAUNCHER=ccache] [-DFLAGS=...] -P pkgconfig_consumer.cmake
find_program(PKG_CONFIG pkg-config REQUIRED)
file(GLOB pc_dir "${PREFIX}/lib*/pkgconfig" "${PREFIX}/lib/*/pkgconfig")
set(ENV{PKG_CONFIG_PATH} "${pc_dir}")
execute_process(COMMAND "${PKG_CONFIG}" --cflags --libs zebplexa
  OUTPUT_VARIABLE pc_flags OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
separate_arguments(pc_flags UNIX_COMMAND "${pc_flags}")
separate_arguments(extra UNIX_COMMAND "${FLAGS}")
file(MAKE_DIRECTORY "${BINARY}")
execute_process(COMMAND ${LAUNCHER} "${CXX}" -std=c++17 -Wall -Wextra -Wpedantic -Werror ${extra}
    "${SOURCE}" -o "${BINARY}/app" ${pc_flags}
  COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND "${BINARY}/app" COMMAND_ERROR_IS_FATAL ANY)
