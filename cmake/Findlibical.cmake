# The core library of libical, without the two others that its own CMake package names. Defines libical::ical.
find_path(LIBICAL_INCLUDE_DIR libical/ical.h)
find_library(LIBICAL_LIBRARY ical)
include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(libical REQUIRED_VARS LIBICAL_LIBRARY LIBICAL_INCLUDE_DIR)
if(libical_FOUND AND NOT TARGET libical::ical)
    add_library(libical::ical UNKNOWN IMPORTED)
    set_target_properties(libical::ical PROPERTIES IMPORTED_LOCATION "${LIBICAL_LIBRARY}"
                          INTERFACE_INCLUDE_DIRECTORIES "${LIBICAL_INCLUDE_DIR}")
endif()
mark_as_advanced(LIBICAL_INCLUDE_DIR LIBICAL_LIBRARY)
