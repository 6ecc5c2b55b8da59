# The host code that the README shows is the example that is compiled, character by character.
file(READ ${ROOT}/examples/ten_lines.c example)
file(READ ${ROOT}/README.md readme)
string(FIND "${readme}" "```c\n${example}```\n" position)
if(position EQUAL -1)
  message(FATAL_ERROR "README.md does not show examples/ten_lines.c as it is")
endif()
