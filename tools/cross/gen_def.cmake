# Writes OUT, the .def of orb_custom.dll: every entry point of LIST that
# ARCHIVE defines, undecorated (plain C calling convention).
include(${CMAKE_CURRENT_LIST_DIR}/defined_entry_points.cmake)
defined_entry_points(names)
set(text "LIBRARY orb_custom.dll\nEXPORTS\n")
foreach(n ${names})
  string(APPEND text "  ${n}\n")
endforeach()
# Rewrite only on change so the DLL is not relinked for nothing.
if(EXISTS ${OUT})
  file(READ ${OUT} old)
  if(old STREQUAL text)
    return()
  endif()
endif()
file(WRITE ${OUT} "${text}")
