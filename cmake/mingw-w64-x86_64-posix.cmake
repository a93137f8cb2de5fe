# The Windows build of the headless host: MinGW-w64 with POSIX threads, so
# that the standard library's mutexes exist (the module itself keeps the
# Win32 thread model and uses critical sections).
include(${CMAKE_CURRENT_LIST_DIR}/mingw-w64-x86_64.cmake)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
