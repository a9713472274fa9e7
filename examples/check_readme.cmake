# Fails unless the README shows the example as it is: the first C++ block of README is the file's
# text. Run: cmake -D README=<file> -D EXAMPLE=<file> -P check_readme.cmake
file(READ ${README} readme)
file(READ ${EXAMPLE} example)
string(FIND "${readme}" "```cpp\n${example}```\n" position)
if(position EQUAL -1)
  message(FATAL_ERROR "${README} does not show ${EXAMPLE} as it is")
endif()
