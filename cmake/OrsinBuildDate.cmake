# Sets ORSIN_COMMIT_TIME, seconds since 1970 UTC, and writes startup/build_date.h from it, and the file
# commit-time for cmake/package.
#
# The first of these that is there: SOURCE_DATE_EPOCH in the environment; git's last commit;
# cmake/commit-time, which an archive made by git fills in. Nothing takes the clock.

if(DEFINED ENV{SOURCE_DATE_EPOCH})
  set(ORSIN_COMMIT_TIME "$ENV{SOURCE_DATE_EPOCH}")
else()
  execute_process(COMMAND git -C "${PROJECT_SOURCE_DIR}" log -1 --format=%ct
    OUTPUT_VARIABLE ORSIN_COMMIT_TIME OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
  # The next commit configures anew.
  execute_process(COMMAND git -C "${PROJECT_SOURCE_DIR}" rev-parse --path-format=absolute --git-path logs/HEAD
    OUTPUT_VARIABLE head OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
  if(EXISTS "${head}")
    set_property(DIRECTORY "${PROJECT_SOURCE_DIR}" APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${head}")
  endif()
  if(NOT ORSIN_COMMIT_TIME)
    file(STRINGS "${PROJECT_SOURCE_DIR}/cmake/commit-time" ORSIN_COMMIT_TIME LIMIT_COUNT 1)
  endif()
endif()
if(NOT ORSIN_COMMIT_TIME MATCHES "^[0-9]+$")
  message(FATAL_ERROR "Neither git nor cmake/commit-time knows the commit's time: "
    "set SOURCE_DATE_EPOCH to seconds since 1970 UTC.")
endif()

# As __DATE__ writes it: "Nov  2 2026". The compiler's is in English whatever the locale, this too.
set(ENV{SOURCE_DATE_EPOCH} "${ORSIN_COMMIT_TIME}")  # What string(TIMESTAMP) then takes for now.
string(TIMESTAMP year_month_day "%Y;%m;%d" UTC)
unset(ENV{SOURCE_DATE_EPOCH})
list(GET year_month_day 0 year)
list(GET year_month_day 1 month)
list(GET year_month_day 2 day)
set(months Jan Feb Mar Apr May Jun Jul Aug Sep Oct Nov Dec)
math(EXPR month "${month} - 1")
list(GET months ${month} month)
string(REGEX REPLACE "^0" " " day "${day}")
set(ORSIN_BUILD_DATE "${month} ${day} ${year}")
file(CONFIGURE OUTPUT "${PROJECT_BINARY_DIR}/commit-time" CONTENT "${ORSIN_COMMIT_TIME}\n")
configure_file("${PROJECT_SOURCE_DIR}/cmake/build_date.h.in"
  "${PROJECT_BINARY_DIR}/generated/startup/build_date.h" @ONLY)
