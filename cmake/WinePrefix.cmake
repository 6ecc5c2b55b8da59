# Run by ctest before it discovers the test cases. Discovery must end within five seconds, too few to create a
# Wine prefix.
execute_process(COMMAND ${CMAKE_CURRENT_LIST_DIR}/wine-run cmd /c exit)
