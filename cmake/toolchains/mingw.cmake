# Windows programs with Debian's MinGW-w64; their tests run under Wine. The compiler only finds the libraries in
# .deps/windows, which `./dev setup windows` downloads, and never the include folders of the build machine.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
# The variant with POSIX threads: the other variant lacks std::thread and std::mutex.
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

# Programs and libraries contain MinGW's libraries, so that they start on every machine.
set(CMAKE_EXE_LINKER_FLAGS_INIT -static)
set(CMAKE_SHARED_LINKER_FLAGS_INIT -static)

get_filename_component(orvaneRoot ${CMAKE_CURRENT_LIST_DIR}/../.. ABSOLUTE)
set(CMAKE_FIND_ROOT_PATH ${orvaneRoot}/.deps/windows)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_CROSSCOMPILING_EMULATOR ${orvaneRoot}/testing/win32/wine.sh)
