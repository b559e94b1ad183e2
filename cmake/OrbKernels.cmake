# orb_level_kernels(<target> [REDUCIBLE] LEVELS <lvl>... SOURCES <src>...)
#
# Compiles every kernel source once per instruction-set level with that
# level's code-generation flags. Each copy sees
#   ORB_KLEVEL  the level's number (see the table below),
#   ORB_KNS     a namespace name unique to the level (k_sse2, k_avx2, ...),
# so one source yields one set of symbols per level, and a dispatch table
# lists them as k_sse2::fn ... k_avx2::fn.
#
# Level names and their numbers (the CpuLevel numbers for 2..7; 'generic'
# is the plain compiler baseline and 'sse41' exists for the extended levels):
#   generic 1   sse2 2   sse3 3   ssse3 4   sse41 41   sse42 5   avx 6   avx2 7
set(ORB_LEVEL_FLAGS_generic "")
set(ORB_LEVEL_FLAGS_sse2  -msse2)
set(ORB_LEVEL_FLAGS_sse3  -msse3)
set(ORB_LEVEL_FLAGS_ssse3 -mssse3)
set(ORB_LEVEL_FLAGS_sse41 -msse4.1)
set(ORB_LEVEL_FLAGS_sse42 -msse4.2 -mpopcnt)
set(ORB_LEVEL_FLAGS_avx   -mavx -mpopcnt)
set(ORB_LEVEL_FLAGS_avx2  -mavx2 -mfma -mbmi -mbmi2 -maes -mlzcnt -mpopcnt)
set(ORB_LEVEL_NUM_generic 1)
set(ORB_LEVEL_NUM_sse2 2)
set(ORB_LEVEL_NUM_sse3 3)
set(ORB_LEVEL_NUM_ssse3 4)
set(ORB_LEVEL_NUM_sse41 41)
set(ORB_LEVEL_NUM_sse42 5)
set(ORB_LEVEL_NUM_avx 6)
set(ORB_LEVEL_NUM_avx2 7)
set(ORB_ALL_CPU_LEVELS sse2 sse3 ssse3 sse42 avx avx2)

# orb_kernel_level_definitions(<interface-target>)
#
# Reads ORB_KERNEL_LEVELS into ORB_BUILT_LEVELS (generic and sse2 always
# included) and tells the code which optional levels exist:
# ORB_BUILT_<level> is 1 or 0 for sse3 ... avx2.
set(ORB_OPTIONAL_LEVELS sse3 ssse3 sse41 sse42 avx avx2)
function(orb_kernel_level_definitions target)
  string(REPLACE "," ";" wanted "${ORB_KERNEL_LEVELS}")
  if(wanted STREQUAL "all")
    set(wanted ${ORB_OPTIONAL_LEVELS})
  elseif(wanted STREQUAL "none")
    set(wanted)
  endif()
  set(built generic sse2)
  foreach(lvl ${wanted})
    if(lvl STREQUAL "generic" OR lvl STREQUAL "sse2")
      continue()
    endif()
    if(NOT lvl IN_LIST ORB_OPTIONAL_LEVELS)
      message(FATAL_ERROR "ORB_KERNEL_LEVELS: unknown level ${lvl} (all, or some of ${ORB_OPTIONAL_LEVELS})")
    endif()
    list(APPEND built ${lvl})
  endforeach()
  foreach(lvl ${ORB_OPTIONAL_LEVELS})
    set(flag 0)
    if(lvl IN_LIST built)
      set(flag 1)
    endif()
    target_compile_definitions(${target} INTERFACE ORB_BUILT_${lvl}=${flag})
  endforeach()
  set(ORB_BUILT_LEVELS ${built} PARENT_SCOPE)
endfunction()

# orb_family_sources(<name> SOURCES <src>...)
#
# Plain (level-independent) sources of a family, built into the library.
function(orb_family_sources name)
  cmake_parse_arguments(F "" "" "SOURCES" ${ARGN})
  set(lib orb_${name}_objs)
  add_library(${lib} OBJECT ${F_SOURCES})
  target_link_libraries(${lib} PUBLIC orb_internal)
  orb_library_flags(${lib})
  set_property(GLOBAL APPEND PROPERTY ORB_OBJLIBS ${lib})
endfunction()

function(orb_level_kernels target)
  cmake_parse_arguments(K "REDUCIBLE" "" "LEVELS;SOURCES" ${ARGN})
  if(NOT K_LEVELS)
    set(K_LEVELS ${ORB_ALL_CPU_LEVELS})
  endif()
  if(K_REDUCIBLE)
    # Families whose tables fall back to a lower level build only the
    # levels ORB_KERNEL_LEVELS asks for.
    set(kept)
    foreach(lvl ${K_LEVELS})
      if(lvl IN_LIST ORB_BUILT_LEVELS)
        list(APPEND kept ${lvl})
      endif()
    endforeach()
    set(K_LEVELS ${kept})
  endif()
  foreach(lvl ${K_LEVELS})
    if(NOT DEFINED ORB_LEVEL_NUM_${lvl})
      message(FATAL_ERROR "orb_level_kernels: unknown level ${lvl}")
    endif()
    set(lib ${target}_${lvl})
    add_library(${lib} OBJECT ${K_SOURCES})
    target_compile_definitions(${lib} PRIVATE
      ORB_KLEVEL=${ORB_LEVEL_NUM_${lvl}} ORB_KNS=k_${lvl})
    if(NOT MSVC)
      target_compile_options(${lib} PRIVATE ${ORB_LEVEL_FLAGS_${lvl}})
    endif()
    if(ORB_SANITIZE MATCHES "undefined")
      # The pointer-overflow check wraps every address computation of the
      # unrolled kernels: it alone made them six times slower to compile.
      # The address sanitizer still bounds-checks each access.
      target_compile_options(${lib} PRIVATE -fno-sanitize=pointer-overflow)
    endif()
    target_link_libraries(${lib} PRIVATE orb_internal)
    orb_library_flags(${lib})
    set_property(GLOBAL APPEND PROPERTY ORB_OBJLIBS ${lib})
  endforeach()
endfunction()
