# Finds PCRE, the 8-bit library: the target PCRE::PCRE. Installed beside the package of vu, since a
# static libvu leaves the linking of it to its users.
find_path(PCRE_INCLUDE_DIR pcre.h)
find_library(PCRE_LIBRARY pcre)
mark_as_advanced(PCRE_INCLUDE_DIR PCRE_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(PCRE REQUIRED_VARS PCRE_LIBRARY PCRE_INCLUDE_DIR)

if(PCRE_FOUND AND NOT TARGET PCRE::PCRE)
  add_library(PCRE::PCRE UNKNOWN IMPORTED)
  set_target_properties(PCRE::PCRE PROPERTIES
    IMPORTED_LOCATION "${PCRE_LIBRARY}"
    INTERFACE_INCLUDE_DIRECTORIES "${PCRE_INCLUDE_DIR}")
endif()
