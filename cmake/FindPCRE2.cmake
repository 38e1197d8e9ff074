# Finds PCRE2, the 8-bit library: the target PCRE2::PCRE2. Installed beside the package of vu, since a
# static libvu leaves the linking of it to its users.
find_path(PCRE2_INCLUDE_DIR pcre2.h)
find_library(PCRE2_LIBRARY pcre2-8)
mark_as_advanced(PCRE2_INCLUDE_DIR PCRE2_LIBRARY)
if(PCRE2_INCLUDE_DIR)
  file(STRINGS "${PCRE2_INCLUDE_DIR}/pcre2.h" numbers REGEX "#define PCRE2_M(AJ|IN)OR")
  string(REGEX REPLACE "[^0-9]*2_MAJOR +([0-9]+).*2_MINOR +([0-9]+).*" "\\1.\\2" PCRE2_VERSION "${numbers}")
endif()

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(PCRE2 REQUIRED_VARS PCRE2_LIBRARY PCRE2_INCLUDE_DIR
                                        VERSION_VAR PCRE2_VERSION)

if(PCRE2_FOUND AND NOT TARGET PCRE2::PCRE2)
  add_library(PCRE2::PCRE2 UNKNOWN IMPORTED)
  set_target_properties(PCRE2::PCRE2 PROPERTIES
    IMPORTED_LOCATION "${PCRE2_LIBRARY}"
    INTERFACE_INCLUDE_DIRECTORIES "${PCRE2_INCLUDE_DIR}")
endif()
