# The library's targets and the two functions that fill them.
#
#   orsin_sources(PLAIN ... PRIMITIVES ... PLATFORM ...)    sources of one folder, by ring
#   orsin_tests(NAME PLAIN ... PRIMITIVES ... PLATFORM ...) tests of one folder, by ring
#
# Plain sources are standard C++ only; primitives also use the log and the mp_ functions; platform
# sources call Windows. A Windows build takes all three into the DLL; a native build takes the first
# two, with tests/platform standing in for the platform, so a leaked Windows header fails to compile.
#
# Targets: orsin_options (flags for everything), orsin_objects (every source, compiled once, linked by
# the white-box tests), orsin_native (what stands in for the platform beside them), orsincore (the DLL).

find_package(Threads REQUIRED)

add_library(orsin_options INTERFACE)
target_include_directories(orsin_options INTERFACE
  "${PROJECT_SOURCE_DIR}" "${PROJECT_SOURCE_DIR}/include")
# Third-party headers that serve every target, from cmake/dependencies.
target_include_directories(orsin_options SYSTEM INTERFACE "${PROJECT_SOURCE_DIR}/build/deps/include")
target_link_libraries(orsin_options INTERFACE Threads::Threads)

if(MSVC)
  target_compile_options(orsin_options INTERFACE /W4 /WX /EHa /utf-8 /permissive-)
  target_compile_definitions(orsin_options INTERFACE
    _CRT_SECURE_NO_WARNINGS NOMINMAX WIN32_LEAN_AND_MEAN _WIN32_WINNT=0x0A00)
else()
  target_compile_options(orsin_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Werror
    -Wno-invalid-offsetof  # Layouts of exported classes are pinned by it; both compilers allow it.
    -fno-omit-frame-pointer)
endif()

if(MINGW)
  target_compile_definitions(orsin_options INTERFACE
    NOMINMAX WIN32_LEAN_AND_MEAN _WIN32_WINNT=0x0A00 __USE_MINGW_ANSI_STDIO=1)
  target_compile_options(orsin_options INTERFACE
    # Processor faults become C++ exceptions, so any instruction may throw.
    -fnon-call-exceptions
    # Windows aligns the stack to 16 bytes only; vector spills must not assume 32.
    $<$<CXX_COMPILER_ID:GNU>:-Wa,-muse-unaligned-vector-move>
    # Wine's debugger reads no newer format.
    -gdwarf-4)
endif()

if(ORSIN_SANITIZE)
  target_compile_options(orsin_options INTERFACE
    -fsanitize=${ORSIN_SANITIZE} -fno-sanitize-recover=all -Wthread-safety)
  target_link_options(orsin_options INTERFACE -fsanitize=${ORSIN_SANITIZE})
endif()

# Traps, as there is no run-time library of the sanitizers for this target: an illegal instruction where
# the language promises nothing, an abort where a container is misused or a stack was written over.
if(ORSIN_CHECKED)
  set(ORSIN_CHECKS -fsanitize=undefined -fsanitize-undefined-trap-on-error -D_GLIBCXX_ASSERTIONS
    -fstack-protector-strong)
  target_compile_options(orsin_options INTERFACE ${ORSIN_CHECKS})
  target_link_options(orsin_options INTERFACE -fstack-protector-strong)
endif()

# orsin_faults_on_purpose(FILE...): sources that are to fault as the processor does; a trap in the place of
# a fault would be another fault.
function(orsin_faults_on_purpose)
  if(ORSIN_CHECKED)
    set_source_files_properties(${ARGN} PROPERTIES
      COMPILE_OPTIONS -fno-sanitize=undefined SKIP_PRECOMPILE_HEADERS ON)
  endif()
endfunction()

# The date of what is built, for the log's banner: startup/build_date.h.
include(OrsinBuildDate)
target_include_directories(orsin_options INTERFACE "${PROJECT_BINARY_DIR}/generated")

# What the sample host reads manifests with. As part of each build, so that sanitizers see into it.
if(MSVC)
  find_package(pugixml CONFIG REQUIRED)
  add_library(orsin_pugixml INTERFACE)
  target_link_libraries(orsin_pugixml INTERFACE pugixml::pugixml)
else()
  add_library(orsin_pugixml STATIC EXCLUDE_FROM_ALL "${PROJECT_SOURCE_DIR}/build/deps/pugixml/pugixml.cpp")
  target_include_directories(orsin_pugixml SYSTEM PUBLIC "${PROJECT_SOURCE_DIR}/build/deps/pugixml")
  target_compile_definitions(orsin_pugixml PUBLIC PUGIXML_NO_XPATH)
  if(ORSIN_SANITIZE)
    target_compile_options(orsin_pugixml PRIVATE -fsanitize=${ORSIN_SANITIZE})
  endif()
endif()

# In a Windows build the objects make the DLL and the white-box tests; in a native build, the tests.
add_library(orsin_objects OBJECT)
target_compile_definitions(orsin_objects PRIVATE ORSIN_BUILDING)
target_link_libraries(orsin_objects PUBLIC orsin_options)

if(WIN32)
  # Linked into the DLL, and seen by nobody outside: only text/locale_boost.cpp includes it.
  find_package(boost_locale 1.81 CONFIG REQUIRED)
  target_link_libraries(orsin_objects PUBLIC Boost::locale)
  target_link_libraries(orsin_objects PUBLIC advapi32 ole32 rpcrt4 shell32 synchronization user32 version
    winhttp wininet)
  add_library(orsincore SHARED)
  target_link_libraries(orsincore PRIVATE orsin_objects)
  target_include_directories(orsincore INTERFACE
    "$<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>")
  configure_file("${PROJECT_SOURCE_DIR}/cmake/version.rc.in" "${PROJECT_BINARY_DIR}/version.rc" @ONLY)
  target_sources(orsincore PRIVATE "${PROJECT_BINARY_DIR}/version.rc")
  target_compile_features(orsincore INTERFACE cxx_std_17)
  set_target_properties(orsincore PROPERTIES PREFIX "" IMPORT_PREFIX "lib")
  if(MINGW)
    # The linker's own choice depends on the path of its output. Windows moves the DLL anyway.
    target_link_options(orsincore PRIVATE -Wl,--image-base,0x180000000)
  endif()
endif()

if(ORSIN_COVERAGE)
  # The library's own lines only; its white-box tests link the same objects.
  # Unoptimised, or lines that were merged or moved would not count as they were written.
  # Threads count at the same time.
  target_compile_options(orsin_objects PRIVATE --coverage -O0 -fprofile-update=atomic)
  target_link_options(orsin_options INTERFACE --coverage)
  if(NOT WIN32)
    target_link_options(orsin_options INTERFACE -fsanitize=address,undefined)  # FriBidi is built so.
  endif()
endif()

function(orsin_sources)
  cmake_parse_arguments(ARG "" "" "PLAIN;PRIMITIVES;PLATFORM" ${ARGN})
  set(sources ${ARG_PLAIN} ${ARG_PRIMITIVES})
  if(WIN32)
    list(APPEND sources ${ARG_PLATFORM})
  endif()
  list(TRANSFORM sources PREPEND "${CMAKE_CURRENT_SOURCE_DIR}/")
  target_sources(orsin_objects PRIVATE ${sources})
endfunction()

function(orsin_tests name)
  cmake_parse_arguments(ARG "" "" "PLAIN;PRIMITIVES;PLATFORM" ${ARGN})
  set(sources ${ARG_PLAIN} ${ARG_PRIMITIVES})
  if(WIN32)
    list(APPEND sources ${ARG_PLATFORM})
  endif()
  if(NOT sources)
    return()
  endif()
  if(NOT WIN32)
    list(APPEND sources "${PROJECT_SOURCE_DIR}/tests/platform/native/leftovers_check.cpp")
  endif()
  add_executable(${name}_tests ${sources})
  target_compile_definitions(${name}_tests PRIVATE ORSIN_STATIC)
  target_link_libraries(${name}_tests PRIVATE orsin_test_support orsin_objects GTest::gtest_main)
  orsin_compile_fast(${name}_tests)
  if(NOT WIN32)
    target_link_libraries(${name}_tests PRIVATE orsin_native)
  endif()
  if(MINGW)
    add_dependencies(${name}_tests orsin_runtime)
  endif()
  orsin_discover(${name}_tests ${name})
endfunction()

# What tests claim is compiled in half the time so; the library under them is as it is delivered. The
# header that every test includes is read once for all of them.
function(orsin_compile_fast target)
  target_link_libraries(${target} PRIVATE orsin_test_options)
  target_precompile_headers(${target} REUSE_FROM orsin_test_headers)
endfunction()

# Registers every test of an executable with CTest under "<label>." and keeps it out of bin/. Natively the
# executable is one test, as a sanitizer takes longer to start than most tests take; where lines are
# counted, too: each process adds to the counts of every object.
function(orsin_discover target label)
  set_target_properties(${target} PROPERTIES
    RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/tests")
  if(ORSIN_COVERAGE OR NOT WIN32)
    add_test(NAME ${label}.${target} COMMAND ${target} ${ORSIN_TEST_FILTER})
    set_tests_properties(${label}.${target} PROPERTIES TIMEOUT 1800 LABELS ${label})
    return()
  endif()
  gtest_discover_tests(${target} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 120
    PROPERTIES TIMEOUT 300 LABELS ${label})
endfunction()

# Copies the run-time libraries beside the DLL. The toolchain's are not linked in: one C++ runtime for
# the DLL, its host and the plug-ins, or exceptions and locales would not be shared between them.
if(MINGW)
  set(runtime_libraries)
  if(NOT ORSIN_RUNTIME_COMPILER)
    set(ORSIN_RUNTIME_COMPILER ${CMAKE_CXX_COMPILER})
  endif()
  set(names libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
  if(ORSIN_CHECKED)
    list(APPEND names libssp-0.dll)
  endif()
  foreach(name IN LISTS names)
    execute_process(COMMAND ${ORSIN_RUNTIME_COMPILER} -print-file-name=${name}
      OUTPUT_VARIABLE path OUTPUT_STRIP_TRAILING_WHITESPACE)
    if(NOT EXISTS "${path}")
      find_file(ORSIN_${name} ${name} PATHS /usr/x86_64-w64-mingw32/lib NO_CMAKE_FIND_ROOT_PATH REQUIRED)
      set(path "${ORSIN_${name}}")
    endif()
    set(copy "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${name}")
    add_custom_command(OUTPUT "${copy}" DEPENDS "${path}" VERBATIM
      # Without the variable the copy would hold the time of this moment.
      COMMAND ${CMAKE_COMMAND} -E env SOURCE_DATE_EPOCH=0
        ${CMAKE_STRIP} --strip-debug -o "${copy}" "${path}")
    list(APPEND runtime_libraries "${copy}")
  endforeach()
  # Built by cmake/dependencies with its symbols stripped already.
  set(fribidi "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/libfribidi-0.dll")
  add_custom_command(OUTPUT "${fribidi}" DEPENDS "${ORSIN_DEPS}/mingw/bin/libfribidi-0.dll" VERBATIM
    COMMAND ${CMAKE_COMMAND} -E copy "${ORSIN_DEPS}/mingw/bin/libfribidi-0.dll" "${fribidi}")
  list(APPEND runtime_libraries "${fribidi}")
  add_custom_target(orsin_runtime ALL DEPENDS ${runtime_libraries})
endif()

# orsin_catalogues(TARGET OUTPUT FILE.po...) compiles gettext catalogues. In OUTPUT, the full path of
# a catalogue, "@LANGUAGE@" stands for the file's name.
function(orsin_catalogues target output)
  find_program(ORSIN_MSGFMT msgfmt REQUIRED NO_CMAKE_FIND_ROOT_PATH)
  set(catalogues)
  foreach(source IN LISTS ARGN)
    get_filename_component(LANGUAGE "${source}" NAME_WLE)
    string(CONFIGURE "${output}" catalogue @ONLY)
    get_filename_component(folder "${catalogue}" DIRECTORY)
    add_custom_command(OUTPUT "${catalogue}" DEPENDS "${source}" VERBATIM
      COMMAND ${CMAKE_COMMAND} -E make_directory "${folder}"
      COMMAND "${ORSIN_MSGFMT}" --check-format -o "${catalogue}"
        "${CMAKE_CURRENT_SOURCE_DIR}/${source}")
    list(APPEND catalogues "${catalogue}")
  endforeach()
  add_custom_target(${target} ALL DEPENDS ${catalogues})
endfunction()
