# Cross build of the Windows DLL with MinGW-w64 (posix threads, SEH). Programs run through Wine.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)
set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
# ONLY would hide an installed QVRoot from find_package.
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE BOTH)
# DWARF 4: Wine's debugger help cannot read DWARF 5, which would leave stacks without names.
# Unaligned vector moves: this compiler does not align the stack for 32-byte spills on 64-bit Windows.
set(CMAKE_C_FLAGS_INIT "-D_WIN32_WINNT=0x0A00 -gdwarf-4")
set(CMAKE_CXX_FLAGS_INIT "-D_WIN32_WINNT=0x0A00 -gdwarf-4 -Wa,-muse-unaligned-vector-move")
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/wine-run.sh)
