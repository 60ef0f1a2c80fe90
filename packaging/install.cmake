# What "cmake --install" places where, and the source archive.
include(CMakePackageConfigHelpers)

install(TARGETS tervolanda RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES docs/tervolanda.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES packaging/completion/tervolanda.bash
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME tervolanda)
install(FILES packaging/completion/_tervolanda
        DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions)
# The documents keep their places beside each other, so that their links lead somewhere.
install(FILES README.md ARCHITECTURE.md CONTRIBUTING.md CHANGELOG.md LICENSE NOTICE
        DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DOCDIR}
        PATTERN make_examples.py EXCLUDE PATTERN *.rsm EXCLUDE PATTERN align.matrix.* EXCLUDE
        PATTERN build EXCLUDE)

# The library, for find_package(tervolanda) and the target tervolanda::tervolanda.  Its headers are
# those that src/rooms names for other programs, and what these include.
set_target_properties(tervolanda_core PROPERTIES EXPORT_NAME tervolanda OUTPUT_NAME tervolanda)
set(TERVOLANDA_STAGED_HEADERS ${PROJECT_BINARY_DIR}/staged/include)
install(CODE "set(SOURCES \"${PROJECT_SOURCE_DIR}/src\")
set(HEADERS \"${TERVOLANDA_PUBLIC_HEADERS}\")
set(STAGED \"${TERVOLANDA_STAGED_HEADERS}\")")
install(SCRIPT packaging/stage_headers.cmake)
install(DIRECTORY ${TERVOLANDA_STAGED_HEADERS}/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(TARGETS tervolanda_core EXPORT tervolanda_targets
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

set(TERVOLANDA_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/tervolanda)
install(EXPORT tervolanda_targets NAMESPACE tervolanda:: FILE tervolanda-targets.cmake
        DESTINATION ${TERVOLANDA_PACKAGE_DIR})
configure_package_config_file(packaging/tervolanda-config.cmake.in
                              ${PROJECT_BINARY_DIR}/staged/tervolanda-config.cmake
                              INSTALL_DESTINATION ${TERVOLANDA_PACKAGE_DIR})
# Before version 1 a new minor version may change the library; after it a new major version.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/staged/tervolanda-config-version.cmake
                                 COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/staged/tervolanda-config.cmake
              ${PROJECT_BINARY_DIR}/staged/tervolanda-config-version.cmake
              packaging/find-libdeflate.cmake
        DESTINATION ${TERVOLANDA_PACKAGE_DIR})

# "cpack --config CPackSourceConfig.cmake" in the build folder packs the source tree, without what
# makes packages of it.
set(CPACK_PACKAGE_VENDOR "The Tervolanda developers")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_RESOURCE_FILE_README ${PROJECT_SOURCE_DIR}/README.md)
set(CPACK_GENERATOR TGZ)
set(CPACK_SOURCE_GENERATOR TGZ)
set(CPACK_SOURCE_PACKAGE_FILE_NAME tervolanda-${PROJECT_VERSION})
string(REGEX REPLACE "[^A-Za-z0-9/]" "[\\0]" source_pattern ${PROJECT_SOURCE_DIR})
set(CPACK_SOURCE_IGNORE_FILES "^${source_pattern}/(build|debian)/" "/[.]git/" "/__pycache__/"
    "/examples/[^/]*[.]rsm$")
include(CPack)
