# Fails when one of FILES includes a header of a module that is not in ALLOWED. MODULES has a directory
# for each module, see Modules.cmake. On success STAMP is written.

cmake_minimum_required(VERSION 3.25)

list(TRANSFORM ALLOWED REPLACE "/" "_")
foreach(file ${FILES})
  file(STRINGS ${file} includes REGEX "^#include \"[^\"]*/")
  foreach(include ${includes})
    string(REGEX REPLACE "^#include \"(.*)/[^/]*$" "\\1" directory ${include})
    string(REPLACE "/" "_" module ${directory})
    if(NOT module IN_LIST ALLOWED AND IS_DIRECTORY ${MODULES}/${module})
      message(SEND_ERROR "${file} includes a header of ${directory}, which is not in its DEPENDS")
      set(failed TRUE)
    endif()
  endforeach()
endforeach()
if(NOT failed)
  file(TOUCH ${STAMP})
endif()
