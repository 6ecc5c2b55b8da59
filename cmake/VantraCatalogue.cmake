# Code made of a catalogue, as a part of the build that needs it.
#
#   vantra_add_catalogue(TARGET events.toml [LANGUAGES c cpp csharp typescript] [VERSION 1.2.0])
#
# Makes events.h, events.hpp, events.cs or events.ts (cpp, unless LANGUAGES says otherwise) before TARGET is compiled,
# and again when the catalogue changes; TARGET includes them by name. They lie in the folder that the target's property
# VANTRA_CATALOGUE_FOLDER names. A mistake in the catalogue ends the build. VERSION, that of the product, decides what
# has expired.
function(vantra_add_catalogue target catalogue)
  cmake_parse_arguments(PARSE_ARGV 2 arg "" "VERSION" "LANGUAGES")
  if(arg_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "vantra_add_catalogue does not know ${arg_UNPARSED_ARGUMENTS}")
  endif()
  if(NOT arg_LANGUAGES)
    set(arg_LANGUAGES cpp)
  endif()
  get_property(program GLOBAL PROPERTY VANTRA_CATALOG)
  if(NOT program)
    message(FATAL_ERROR "There is no vantra-catalog for ${CMAKE_HOST_SYSTEM_NAME} on ${CMAKE_HOST_SYSTEM_PROCESSOR}.")
  endif()
  set(ending_c h)
  set(ending_cpp hpp)
  set(ending_csharp cs)
  set(ending_typescript ts)
  cmake_path(ABSOLUTE_PATH catalogue BASE_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR})
  cmake_path(GET catalogue STEM stem)
  set(folder ${CMAKE_CURRENT_BINARY_DIR}/${target}-catalogue)
  set(files "")
  foreach(language IN LISTS arg_LANGUAGES)
    if(NOT DEFINED ending_${language})
      message(FATAL_ERROR "vantra_add_catalogue makes c, cpp, csharp and typescript, not ${language}")
    endif()
    list(APPEND files ${folder}/${stem}.${ending_${language}})
  endforeach()
  string(REPLACE ";" "," languages "${arg_LANGUAGES}")
  # Files that would not change stay, so what is newer than the catalogue is another one.
  add_custom_command(OUTPUT ${folder}/${stem}.made
    BYPRODUCTS ${files}
    COMMAND ${program} generate ${catalogue} ${folder} --to ${languages} "$<$<BOOL:${arg_VERSION}>:--product-version=${arg_VERSION}>"
    COMMAND ${CMAKE_COMMAND} -E touch ${folder}/${stem}.made
    DEPENDS ${catalogue} ${program}
    COMMENT "Making code of ${stem}.toml" COMMAND_EXPAND_LISTS VERBATIM)
  target_sources(${target} PRIVATE ${folder}/${stem}.made)
  target_include_directories(${target} PRIVATE ${folder})
  set_property(TARGET ${target} PROPERTY VANTRA_CATALOGUE_FOLDER ${folder})
endfunction()
