# Installs the library for applications: the library, the public headers, a CMake package
# (find_package(quillgate CONFIG) -> quillgate::quillgate) and quillgate.pc.

# The headers an application includes: the client with its delegates and types, the records,
# the platform interfaces an embedder implements or installs, and the toolkit headers a host
# needs to put up a window and a parent view. Everything these include is installed with
# them, so that adding an include to a public header never breaks an installed tree.
set(QUILLGATE_PUBLIC_HEADER_ROOTS
    quillgate/Export.h
    quillgate/client/QuillgateClient.h
    quillgate/client/ClientTypes.h
    quillgate/client/Delegates.h
    quillgate/records/AccountRecords.h
    quillgate/records/JourneyRecords.h
    quillgate/records/PaywallRecords.h
    quillgate/service/Deployment.h
    quillgate/service/Mode.h
    quillgate/service/Toast.h
    quillgate/platform/Platform.h
    quillgate/platform/Log.h
    quillgate/platform/Canvas.h
    quillgate/platform/TextLayout.h
    quillgate/ui/Application.h
    quillgate/ui/Window.h
    quillgate/ui/WindowScene.h
    quillgate/ui/View.h
    quillgate/ui/ViewController.h
    quillgate/ui/WebView.h)

# Follows the project's own includes ("quillgate/...") from `roots`, transitively.
function(quillgate_header_closure roots out)
    set(seen)
    set(pending ${roots})
    while(pending)
        list(POP_FRONT pending header)
        if(header IN_LIST seen OR NOT EXISTS ${PROJECT_SOURCE_DIR}/${header})
            continue()
        endif()
        list(APPEND seen ${header})
        file(STRINGS ${PROJECT_SOURCE_DIR}/${header} includes
            REGEX "^[ \t]*#[ \t]*include[ \t]+\"quillgate/[^\"]+\"")
        foreach(line IN LISTS includes)
            string(REGEX REPLACE "^[^\"]*\"([^\"]+)\".*$" "\\1" included "${line}")
            list(APPEND pending ${included})
        endforeach()
    endwhile()
    list(SORT seen)
    set(${out} ${seen} PARENT_SCOPE)
endfunction()

quillgate_header_closure("${QUILLGATE_PUBLIC_HEADER_ROOTS}" QUILLGATE_PUBLIC_HEADERS)
foreach(header IN LISTS QUILLGATE_PUBLIC_HEADERS)
    if(header MATCHES "/linux/")
        message(FATAL_ERROR "${header} is public but includes a platform library's header")
    endif()
    get_filename_component(dir ${header} DIRECTORY)
    install(FILES ${PROJECT_SOURCE_DIR}/${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${dir}
        COMPONENT quillgate_development)
endforeach()

install(TARGETS quillgate EXPORT quillgateTargets
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT quillgate_development
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT quillgate_runtime
        NAMELINK_COMPONENT quillgate_development
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT quillgate_runtime)

set(QUILLGATE_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/quillgate)
install(EXPORT quillgateTargets NAMESPACE quillgate::
    DESTINATION ${QUILLGATE_CMAKE_DIR} COMPONENT quillgate_development)

# A static library carries its private dependencies to the application's link, so the package
# finds them again under the same imported target; a shared one needs nothing of them.
if(BUILD_SHARED_LIBS)
    set(QUILLGATE_CONFIG_PRIVATE_MODULES "")
else()
    set(QUILLGATE_CONFIG_PRIVATE_MODULES "${QUILLGATE_PRIVATE_PKG_MODULES}")
endif()
include(CMakePackageConfigHelpers)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/quillgateConfig.cmake.in
    ${PROJECT_BINARY_DIR}/quillgateConfig.cmake
    INSTALL_DESTINATION ${QUILLGATE_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/quillgateConfigVersion.cmake
    COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/quillgateConfig.cmake
    ${PROJECT_BINARY_DIR}/quillgateConfigVersion.cmake
    DESTINATION ${QUILLGATE_CMAKE_DIR} COMPONENT quillgate_development)

# quillgate.pc, relocatable: the prefix is found from the file's own place.
file(RELATIVE_PATH QUILLGATE_PC_TO_PREFIX
    /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
string(REPLACE ";" " " QUILLGATE_PC_REQUIRES_PRIVATE "${QUILLGATE_PRIVATE_PKG_MODULES}")
configure_file(${PROJECT_SOURCE_DIR}/cmake/quillgate.pc.in ${PROJECT_BINARY_DIR}/quillgate.pc
    @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/quillgate.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT quillgate_development)
