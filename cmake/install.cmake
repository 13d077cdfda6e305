# What `cmake --install` puts where. Nothing installed holds the prefix: the tree may be moved.

include(CMakePackageConfigHelpers)

get_property(libraries GLOBAL PROPERTY NUV_LIBRARIES)
set_target_properties(nuv_headers PROPERTIES EXPORT_NAME headers)
install(TARGETS ${libraries} nuv_headers EXPORT nuvdevmgr-targets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY include/nuv kit/include/nuvkit DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

# find_package(nuvdevmgr 2 CONFIG)
set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/nuvdevmgr)
install(EXPORT nuvdevmgr-targets NAMESPACE nuvdevmgr:: DESTINATION ${package_folder})
configure_package_config_file(cmake/nuvdevmgr-config.cmake.in nuvdevmgr-config.cmake
    INSTALL_DESTINATION ${package_folder})
write_basic_package_version_file(nuvdevmgr-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES
    ${CMAKE_CURRENT_BINARY_DIR}/nuvdevmgr-config.cmake
    ${CMAKE_CURRENT_BINARY_DIR}/nuvdevmgr-config-version.cmake
    DESTINATION ${package_folder})

# pkg-config nuvdevmgr
set(pkgconfig_folder ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH prefix_from_pkgconfig /prefix/${pkgconfig_folder} /prefix)
configure_file(cmake/nuvdevmgr.pc.in nuvdevmgr.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/nuvdevmgr.pc DESTINATION ${pkgconfig_folder})

# nuvctl's manual, and its completion where bash finds it
install(FILES tools/nuvctl/nuvctl.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES tools/nuvctl/completion.bash RENAME nuvctl
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
