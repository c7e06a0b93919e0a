# The tool as a program: its JSON output parsed by the system Python's json
# module and checked against its text output, and the quality cell data of
# its VTK files read back by VTK's own reader (python3-vtk9; the test
# reports itself skipped without it).
if(TARGET plexa AND EXISTS /usr/bin/python3)
  add_test(NAME cli.json_and_vtk_quality
           COMMAND /usr/bin/python3 ${CMAKE_CURRENT_LIST_DIR}/json_check.py $<TARGET_FILE:plexa>
                   ${CMAKE_CURRENT_BINARY_DIR}/json_check)
  set_tests_properties(cli.json_and_vtk_quality PROPERTIES SKIP_RETURN_CODE 77)
endif()
