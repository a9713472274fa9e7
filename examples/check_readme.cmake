# Fails unless README shows the example, and what the demo prints, as they are: its first C++ block is
# the example's text, its text block a part of the demo's.
#   cmake -D README=<file> -D EXAMPLE=<file> -D DEMO=<file> -P check_readme.cmake
file(READ ${README} readme)
file(READ ${EXAMPLE} example)
file(READ ${DEMO} demo)
string(FIND "${readme}" "```cpp\n${example}```\n" position)
if(position EQUAL -1)
  message(SEND_ERROR "${README} does not show ${EXAMPLE} as it is")
endif()
string(REGEX REPLACE ".*\n```text\n([^`]+)```\n.*" "\\1" shown "${readme}")
string(FIND "${demo}" "${shown}" position)
if(position EQUAL -1)
  message(SEND_ERROR "${README} does not show a part of ${DEMO}")
endif()
