# Included after project() by the MinGW toolchains. The DLL's export table
# comes from a .def file generated at build time: the entry points of
# cmake/entry_points.txt that the objects actually define, so the link
# never names a function that is not written yet. The DLL check then holds
# the export table against the full list.
# Static archives first, so that find_package(OpenMP) and the like pick
# libgomp.a rather than the import library of libgomp-1.dll.
set(CMAKE_FIND_LIBRARY_SUFFIXES .a .dll.a)

cmake_language(DEFER DIRECTORY ${CMAKE_SOURCE_DIR} CALL _orb_mingw_dll_finish)

function(_orb_mingw_dll_finish)
  if(NOT TARGET orb_custom OR NOT TARGET orb_custom_static)
    return()
  endif()
  set(src ${CMAKE_SOURCE_DIR})
  set(def ${CMAKE_BINARY_DIR}/orb_custom_exports.def)
  set(prefix "")
  if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    set(prefix "_")  # 32-bit C names carry a leading underscore
  endif()
  add_custom_command(OUTPUT ${def}
    COMMAND ${CMAKE_COMMAND} -DNM=${CMAKE_NM} -DARCHIVE=$<TARGET_FILE:orb_custom_static>
      -DLIST=${src}/cmake/entry_points.txt -DPREFIX=${prefix} -DOUT=${def}
      -P ${src}/tools/cross/gen_def.cmake
    DEPENDS orb_custom_static $<TARGET_FILE:orb_custom_static> ${src}/cmake/entry_points.txt
      ${src}/tools/cross/gen_def.cmake
    COMMENT "Export list of orb_custom.dll from the defined entry points")
  get_target_property(srcs orb_custom SOURCES)
  list(FILTER srcs EXCLUDE REGEX "orb_custom\\.def$")
  list(APPEND srcs ${def})
  set_property(TARGET orb_custom PROPERTY SOURCES ${srcs})
  # Without this, a .def that lists nothing yet makes ld export everything.
  target_link_options(orb_custom PRIVATE -Wl,--exclude-all-symbols)
  # The import library beside the DLL, named as MinGW users expect.
  set_target_properties(orb_custom PROPERTIES IMPORT_PREFIX "lib" IMPORT_SUFFIX ".dll.a")

  if(ORB_BUILD_TESTS)
    add_test(NAME dll_exports_and_imports
      COMMAND ${CMAKE_COMMAND} -DOBJDUMP=${CMAKE_OBJDUMP} -DNM=${CMAKE_NM}
        -DDLL=$<TARGET_FILE:orb_custom> -DARCHIVE=$<TARGET_FILE:orb_custom_static>
        -DLIST=${src}/cmake/entry_points.txt -DPREFIX=${prefix}
        -P ${src}/tools/cross/check_dll.cmake)
  endif()
endfunction()
