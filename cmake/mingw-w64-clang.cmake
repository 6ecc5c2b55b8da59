# As mingw-w64.cmake, with clang and lld in place of GCC and GNU ld, against the same headers and libraries. The linker
# writes the symbols as a PDB, which Visual Studio and WinDbg read.
include(${CMAKE_CURRENT_LIST_DIR}/mingw-w64.cmake)
execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=include/c++
  OUTPUT_VARIABLE cxx OUTPUT_STRIP_TRAILING_WHITESPACE)
cmake_path(GET cxx PARENT_PATH gcc)
cmake_path(GET gcc PARENT_PATH gcc)
set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_C_COMPILER_TARGET x86_64-w64-mingw32)
set(CMAKE_CXX_COMPILER_TARGET x86_64-w64-mingw32)
# Each is also passed on where it has no use.
set(CMAKE_C_FLAGS_INIT "-gcodeview -Wno-unused-command-line-argument")
set(CMAKE_CXX_FLAGS_INIT "${CMAKE_C_FLAGS_INIT} -nostdinc++ -isystem ${cxx} -isystem ${cxx}/x86_64-w64-mingw32")
foreach(kind EXE SHARED MODULE)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT "-fuse-ld=lld -L${gcc} -Wl,--pdb= -lpthread")
endforeach()
