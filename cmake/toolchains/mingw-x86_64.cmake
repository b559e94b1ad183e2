# 64-bit Windows with MinGW-w64: the build whose tests run under wine64.
set(CMAKE_SYSTEM_PROCESSOR AMD64)
set(ORB_MINGW_TRIPLE x86_64-w64-mingw32)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-common.cmake)
