# Read by ctest before it asks the tests for their cases, who have five seconds to answer: too few to make a prefix.
execute_process(COMMAND ${CMAKE_CURRENT_LIST_DIR}/wine-run cmd /c exit)
