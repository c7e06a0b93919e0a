# Installs the build tree into a fresh prefix.
#   cmake -DBUILD_DIR=... -DPREFIX=... -DEXPECTED="<files>" -DUNEXPECTED="<files>" -P install_prefix.cmake
file(REMOVE_RECURSE "${PREFIX}")
execute_process(COMMAND "${CMAKE_COMMAND}" --install "${BUILD_DIR}" --prefix "${PREFIX}"
  OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
foreach(f ${EXPECTED})
  if(NOT EXISTS "${PREFIX}/${f}")
    message(FATAL_ERROR "installation lacks ${f}")
  endif()
endforeach()
foreach(f ${UNEXPECTED})
  if(EXISTS "${PREFIX}/${f}")
    message(FATAL_ERROR "installation holds ${f}, which is not meant to be installed")
  endif()
endforeach()
