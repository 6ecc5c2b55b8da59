# GTest::gtest_main, built from the sources in Debian's googletest package: its binary library is for this
# machine only, and the tests also run on Windows.
set(BUILD_GMOCK OFF CACHE BOOL "" FORCE)
set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
add_subdirectory(/usr/src/googletest ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
foreach(target gtest gtest_main)
  target_compile_options(${target} PRIVATE -w)
  if(NOT TARGET GTest::${target})
    add_library(GTest::${target} ALIAS ${target})
  endif()
endforeach()

# ctest discovers the cases when it starts, not when the tests are built: a build needs no Wine.
set(CMAKE_GTEST_DISCOVER_TESTS_DISCOVERY_MODE PRE_TEST)
if(CMAKE_CROSSCOMPILING)
  set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES ${CMAKE_CURRENT_LIST_DIR}/WinePrefix.cmake)
endif()
include(GoogleTest)
