# Runs the port for vcpkg with doubles of vcpkg's functions, which take the documented arguments and no
# others: cmake -DROOT=... -DBUILD=... -DWORK=... -DTOOLCHAIN=... -P run-port.cmake
#
# The configuring is real: an option that the project does not know is an error. What was built already
# is installed in place of a second build.
cmake_minimum_required(VERSION 3.25)

set(PORT orsincore)
set(CURRENT_PORT_DIR "${ROOT}/cmake/vcpkg/orsincore")
set(CURRENT_PACKAGES_DIR "${WORK}/packages")
file(REMOVE_RECURSE "${WORK}")

# run(COMMAND...): output goes to the variable output.
macro(run)
  execute_process(COMMAND ${ARGV} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "${output}")
  endif()
endmacro()

function(vcpkg_check_linkage)
  if(NOT ARGV STREQUAL "ONLY_DYNAMIC_LIBRARY")
    message(FATAL_ERROR "vcpkg_check_linkage(${ARGV})")
  endif()
endfunction()

function(vcpkg_cmake_configure)
  cmake_parse_arguments(PARSE_ARGV 0 ARG "" "SOURCE_PATH" "OPTIONS")
  if(ARG_UNPARSED_ARGUMENTS OR NOT IS_DIRECTORY "${ARG_SOURCE_PATH}")
    message(FATAL_ERROR "vcpkg_cmake_configure(${ARGV})")
  endif()
  foreach(kind IN ITEMS Debug Release)
    run("${CMAKE_COMMAND}" -S "${ARG_SOURCE_PATH}" -B "${WORK}/${kind}" -G Ninja
      "-DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN}" "-DCMAKE_BUILD_TYPE=${kind}"
      "-DCMAKE_RUNTIME_OUTPUT_DIRECTORY=${WORK}/${kind}/bin" ${ARG_OPTIONS})
    if(output MATCHES "not used by the project")
      message(FATAL_ERROR "${output}")
    endif()
  endforeach()
endfunction()

function(vcpkg_cmake_install)
  run("${CMAKE_COMMAND}" --install "${BUILD}" --prefix "${CURRENT_PACKAGES_DIR}")
  run("${CMAKE_COMMAND}" --install "${BUILD}" --prefix "${CURRENT_PACKAGES_DIR}/debug")
endfunction()

function(vcpkg_copy_pdbs)
endfunction()

function(vcpkg_cmake_config_fixup)
  cmake_parse_arguments(PARSE_ARGV 0 ARG "" "PACKAGE_NAME;CONFIG_PATH" "")
  set(from "${CURRENT_PACKAGES_DIR}/${ARG_CONFIG_PATH}")
  if(ARG_UNPARSED_ARGUMENTS OR NOT EXISTS "${from}/${ARG_PACKAGE_NAME}Config.cmake")
    message(FATAL_ERROR "vcpkg_cmake_config_fixup(${ARGV})")
  endif()
  file(MAKE_DIRECTORY "${CURRENT_PACKAGES_DIR}/share")
  file(RENAME "${from}" "${CURRENT_PACKAGES_DIR}/share/${ARG_PACKAGE_NAME}")
endfunction()

function(vcpkg_install_copyright)
  cmake_parse_arguments(PARSE_ARGV 0 ARG "" "" "FILE_LIST")
  if(ARG_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "vcpkg_install_copyright(${ARGV})")
  endif()
  foreach(file IN LISTS ARG_FILE_LIST)
    file(READ "${file}" text)
    file(APPEND "${CURRENT_PACKAGES_DIR}/share/${PORT}/copyright" "${text}")
  endforeach()
endfunction()

include("${CURRENT_PORT_DIR}/portfile.cmake")

foreach(wanted IN ITEMS include/orsincore/orsincore.h bin/orsincore.dll debug/bin/orsincore.dll
    share/OrsinCore/OrsinCoreConfig.cmake share/orsincore/copyright share/orsincore/doc/guide.md)
  if(NOT EXISTS "${CURRENT_PACKAGES_DIR}/${wanted}")
    message(FATAL_ERROR "the port leaves no ${wanted}")
  endif()
endforeach()
foreach(unwanted IN ITEMS debug/include debug/doc doc)  # vcpkg refuses a package with these.
  if(EXISTS "${CURRENT_PACKAGES_DIR}/${unwanted}")
    message(FATAL_ERROR "the port leaves ${unwanted}")
  endif()
endforeach()

file(READ "${CURRENT_PORT_DIR}/vcpkg.json" manifest)
string(JSON version GET "${manifest}" version)
file(STRINGS "${BUILD}/CMakeCache.txt" built REGEX "^CMAKE_PROJECT_VERSION:STATIC=")
if(NOT built STREQUAL "CMAKE_PROJECT_VERSION:STATIC=${version}")
  message(FATAL_ERROR "the port is of version ${version}, the project says ${built}")
endif()
