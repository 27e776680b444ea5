# Cross-builds for 64-bit Windows with the distribution's MinGW-w64: the preset windows.
#
# tools/windows/sdk leaves a link build/windows-sdk to Qt, hidapi and PortAudio for Windows, where it found them.
# Without it the libraries that are free of Qt, and their tests, are built.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR AMD64)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

get_filename_component(vexoRoot "${CMAKE_CURRENT_LIST_DIR}/../.." ABSOLUTE)
file(GLOB vexoSdk LIST_DIRECTORIES ON "${vexoRoot}/build/windows-sdk/qt-*" "${vexoRoot}/build/windows-sdk/audio-hid")
set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32 ${vexoSdk})
set(CMAKE_PREFIX_PATH ${vexoSdk})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The Qt tools that run while building are the environment's own.
set(QT_HOST_PATH /usr)
set(QT_HOST_PATH_CMAKE_DIR /usr/lib/x86_64-linux-gnu/cmake)

set(ENV{PKG_CONFIG_LIBDIR} "${vexoRoot}/build/windows-sdk/audio-hid/lib/pkgconfig")
set(PKG_CONFIG_ARGN --define-prefix)

# GoogleTest is built from the distribution's sources.
set(GTest_DIR "${CMAKE_CURRENT_LIST_DIR}/googletest")

set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/wine")
