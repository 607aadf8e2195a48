# Installation: headers, both libraries, the CMake package and the pkg-config file.
include(CMakePackageConfigHelpers)

function(ko_install_libraries)
    install(
        TARGETS kocore koimproc
        EXPORT koimprocTargets
        LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT runtime NAMELINK_COMPONENT development
        INCLUDES DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")
    install(DIRECTORY "${PROJECT_SOURCE_DIR}/include/ko" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")

    set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/koimproc")
    install(EXPORT koimprocTargets NAMESPACE ko:: DESTINATION "${package_dir}")
    configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/koimprocConfig.cmake.in"
                                  "${PROJECT_BINARY_DIR}/koimprocConfig.cmake"
                                  INSTALL_DESTINATION "${package_dir}")
    write_basic_package_version_file("${PROJECT_BINARY_DIR}/koimprocConfigVersion.cmake"
                                     COMPATIBILITY SameMajorVersion)
    install(FILES "${PROJECT_BINARY_DIR}/koimprocConfig.cmake"
                  "${PROJECT_BINARY_DIR}/koimprocConfigVersion.cmake" DESTINATION "${package_dir}")

    ko_install_pkgconfig(koimproc.pc.in koimproc.pc development)
endfunction()

# ko_install_pkgconfig(<template in cmake> <name> <component>)
function(ko_install_pkgconfig template name component)
    # Relative, so that the installed tree may be moved or installed with another --prefix.
    set(pkgconfig_dir "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
    file(RELATIVE_PATH KO_PREFIX_FROM_PKGCONFIG "/prefix/${pkgconfig_dir}" "/prefix")
    string(REGEX REPLACE "/$" "" KO_PREFIX_FROM_PKGCONFIG "${KO_PREFIX_FROM_PKGCONFIG}")
    configure_file("${PROJECT_SOURCE_DIR}/cmake/${template}" "${PROJECT_BINARY_DIR}/${name}" @ONLY)
    install(FILES "${PROJECT_BINARY_DIR}/${name}" DESTINATION "${pkgconfig_dir}" COMPONENT ${component})
endfunction()

# ko_install_component(<component> <target> <description>): a library beside the two, with its headers in the folder
# `include` beside the caller. Other projects find it by find_package(koimproc COMPONENTS <component>) or by pkg-config
# under the target's name. It is packaged apart: what it links, not everybody wants.
function(ko_install_component component target description)
    install(
        TARGETS ${target}
        EXPORT koimproc-${component}
        LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT ${component} NAMELINK_COMPONENT ${component}_development
        INCLUDES DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")
    install(DIRECTORY "${CMAKE_CURRENT_SOURCE_DIR}/include/ko" DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}"
            COMPONENT ${component}_development)
    install(EXPORT koimproc-${component} NAMESPACE ko:: DESTINATION "${CMAKE_INSTALL_LIBDIR}/cmake/koimproc"
            COMPONENT ${component}_development)
    set(KO_COMPONENT_LIBRARY ${target})
    set(KO_COMPONENT_DESCRIPTION "${description}")
    ko_install_pkgconfig(component.pc.in ${target}.pc ${component}_development)
endfunction()
