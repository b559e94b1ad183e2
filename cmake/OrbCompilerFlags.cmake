# Warning and code-generation flags shared by every target of the project.
function(orb_library_flags target)
  if(MSVC)
    target_compile_options(${target} PRIVATE /W4)
    return()
  endif()
  target_compile_options(${target} PRIVATE -Wall -Wextra
    $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti>)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # Exact error terms (double-double arithmetic) rely on products not
    # being fused behind the code's back; clang fuses only within one
    # expression by default, GCC across statements.
    target_compile_options(${target} PRIVATE -ffp-contract=off)
  endif()
  if(ORB_SANITIZE)
    # Instrumented library code at -O1, whatever the build type: the
    # unrolled kernels compile in about 60% of their -O2 time (the AVX2
    # stage kernels 245 -> 142 s). Test programs keep the build type's
    # level: with them at -O1 too, the engine test (long-double oracles)
    # ran 1.6x slower (239 -> 378 s).
    target_compile_options(${target} PRIVATE -O1)
  endif()
  if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(i.86|x86)$" OR CMAKE_SIZEOF_VOID_P EQUAL 4)
    # The baseline of the 32-bit target is SSE2 code with x87 left to the
    # kernels that ask for it.
    target_compile_options(${target} PRIVATE -msse2 -mfpmath=sse)
  endif()
endfunction()

if(ORB_SANITIZE)
  # Element-aligned but not type-aligned arrays (a double at a 4-byte
  # boundary, which the 32-bit x86 ABI allows) are accepted by every entry
  # point and tested on purpose, so the alignment check stays off.
  add_compile_options(-fsanitize=${ORB_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  if(ORB_SANITIZE MATCHES "undefined")
    add_compile_options(-fno-sanitize=alignment)
  endif()
  add_link_options(-fsanitize=${ORB_SANITIZE})
  # Reports need file and line only: line tables, not full debug
  # information (less to compile and link).
  if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    add_compile_options(-gline-tables-only)
  endif()
  # Address-sanitized clang builds also carry libFuzzer's coverage counters,
  # so fuzz targets built next to the suite are guided by the library's own
  # branches, not only by their harness. Plain test programs link them with
  # the sanitizer runtime's no-op callbacks.
  if(ORB_SANITIZE MATCHES "address" AND CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    add_compile_options(-fsanitize=fuzzer-no-link)
  endif()
endif()
