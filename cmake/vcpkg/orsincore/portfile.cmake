# Builds this very tree as an overlay port:
#
#   vcpkg install orsincore --overlay-ports=THIS_TREE/cmake/vcpkg
#
# One DLL, whatever the triplet asks for: its host and the plug-ins share one library.
vcpkg_check_linkage(ONLY_DYNAMIC_LIBRARY)

get_filename_component(SOURCE_PATH "${CURRENT_PORT_DIR}/../../.." ABSOLUTE)
vcpkg_cmake_configure(
  SOURCE_PATH "${SOURCE_PATH}"
  OPTIONS
    -DORSIN_TESTS=OFF
    -DORSIN_EXAMPLES=OFF
)
vcpkg_cmake_install()
vcpkg_copy_pdbs()
vcpkg_cmake_config_fixup(PACKAGE_NAME OrsinCore CONFIG_PATH lib/cmake/OrsinCore)

file(REMOVE_RECURSE "${CURRENT_PACKAGES_DIR}/debug/include" "${CURRENT_PACKAGES_DIR}/debug/doc")
file(MAKE_DIRECTORY "${CURRENT_PACKAGES_DIR}/share/${PORT}")
file(RENAME "${CURRENT_PACKAGES_DIR}/doc" "${CURRENT_PACKAGES_DIR}/share/${PORT}/doc")
vcpkg_install_copyright(FILE_LIST "${SOURCE_PATH}/THIRD_PARTY_NOTICES.md")
