# Debian packages, made by `cpack -G DEB`. scripts/packages.sh configures the build for them.

set(CPACK_PACKAGE_NAME videoparams)
set(CPACK_PACKAGE_VENDOR "The VideoParams authors")
set(VIDEOPARAMS_PACKAGER "The VideoParams authors <maintainers@videoparams.invalid>"
    CACHE STRING "Name and address of the maintainer of packages made here")
set(CPACK_PACKAGE_CONTACT "${VIDEOPARAMS_PACKAGER}")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_RESOURCE_FILE_LICENSE "${PROJECT_SOURCE_DIR}/LICENSE")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_COMPONENTS_ALL Runtime Development)
if(TARGET videoparams)
    list(APPEND CPACK_COMPONENTS_ALL Tool)
endif()

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${PROJECT_BINARY_DIR}/src")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libvideoparams${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
configure_file(cmake/debian/shlibs.in debian/shlibs @ONLY)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
    "${CMAKE_CURRENT_BINARY_DIR}/debian/shlibs" "${PROJECT_SOURCE_DIR}/cmake/debian/triggers")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libvideoparams-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "${CPACK_DEBIAN_RUNTIME_PACKAGE_NAME} (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")
set(CPACK_DEBIAN_TOOL_PACKAGE_NAME videoparams)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION video)
set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS
    "${CPACK_DEBIAN_RUNTIME_PACKAGE_NAME} (>= ${PROJECT_VERSION})")

# The first line of each description is its summary. A common summary would be put before each of them.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(summary "analysis and editing of H.264 and H.265 streams")
set(about "VideoParams reports the access units of a stream, its key frames,
picture size, frame rate and colour description, and inserts user data
in SEI messages.\n\nThis package contains")
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "${summary} (shared library)\n${about} the shared library.")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "${summary} (development files)\n${about} the files to build a program with the library.")
set(CPACK_DEBIAN_TOOL_DESCRIPTION "${summary} (command line tool)\n${about} the command line tool.")

# Files that Debian's policy requires, and that a plain installation does not need.
function(compress file compressed)
    execute_process(COMMAND gzip -9nc "${file}" OUTPUT_FILE "${CMAKE_CURRENT_BINARY_DIR}/${compressed}"
        COMMAND_ERROR_IS_FATAL ANY)
endfunction()
string(TIMESTAMP packageDate "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file(cmake/debian/changelog.in debian/changelog @ONLY)
compress("${CMAKE_CURRENT_BINARY_DIR}/debian/changelog" debian/changelog.Debian.gz)
foreach(component ${CPACK_COMPONENTS_ALL})
    string(TOUPPER ${component} upper)
    set(documents "${CMAKE_INSTALL_DATAROOTDIR}/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME}")
    install(FILES LICENSE RENAME copyright DESTINATION "${documents}" COMPONENT ${component} EXCLUDE_FROM_ALL)
    install(FILES "${CMAKE_CURRENT_BINARY_DIR}/debian/changelog.Debian.gz"
        DESTINATION "${documents}" COMPONENT ${component} EXCLUDE_FROM_ALL)
endforeach()
compress("${PROJECT_SOURCE_DIR}/docs/videoparams.1" debian/videoparams.1.gz)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/debian/videoparams.1.gz"
    DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT Tool EXCLUDE_FROM_ALL)

include(CPack)
