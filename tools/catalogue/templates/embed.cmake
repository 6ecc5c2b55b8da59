# Puts the templates into a source file.
#   cmake -DFOLDER=... -DOUT=... -P embed.cmake
set(text "#include \"Render.h\"\n\nnamespace vantra::catalogue {\n\n")
foreach(name C Cpp Csharp Typescript Page)
  string(TOLOWER ${name} file)
  file(READ ${FOLDER}/${file}.mustache template)
  # No compiler need take a literal of any length.
  string(LENGTH "${template}" length)
  string(APPEND text "const std::string_view kTemplate${name} =")
  set(at 0)
  while(at LESS length)
    string(SUBSTRING "${template}" ${at} 4000 piece)
    string(APPEND text " R\"TEMPLATE(${piece})TEMPLATE\"\n")
    math(EXPR at "${at} + 4000")
  endwhile()
  string(APPEND text ";\n")
endforeach()
file(WRITE ${OUT} "${text}\n}  // namespace vantra::catalogue\n")
