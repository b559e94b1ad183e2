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
  if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(i.86|x86)$" OR CMAKE_SIZEOF_VOID_P EQUAL 4)
    # The baseline of the 32-bit target is SSE2 code with x87 left to the
    # kernels that ask for it.
    target_compile_options(${target} PRIVATE -msse2 -mfpmath=sse)
  endif()
endfunction()

if(ORB_SANITIZE)
  add_compile_options(-fsanitize=${ORB_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${ORB_SANITIZE})
endif()
