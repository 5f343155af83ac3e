# The program in README.md is the one that is built and run here.
file(READ ${CMAKE_CURRENT_LIST_DIR}/quickstart.cpp program)
file(READ ${CMAKE_CURRENT_LIST_DIR}/../README.md readme)
string(FIND "${readme}" "```cpp\n${program}```\n" at)
if(at EQUAL -1)
  message(FATAL_ERROR "The code block in README.md is not examples/quickstart.cpp; copy the file into it.")
endif()
