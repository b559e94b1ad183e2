# 32-bit Linux on an x86-64 host: gcc -m32 (gcc-multilib) and its libgomp.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CMAKE_C_COMPILER gcc)
set(CMAKE_CXX_COMPILER g++)
# SSE2 with SSE arithmetic is the baseline of the 32-bit target: the test
# programs (MXCSR references, SSE intrinsics) are built for it like the
# library; the x87 stays with the kernels that ask for it.
set(CMAKE_C_FLAGS_INIT "-m32 -msse2 -mfpmath=sse")
set(CMAKE_CXX_FLAGS_INIT "-m32 -msse2 -mfpmath=sse")
set(CMAKE_EXE_LINKER_FLAGS_INIT "-m32")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-m32")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "-m32")
# Libraries of the 32-bit target only (GTest is built into ORB_GTEST_ROOT).
set(CMAKE_LIBRARY_ARCHITECTURE i386-linux-gnu)
set(FIND_LIBRARY_USE_LIB64_PATHS OFF)
set_property(GLOBAL PROPERTY FIND_LIBRARY_USE_LIB64_PATHS OFF)
