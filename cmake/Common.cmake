# Options for all of the project's targets, but not for targets that use the library. No path of this machine
# ends up in the binaries.
add_library(vantra_options INTERFACE)
target_compile_options(vantra_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast -Wnon-virtual-dtor -Wdate-time
  -Wno-missing-field-initializers
  -fvisibility=hidden -fstack-protector-strong
  -ffile-prefix-map=${PROJECT_SOURCE_DIR}=. -ffile-prefix-map=${PROJECT_BINARY_DIR}=.
  $<$<BOOL:${VANTRA_WERROR}>:-Werror>)
target_compile_definitions(vantra_options INTERFACE $<$<NOT:$<CONFIG:Debug>>:_FORTIFY_SOURCE=2>)
if(WIN32)
  # All our data is in the same file, so it is addressed directly, not through pointers for data in other
  # files.
  target_compile_options(vantra_options INTERFACE -mcmodel=small)
  # Links the C and C++ runtimes statically, and writes no build time into the file.
  target_link_options(vantra_options INTERFACE -static -fstack-protector-strong -Wl,--no-insert-timestamp)
endif()

# Only Boost's headers, not the rest of the native include folder.
find_path(VANTRA_BOOST_ROOT boost/version.hpp PATHS /usr/include NO_CMAKE_FIND_ROOT_PATH REQUIRED)
file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/boost-include)
file(CREATE_LINK ${VANTRA_BOOST_ROOT}/boost ${PROJECT_BINARY_DIR}/boost-include/boost SYMBOLIC)
add_library(vantra_boost INTERFACE)
target_include_directories(vantra_boost SYSTEM INTERFACE ${PROJECT_BINARY_DIR}/boost-include)
