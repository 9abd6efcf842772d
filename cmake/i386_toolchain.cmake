# The shipping ABI: 32-bit x86 Linux with SSE2, built on an amd64 machine by the multilib compiler.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR i386)
set(CMAKE_C_FLAGS_INIT "-m32 -msse2 -mfpmath=sse")
set(CMAKE_CXX_FLAGS_INIT "-m32 -msse2 -mfpmath=sse")
# Lets find_library look where the 32-bit packages put their libraries.
set(CMAKE_LIBRARY_ARCHITECTURE i386-linux-gnu)
# The build machine can run 32-bit programs.
set(CMAKE_CROSSCOMPILING_EMULATOR "")
