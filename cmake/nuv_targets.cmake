# How every target of this tree is compiled and linked.

find_package(Threads REQUIRED)
find_path(SIMPLEINI_INCLUDE_DIR SimpleIni.h REQUIRED)

add_library(nuv_options INTERFACE)
target_compile_options(nuv_options INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wnon-virtual-dtor -Werror)
# What is installed does not tell where it was built; debuggers and coverage need to know.
target_compile_options(nuv_options INTERFACE "$<$<CONFIG:Release>:\
-ffile-prefix-map=${PROJECT_BINARY_DIR}=build;-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.>")
target_link_libraries(nuv_options INTERFACE Threads::Threads)
if(NUV_SANITIZE)
    target_compile_options(nuv_options INTERFACE
        -fsanitize=${NUV_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    # g++ 12 then takes parts of the library's own regular expressions for uninitialised.
    target_compile_options(nuv_options INTERFACE
        $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
    target_link_options(nuv_options INTERFACE -fsanitize=${NUV_SANITIZE})
endif()

# The public headers, as every room and every stranger sees them.
add_library(nuv_headers INTERFACE)
target_include_directories(nuv_headers INTERFACE
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/kit/include>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)

# nuv_library(NAME [OPEN_SYMBOLS] SOURCES...)
#
# A shared library of the kit: nothing exported but what says so, the other libraries of the kit
# found beside it or in ../lib. OPEN_SYMBOLS leaves undefined symbols to load time. Only the
# back-ends need it: they derive from a class of libnuvdevmgr, which constructs them and therefore
# links them by name.
function(nuv_library name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "OPEN_SYMBOLS" "" "")
    add_library(${name} SHARED ${arg_UNPARSED_ARGUMENTS})
    target_link_libraries(${name} PRIVATE nuv_options PUBLIC nuv_headers)
    nuv_object_properties(${name})
    set_target_properties(${name} PROPERTIES
        VERSION ${PROJECT_VERSION}
        SOVERSION ${PROJECT_VERSION_MAJOR}
        BUILD_RPATH_USE_ORIGIN ON
        INSTALL_RPATH "$ORIGIN:$ORIGIN/../lib")
    # Calls within a library go straight, not by way of what another library might put in their place.
    target_link_options(${name} PRIVATE
        -Wl,-Bsymbolic-functions
        -Wl,--version-script=${PROJECT_SOURCE_DIR}/cmake/exports.map)
    set_property(TARGET ${name} APPEND PROPERTY
        LINK_DEPENDS ${PROJECT_SOURCE_DIR}/cmake/exports.map)
    if(NOT arg_OPEN_SYMBOLS AND NOT NUV_SANITIZE)
        target_link_options(${name} PRIVATE -Wl,-z,defs)
    endif()
    set_property(GLOBAL APPEND PROPERTY NUV_LIBRARIES ${name})
endfunction()

# nuv_objects(NAME SOURCES...): a room of libnuvdevmgr, compiled into it.
function(nuv_objects name)
    add_library(${name} OBJECT ${ARGN})
    target_link_libraries(${name} PRIVATE nuv_options PUBLIC nuv_headers)
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
    nuv_object_properties(${name})
endfunction()

function(nuv_object_properties name)
    set_target_properties(${name} PROPERTIES
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON
        POSITION_INDEPENDENT_CODE ON)
    # A look-up calls the C library three times: without a stub in between.
    target_compile_options(${name} PRIVATE -fno-plt)
endfunction()
