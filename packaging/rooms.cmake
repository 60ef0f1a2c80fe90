# Reads the table of rooms, src/rooms:
#   TERVOLANDA_ROOMS           the folders of src/ that are rooms
#   TERVOLANDA_PUBLIC_HEADERS  headers for other programs, as paths below src/
#   TERVOLANDA_UNTRACED_ROOMS  rooms, inner ones too, whose comparisons a fuzzer does not see
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/rooms)
file(STRINGS src/rooms rows REGEX "^[a-z]")
foreach(row ${rows})
    string(REGEX REPLACE " *[|] *" ";" columns "${row}")
    list(GET columns 0 room)
    list(GET columns 3 library)
    list(GET columns 4 untraced)
    if(NOT room MATCHES "/")
        list(APPEND TERVOLANDA_ROOMS ${room})
    endif()
    separate_arguments(library)
    foreach(header ${library})
        if(EXISTS ${PROJECT_SOURCE_DIR}/src/${room}/${header})
            list(APPEND TERVOLANDA_PUBLIC_HEADERS ${room}/${header})
        endif()
    endforeach()
    if(untraced STREQUAL "yes")
        list(APPEND TERVOLANDA_UNTRACED_ROOMS ${room})
    endif()
endforeach()

# With -DCMAKE_UNITY_BUILD=ON the sources of a room are compiled as one: that takes less time where
# each is compiled once, and more after a change.
function(join_rooms target)
    foreach(source ${ARGN})
        get_filename_component(room ${source} DIRECTORY)
        file(RELATIVE_PATH room ${PROJECT_SOURCE_DIR}/src ${room})
        string(MAKE_C_IDENTIFIER ${room} room)
        set_property(SOURCE ${source} PROPERTY UNITY_GROUP ${room})
    endforeach()
    set_target_properties(${target} PROPERTIES UNITY_BUILD_MODE GROUP)
endfunction()
