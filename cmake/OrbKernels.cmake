# orb_level_kernels(<target> LEVELS <lvl>... SOURCES <src>...)
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

# orb_dft_level_definitions(<interface-target>)
#
# Checks ORB_DFT_LEVELS and tells the code which transform levels exist
# (ORB_DFT_HAVE_AVX, ORB_DFT_HAVE_AVX2 set to 0 or 1).
function(orb_dft_level_definitions target)
  if(NOT "sse2" IN_LIST ORB_DFT_LEVELS)
    message(FATAL_ERROR "ORB_DFT_LEVELS must contain sse2, the level every other falls back to")
  endif()
  foreach(lvl ${ORB_DFT_LEVELS})
    if(NOT lvl MATCHES "^(sse2|avx|avx2)$")
      message(FATAL_ERROR "ORB_DFT_LEVELS: unknown level ${lvl} (sse2, avx, avx2)")
    endif()
  endforeach()
  set(have_avx 0)
  set(have_avx2 0)
  if("avx" IN_LIST ORB_DFT_LEVELS)
    set(have_avx 1)
  endif()
  if("avx2" IN_LIST ORB_DFT_LEVELS)
    set(have_avx2 1)
  endif()
  target_compile_definitions(${target} INTERFACE ORB_DFT_HAVE_AVX=${have_avx} ORB_DFT_HAVE_AVX2=${have_avx2})
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
  cmake_parse_arguments(K "" "" "LEVELS;SOURCES" ${ARGN})
  if(NOT K_LEVELS)
    set(K_LEVELS ${ORB_ALL_CPU_LEVELS})
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
