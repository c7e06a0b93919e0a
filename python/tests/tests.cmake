# The pytest suite of the Python module, run with the interpreter the module
# was built for.  plexa_py_oracle computes the C++ results that the tests
# compare with; each test file is one CTest test.
add_executable(plexa_py_oracle ${CMAKE_CURRENT_LIST_DIR}/oracle.cpp)
plexa_target_defaults(plexa_py_oracle)
target_link_libraries(plexa_py_oracle PRIVATE zeb::plexa)

execute_process(COMMAND ${Python3_EXECUTABLE} -c "import pytest"
                RESULT_VARIABLE plexa_pytest_missing OUTPUT_QUIET ERROR_QUIET)
if(plexa_pytest_missing)
  message(STATUS "Python tests: not registered (pytest is missing: Debian python3-pytest)")
  return()
endif()

file(GLOB plexa_python_tests CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/test_*.py)
foreach(test ${plexa_python_tests})
  get_filename_component(name ${test} NAME_WE)
  string(REGEX REPLACE "^test_" "" name ${name})
  add_test(NAME python.${name}
           COMMAND ${Python3_EXECUTABLE} -m pytest -q -p no:cacheprovider ${test})
  set_tests_properties(python.${name} PROPERTIES
    ENVIRONMENT "PYTHONPATH=${CMAKE_CURRENT_BINARY_DIR};PLEXA_ORACLE=$<TARGET_FILE:plexa_py_oracle>"
    SKIP_RETURN_CODE 5)
endforeach()

# The installed package imports with the system Python from the install
# prefix of the packaging tests.
get_property(plexa_test_prefix GLOBAL PROPERTY PLEXA_TEST_PREFIX)
if(plexa_test_prefix)
  add_test(NAME python.installed_module
           COMMAND ${CMAKE_COMMAND} -E env PYTHONPATH=${plexa_test_prefix}/${PLEXA_PYTHON_INSTALL_DIR}
                   ${Python3_EXECUTABLE} -c "import plexa, numpy; print(plexa.version(), plexa.max_ID(numpy.arange(5)))")
  set_tests_properties(python.installed_module PROPERTIES
    FIXTURES_REQUIRED plexa_prefix PASS_REGULAR_EXPRESSION "^5\\.3\\.0\\.0 4\n$")
endif()
