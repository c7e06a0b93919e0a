# Tests of the packaging and of the plexa tool.

# The tool's tests run its commands in-process.
if(TARGET plexa_cli_tests AND TARGET plexa_cli)
  target_link_libraries(plexa_cli_tests PRIVATE plexa_cli)
endif()
