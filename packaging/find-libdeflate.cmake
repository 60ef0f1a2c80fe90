# Looks for libdeflate.a and its header; where they are, there is the target tervolanda::libdeflate.
# Installed with the library, for projects that link it.
if(NOT TARGET tervolanda::libdeflate)
    find_library(LIBDEFLATE_ARCHIVE NAMES libdeflate.a DOC "libdeflate as a static library")
    find_path(LIBDEFLATE_INCLUDE_DIR libdeflate.h DOC "Where libdeflate.h is")
    mark_as_advanced(LIBDEFLATE_ARCHIVE LIBDEFLATE_INCLUDE_DIR)
    if(LIBDEFLATE_ARCHIVE AND LIBDEFLATE_INCLUDE_DIR)
        add_library(tervolanda::libdeflate STATIC IMPORTED)
        set_target_properties(tervolanda::libdeflate PROPERTIES
            IMPORTED_LOCATION "${LIBDEFLATE_ARCHIVE}"
            INTERFACE_INCLUDE_DIRECTORIES "${LIBDEFLATE_INCLUDE_DIR}")
    endif()
endif()
