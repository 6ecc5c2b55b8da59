# Options of every target of ours, and of none of our consumers'. No path of this machine is in what they make.
add_library(vantra_options INTERFACE)
target_compile_options(vantra_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast -Wnon-virtual-dtor
  -Wno-missing-field-initializers
  -fvisibility=hidden -fstack-protector-strong
  -ffile-prefix-map=${PROJECT_SOURCE_DIR}=. -ffile-prefix-map=${PROJECT_BINARY_DIR}=.
  $<$<BOOL:${VANTRA_WERROR}>:-Werror>)
target_compile_definitions(vantra_options INTERFACE $<$<NOT:$<CONFIG:Debug>>:_FORTIFY_SOURCE=2>)
if(WIN32)
  # All data of ours lies in the same file and is reached directly, not through a pointer for what might lie in
  # another one.
  target_compile_options(vantra_options INTERFACE -mcmodel=small)
  # The C and C++ runtimes inside, no time of the build in the file.
  target_link_options(vantra_options INTERFACE -static -fstack-protector-strong -Wl,--no-insert-timestamp)
endif()

# Boost's headers alone, not the rest of the native include folder.
find_path(VANTRA_BOOST_ROOT boost/version.hpp PATHS /usr/include NO_CMAKE_FIND_ROOT_PATH REQUIRED)
file(MAKE_DIRECTORY ${PROJECT_BINARY_DIR}/boost-include)
file(CREATE_LINK ${VANTRA_BOOST_ROOT}/boost ${PROJECT_BINARY_DIR}/boost-include/boost SYMBOLIC)
add_library(vantra_boost INTERFACE)
target_include_directories(vantra_boost SYSTEM INTERFACE ${PROJECT_BINARY_DIR}/boost-include)
