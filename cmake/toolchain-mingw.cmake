# Cross toolchain: GCC for 64-bit Windows with POSIX threads, tests run through Wine.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_ASM_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

# GCC lets a caller count on registers that it has seen an inline function leave alone. For this target
# it forgets that the linker keeps one copy of such a function from all objects, and another object's
# copy, compiled with other flags, may use them. So nothing that is linked together may be built with
# that optimisation, dependencies included; it cost a crash in std::shuffle() to find out.
add_compile_options($<$<COMPILE_LANG_AND_ID:C,GNU>:-fno-ipa-ra> $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-fno-ipa-ra>)

# The same sources give the same bytes, wherever and whenever they are built: no path of this folder in
# the code or its debug data, no clock in the image. (Not -ffile-prefix-map: coverage needs its paths.)
get_filename_component(ORSIN_ROOT "${CMAKE_CURRENT_LIST_DIR}/.." ABSOLUTE)
add_compile_options($<$<COMPILE_LANGUAGE:C,CXX,ASM>:-fmacro-prefix-map=${ORSIN_ROOT}=.>
  $<$<COMPILE_LANGUAGE:C,CXX,ASM>:-fdebug-prefix-map=${ORSIN_ROOT}=.>)
add_link_options(-Wl,--no-insert-timestamp)

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
