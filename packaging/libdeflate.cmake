# libdeflate as a static library: it becomes part of what is linked, and need not be there at run
# time.  With the option TERVOLANDA_LIBDEFLATE, and where libdeflate.a is found and fit for shared
# libraries, too (the Python module is one), sets TERVOLANDA_USES_LIBDEFLATE, and there is the target
# tervolanda::libdeflate.
set(TERVOLANDA_USES_LIBDEFLATE OFF)
if(TERVOLANDA_LIBDEFLATE)
    include(CheckCXXSourceCompiles)
    include(packaging/find-libdeflate.cmake)
    if(TARGET tervolanda::libdeflate)
        set(CMAKE_REQUIRED_LIBRARIES tervolanda::libdeflate)
        set(CMAKE_REQUIRED_FLAGS -fPIC)
        set(CMAKE_REQUIRED_LINK_OPTIONS -shared)
        check_cxx_source_compiles("#include <libdeflate.h>
            int main() { libdeflate_free_decompressor(libdeflate_alloc_decompressor()); }"
            LIBDEFLATE_IS_POSITION_INDEPENDENT)
        foreach(name LIBRARIES FLAGS LINK_OPTIONS)
            unset(CMAKE_REQUIRED_${name})
        endforeach()
        set(TERVOLANDA_USES_LIBDEFLATE ${LIBDEFLATE_IS_POSITION_INDEPENDENT})
    endif()
    if(NOT TERVOLANDA_USES_LIBDEFLATE)
        message(STATUS "No libdeflate.a to link: zlib alone takes compressed files apart")
    endif()
endif()
