# Makes a project of this template, under a name of its own. In the folder that shall hold it:
#
#   cmake -DNAME=wordcount -P .../template/new.cmake
if(NOT "${NAME}" MATCHES "^[a-z][a-z0-9_]*$")
  message(FATAL_ERROR "Say -DNAME=... with a name in lower case before -P.")
endif()
set(project "${CMAKE_CURRENT_BINARY_DIR}/${NAME}")
if(EXISTS "${project}")
  message(FATAL_ERROR "There is already something at ${project}.")
endif()
string(TOUPPER "${NAME}" upper_case)

file(GLOB files RELATIVE "${CMAKE_CURRENT_LIST_DIR}" "${CMAKE_CURRENT_LIST_DIR}/*")
list(REMOVE_ITEM files new.cmake)
foreach(file IN LISTS files)
  file(READ "${CMAKE_CURRENT_LIST_DIR}/${file}" content)
  foreach(name IN ITEMS file content)
    string(REPLACE mymodule "${NAME}" ${name} "${${name}}")
    string(REPLACE MYMODULE "${upper_case}" ${name} "${${name}}")
  endforeach()
  file(WRITE "${project}/${file}" "${content}")
endforeach()
message(STATUS "The project is at ${project}")
