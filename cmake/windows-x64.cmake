# Windows x64 from Debian, with the mingw-w64 compiler whose standard library has threads.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR AMD64)

set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)
# The interfaces of Windows 10.
set(CMAKE_CXX_FLAGS_INIT -D_WIN32_WINNT=0x0A00)

# Libraries for Windows only, never those of the building machine: what script/windows has built beside this file's
# folder, and whatever CMAKE_PREFIX_PATH names.
set(dependencies ${CMAKE_CURRENT_LIST_DIR}/../build/windows-dependencies)
set(CMAKE_FIND_ROOT_PATH /usr/x86_64-w64-mingw32 ${dependencies} ${dependencies}/boost/stage
  ${CMAKE_PREFIX_PATH})
set(ENV{PKG_CONFIG_LIBDIR} ${dependencies}/lib/pkgconfig)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# What is built is run, by the build and by ctest.
set(CMAKE_CROSSCOMPILING_EMULATOR wine)
