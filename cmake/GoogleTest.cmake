# GTest::gtest_main from the sources that Debian's googletest package installs: its built library is for this
# machine alone, and the tests run on Windows too.
set(BUILD_GMOCK OFF CACHE BOOL "" FORCE)
set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
add_subdirectory(/usr/src/googletest ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
foreach(target gtest gtest_main)
  target_compile_options(${target} PRIVATE -w)
  if(NOT TARGET GTest::${target})
    add_library(GTest::${target} ALIAS ${target})
  endif()
endforeach()

# Asked for its cases when ctest starts, not when it is built: a build needs no Wine.
set(CMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE PRE_TEST)
if(CMAKE_CROSSCOMPILING)
  set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES ${CMAKE_CURRENT_LIST_DIR}/WinePrefix.cmake)
endif()
include(GoogleTest)
