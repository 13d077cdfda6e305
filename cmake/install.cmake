# What `cmake --install` puts where. Nothing installed holds the prefix: the tree may be moved. The
# components are those of the Debian packages.

include(CMakePackageConfigHelpers)

get_property(libraries GLOBAL PROPERTY NUV_LIBRARIES)
set_target_properties(nuv_headers PROPERTIES EXPORT_NAME headers)
install(TARGETS ${libraries} nuv_headers EXPORT nuvdevmgr-targets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime
        NAMELINK_COMPONENT development)
install(TARGETS nuvctl RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tool)
install(DIRECTORY include/nuv kit/include/nuvkit
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)

# find_package(nuvdevmgr 2 CONFIG)
set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/nuvdevmgr)
install(EXPORT nuvdevmgr-targets NAMESPACE nuvdevmgr::
    DESTINATION ${package_folder} COMPONENT development)
configure_package_config_file(cmake/nuvdevmgr-config.cmake.in nuvdevmgr-config.cmake
    INSTALL_DESTINATION ${package_folder})
write_basic_package_version_file(nuvdevmgr-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES
    ${CMAKE_CURRENT_BINARY_DIR}/nuvdevmgr-config.cmake
    ${CMAKE_CURRENT_BINARY_DIR}/nuvdevmgr-config-version.cmake
    DESTINATION ${package_folder} COMPONENT development)

# pkg-config nuvdevmgr
set(pkgconfig_folder ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH prefix_from_pkgconfig /prefix/${pkgconfig_folder} /prefix)
configure_file(cmake/nuvdevmgr.pc.in nuvdevmgr.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/nuvdevmgr.pc
    DESTINATION ${pkgconfig_folder} COMPONENT development)

# nuv_compressed(FILE): FILE.gz in the build folder, the same bytes every time
function(nuv_compressed file)
    get_filename_component(name ${file} NAME)
    execute_process(COMMAND gzip --no-name --best --stdout ${PROJECT_SOURCE_DIR}/${file}
        OUTPUT_FILE ${PROJECT_BINARY_DIR}/${name}.gz COMMAND_ERROR_IS_FATAL ANY)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${file})
endfunction()

# nuvctl's manual, and its completion where bash finds it
nuv_compressed(tools/nuvctl/nuvctl.1)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/nuvctl.1.gz
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tool)
install(FILES tools/nuvctl/completion.bash RENAME nuvctl
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT tool)

# A configuration and bench cameras to copy and change. Not with the libraries: those of a later
# soname are to be installed beside these.
install(FILES
    packaging/nuv_cameras.ini
    packaging/nuv_devicemgr.ini
    DESTINATION ${CMAKE_INSTALL_DATADIR}/nuvdevmgr COMPONENT tool)

# A service that keeps the registry, to be copied where systemd looks
install(FILES
    packaging/systemd/nuvdevmgr.service
    packaging/systemd/nuvdevmgr.sysusers
    DESTINATION ${CMAKE_INSTALL_DATADIR}/nuvdevmgr COMPONENT tool)
