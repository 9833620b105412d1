# Cross toolchain: Clang for the same target, with the headers, the libraries and the linker of GCC's.
#
# What it builds runs beside GCC's libraries, its C++ runtime included; but it makes no exceptions of
# processor faults (it takes -fnon-call-exceptions and does nothing). So these tests are skipped, each in
# threads_tests and in threads_dll_tests: FaultException.CanBeCaughtInTheVeryFunctionThatFaults,
# RunsDestructorsOnItsWay and ReachesACatchOnTheMainThread. And it exports no type information, so
# abi.TheDllExportsExactlyTheDocumentedNames is GCC's alone.
include("${CMAKE_CURRENT_LIST_DIR}/toolchain-mingw.cmake")

set(ORSIN_RUNTIME_COMPILER ${CMAKE_CXX_COMPILER})  # Whose run-time libraries stand beside the DLL.
execute_process(COMMAND ${ORSIN_RUNTIME_COMPILER} -print-libgcc-file-name
  OUTPUT_VARIABLE gcc_folder OUTPUT_STRIP_TRAILING_WHITESPACE)
get_filename_component(gcc_folder "${gcc_folder}" DIRECTORY)

foreach(language IN ITEMS C CXX ASM)
  set(CMAKE_${language}_COMPILER clang)
  set(CMAKE_${language}_COMPILER_TARGET x86_64-w64-mingw32)
endforeach()
set(CMAKE_CXX_COMPILER clang++)

# Clang looks for all of these in folders that Debian does not use.
add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-nostdinc++> $<$<COMPILE_LANGUAGE:C,CXX>:-nostdlibinc>)
set(CMAKE_CXX_STANDARD_INCLUDE_DIRECTORIES "${gcc_folder}/include/c++"
  "${gcc_folder}/include/c++/x86_64-w64-mingw32" "${gcc_folder}/include/c++/backward"
  /usr/x86_64-w64-mingw32/include)
set(CMAKE_C_STANDARD_INCLUDE_DIRECTORIES /usr/x86_64-w64-mingw32/include)
add_link_options(-B${gcc_folder} -L${gcc_folder} -L/usr/x86_64-w64-mingw32/lib)
add_link_options(-pthread)  # Which the C++ runtime stands on.

# Those of the linker; Clang's refuse symbol tables that it writes.
set(CMAKE_STRIP x86_64-w64-mingw32-strip CACHE FILEPATH "")
