include(CMakePackageConfigHelpers)

set(packageDir "${CMAKE_INSTALL_LIBDIR}/cmake/VideoParams")

# Components: Runtime, Development, Tool and Manual. Packages have the manual page compressed.
install(TARGETS VideoParams VideoParamsStatic EXPORT VideoParamsTargets
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

# The .pc file computes the prefix from its own location, so an installed tree may be moved.
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX
    BASE_DIRECTORY "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" OUTPUT_VARIABLE prefixFromPkgConfig)
cmake_path(RELATIVE_PATH CMAKE_INSTALL_FULL_INCLUDEDIR
    BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}" OUTPUT_VARIABLE includeDirFromPrefix)
cmake_path(RELATIVE_PATH CMAKE_INSTALL_FULL_LIBDIR
    BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}" OUTPUT_VARIABLE libDirFromPrefix)
configure_file(cmake/videoparams.pc.in videoparams.pc @ONLY)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/videoparams.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig"
    COMPONENT Development)

if(TARGET videoparams)
    install(TARGETS videoparams RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT Tool)
    install(FILES docs/videoparams.1 DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT Manual)
    install(FILES tools/completion/videoparams.bash RENAME videoparams
        DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions" COMPONENT Tool)
    install(FILES tools/completion/_videoparams
        DESTINATION "${CMAKE_INSTALL_DATADIR}/zsh/site-functions" COMPONENT Tool)
    install(FILES tools/completion/videoparams.fish
        DESTINATION "${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d" COMPONENT Tool)
    install(FILES docs/videoparams.schema.json
        DESTINATION "${CMAKE_INSTALL_DATADIR}/videoparams" COMPONENT Tool)
endif()
