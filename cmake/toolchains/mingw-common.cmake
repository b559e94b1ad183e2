# Shared part of the MinGW-w64 cross toolchains (the -posix compilers, whose
# libgomp is the OpenMP runtime there). ORB_MINGW_TRIPLE is set by the
# per-target file that includes this one.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_C_COMPILER ${ORB_MINGW_TRIPLE}-gcc-posix)
set(CMAKE_CXX_COMPILER ${ORB_MINGW_TRIPLE}-g++-posix)
set(CMAKE_RC_COMPILER ${ORB_MINGW_TRIPLE}-windres)
set(CMAKE_MC_COMPILER ${ORB_MINGW_TRIPLE}-windmc)
set(CMAKE_NM ${ORB_MINGW_TRIPLE}-nm)
set(CMAKE_OBJDUMP ${ORB_MINGW_TRIPLE}-objdump)
set(CMAKE_FIND_ROOT_PATH /usr/${ORB_MINGW_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Everything but the system DLLs is linked statically: orb_custom.dll then
# imports only KERNEL32 and msvcrt (libgomp, winpthreads and the GCC/C++
# runtimes are inside it), so an application deploys the one DLL; the test
# programs need no DLL search path under Wine.
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static")
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")

# After project(): swap the fixed export file for one generated from the
# objects (see mingw-dll.cmake).
set(CMAKE_PROJECT_INCLUDE ${CMAKE_CURRENT_LIST_DIR}/mingw-dll.cmake)
