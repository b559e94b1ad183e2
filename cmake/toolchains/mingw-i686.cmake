# 32-bit Windows (the library's main target) with MinGW-w64.
set(CMAKE_SYSTEM_PROCESSOR x86)
set(ORB_MINGW_TRIPLE i686-w64-mingw32)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-common.cmake)
