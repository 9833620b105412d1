# What is the same in both forms of the platform's double: with real threads and files, and as a machine
# that replays.
set(ORSIN_PLATFORM
  "${CMAKE_CURRENT_LIST_DIR}/computer_native.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/date_native.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/drives_native.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/fault_guard_native.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/instance_native.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/libraries_native.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/module_place_native.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/narrow_paths_native.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/page_ranges.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/programs_native.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/system_error_native.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/system_locks_native.cpp"
  "${CMAKE_CURRENT_LIST_DIR}/url_split.cpp")
