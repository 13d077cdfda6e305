# The Debian packages: `./dev package`. What each holds is told by the components of the install
# rules; everything beside that lies in packaging/debian.

set(debian ${PROJECT_SOURCE_DIR}/packaging/debian)
set(package_runtime libnuvdevmgr2)
set(package_development libnuvdevmgr-dev)
set(package_tool nuvctl)
set(version ${PROJECT_VERSION})

set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime development tool)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_CONTACT
    "nuvdevmgr maintainers <maintainers@users.noreply.c-seed-ea9eab92.example>")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# How the packages' own libraries are found while their dependencies are worked out.
get_property(libraries GLOBAL PROPERTY NUV_LIBRARIES)
foreach(library IN LISTS libraries)
    get_target_property(folder ${library} BINARY_DIR)
    list(APPEND CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${folder})
endforeach()

# nuv_package(COMPONENT SECTION SUMMARY DESCRIPTION)
macro(nuv_package component section summary description)
    string(TOUPPER ${component} upper)
    set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${package_${component}})
    set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section})
    set(CPACK_DEBIAN_${upper}_DESCRIPTION "${summary}\n${description}")
    nuv_package_documents(${component} ${package_${component}})
endmacro()

# Only packages get these: `cmake --install` leaves them out.
function(nuv_package_documents component package)
    set(folder ${CMAKE_INSTALL_DATAROOTDIR}/doc/${package})
    install(FILES ${debian}/copyright
        DESTINATION ${folder} COMPONENT ${component} EXCLUDE_FROM_ALL)
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/changelog.gz
        DESTINATION ${folder} COMPONENT ${component} EXCLUDE_FROM_ALL)
    if(EXISTS ${debian}/${package}.lintian-overrides)
        install(FILES ${debian}/${package}.lintian-overrides RENAME ${package}
            DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/lintian/overrides
            COMPONENT ${component} EXCLUDE_FROM_ALL)
    endif()
endfunction()

nuv_compressed(packaging/debian/changelog)

nuv_package(runtime libs "device manager of a camera software kit"
"Tells every process of the machine which cameras are connected, under which
registry id, and through which interface back-end each is reached. All
processes share one registry in shared memory.
.
This package holds the library, its log, its INI file locator, and back-ends
that see bench cameras.")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${debian}/triggers)

nuv_package(development libdevel "device manager of a camera software kit, headers"
"What programs, libraries and interface back-ends are built with: the headers,
a CMake package and a pkg-config file.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${package_runtime} (= ${version})")

nuv_package(tool utils "look at and use the cameras of this machine"
"Lists the cameras that the shared device registry knows and what state the
registry is in, runs a device manager in the foreground, and opens cameras.")
set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS "${package_runtime} (= ${version})")

include(CPack)
