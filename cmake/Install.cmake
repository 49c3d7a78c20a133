include(CMakePackageConfigHelpers)

set(packageDir "${CMAKE_INSTALL_LIBDIR}/cmake/VideoParams")

# Components: Runtime, Development, Tool, Inspector and GStreamer.
install(TARGETS ${VIDEOPARAMS_LIBRARIES} EXPORT VideoParamsTargets
    RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT Runtime
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT Runtime NAMELINK_COMPONENT Development
    ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT Development)
install(FILES include/VideoParams.h DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" COMPONENT Development)
install(DIRECTORY include/videoparams DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" COMPONENT Development)

install(EXPORT VideoParamsTargets NAMESPACE VideoParams:: DESTINATION "${packageDir}" COMPONENT Development)
configure_package_config_file(cmake/VideoParamsConfig.cmake.in VideoParamsConfig.cmake
    INSTALL_DESTINATION "${packageDir}")
write_basic_package_version_file(VideoParamsConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/VideoParamsConfig.cmake"
    "${CMAKE_CURRENT_BINARY_DIR}/VideoParamsConfigVersion.cmake"
    DESTINATION "${packageDir}" COMPONENT Development)

# The .pc file computes the prefix from its own location, so an installed tree may be moved. But only literal system
# folders are left out of what pkg-config prints, so a prefix that is one is written as it is.
cmake_path(RELATIVE_PATH CMAKE_INSTALL_FULL_INCLUDEDIR
    BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}" OUTPUT_VARIABLE includeDirFromPrefix)
cmake_path(RELATIVE_PATH CMAKE_INSTALL_FULL_LIBDIR
    BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}" OUTPUT_VARIABLE libDirFromPrefix)
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    set(pkgConfigPrefix "${CMAKE_INSTALL_PREFIX}")
else()
    cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX
        BASE_DIRECTORY "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" OUTPUT_VARIABLE prefixFromPkgConfig)
    set(pkgConfigPrefix "\${pcfiledir}/${prefixFromPkgConfig}")
endif()

# A host in C that links the static library needs the C++ library, whose name the compiler knows.
set(cxxLibraries ${CMAKE_CXX_IMPLICIT_LINK_LIBRARIES})
list(FILTER cxxLibraries INCLUDE REGEX "^(std)?c\\+\\+")
list(REMOVE_DUPLICATES cxxLibraries)
list(TRANSFORM cxxLibraries PREPEND "-l")
list(JOIN cxxLibraries " " cxxLibraries)
get_target_property(libraryType VideoParams TYPE)
if(libraryType STREQUAL "STATIC_LIBRARY")
    set(pkgConfigLibs " ${cxxLibraries}")
    set(pkgConfigLibsPrivate "")
else()
    set(pkgConfigLibs "")
    set(pkgConfigLibsPrivate " ${cxxLibraries}")
endif()
configure_file(cmake/videoparams.pc.in videoparams.pc @ONLY)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/videoparams.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig"
    COMPONENT Development)

if(TARGET videoparams)
    install(TARGETS videoparams RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT Tool)
    install(FILES docs/videoparams.1 DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT Tool)
    install(FILES tools/completion/videoparams.bash RENAME videoparams
        DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions" COMPONENT Tool)
    install(FILES tools/completion/_videoparams
        DESTINATION "${CMAKE_INSTALL_DATADIR}/zsh/site-functions" COMPONENT Tool)
    install(FILES tools/completion/videoparams.fish
        DESTINATION "${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d" COMPONENT Tool)
    install(FILES docs/videoparams.schema.json
        DESTINATION "${CMAKE_INSTALL_DATADIR}/videoparams" COMPONENT Tool)
    # web/build makes the page. Without it, "videoparams inspect" says so.
    install(FILES web/page/dist/inspector.html
        DESTINATION "${CMAKE_INSTALL_DATADIR}/videoparams" COMPONENT Inspector OPTIONAL)
endif()

if(TARGET gstvideoparams)
    install(TARGETS gstvideoparams LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}/gstreamer-1.0" COMPONENT GStreamer)
endif()

# The reverse of the last installation from this build folder.
if(PROJECT_IS_TOP_LEVEL)
    add_custom_target(uninstall COMMAND ${CMAKE_COMMAND} -D MANIFEST=${PROJECT_BINARY_DIR}/install_manifest.txt
        -P "${PROJECT_SOURCE_DIR}/cmake/Uninstall.cmake" VERBATIM)
endif()
