# What "cmake --install" lays out for those who only use the library:
#
#   bin/       orsincore.dll and the DLLs that it needs; the sample host
#   lib/       the import library, and lib/cmake/OrsinCore for find_package(OrsinCore)
#   include/   the public headers
#   doc/       notices and guides
#   locale/, Settings/    what the sample host reads and writes
include(CMakePackageConfigHelpers)

install(TARGETS orsincore EXPORT OrsinCoreTargets
  RUNTIME DESTINATION bin
  ARCHIVE DESTINATION lib
  INCLUDES DESTINATION include)
if(MINGW)
  install(FILES ${runtime_libraries} DESTINATION bin)
endif()
install(DIRECTORY "${PROJECT_SOURCE_DIR}/include/orsincore" DESTINATION include)
install(DIRECTORY "${PROJECT_SOURCE_DIR}/docs/" DESTINATION doc FILES_MATCHING
  PATTERN "*.md" PATTERN "*.svg")
install(FILES "${PROJECT_SOURCE_DIR}/README.md" "${PROJECT_SOURCE_DIR}/THIRD_PARTY_NOTICES.md"
  DESTINATION doc)

set(package "lib/cmake/OrsinCore")
install(EXPORT OrsinCoreTargets NAMESPACE OrsinCore:: DESTINATION ${package})
configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/OrsinCoreConfig.cmake.in"
  "${PROJECT_BINARY_DIR}/OrsinCoreConfig.cmake" INSTALL_DESTINATION ${package})
write_basic_package_version_file("${PROJECT_BINARY_DIR}/OrsinCoreConfigVersion.cmake"
  COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/OrsinCoreConfig.cmake"
  "${PROJECT_BINARY_DIR}/OrsinCoreConfigVersion.cmake" DESTINATION ${package})
