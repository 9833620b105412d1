# Cross toolchain: GCC for 64-bit Windows with POSIX threads, tests run through Wine.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_ASM_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

# GCC remembers which registers an inline function leaves alone and relies on it around calls. For this
# target it does so even where the linker may keep another file's copy of the function, built with other
# flags, that uses them: Google Benchmark crashed in std::shuffle that way.
add_compile_options(-fno-ipa-ra)

# Libraries built for the target stand in the dependency stage; the host's own are never looked at.
get_filename_component(ORSIN_DEPS "${CMAKE_CURRENT_LIST_DIR}/../build/deps" ABSOLUTE)
set(CMAKE_FIND_ROOT_PATH "${ORSIN_DEPS}/mingw" /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

if(NOT DEFINED CMAKE_CROSSCOMPILING_EMULATOR)
  set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/wine-run")
endif()
