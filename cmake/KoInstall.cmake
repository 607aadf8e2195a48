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

    # Relative, so that the installed tree may be moved or installed with another --prefix.
    set(pkgconfig_dir "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
    file(RELATIVE_PATH KO_PREFIX_FROM_PKGCONFIG "/prefix/${pkgconfig_dir}" "/prefix")
    string(REGEX REPLACE "/$" "" KO_PREFIX_FROM_PKGCONFIG "${KO_PREFIX_FROM_PKGCONFIG}")
    configure_file("${PROJECT_SOURCE_DIR}/cmake/koimproc.pc.in" "${PROJECT_BINARY_DIR}/koimproc.pc" @ONLY)
    install(FILES "${PROJECT_BINARY_DIR}/koimproc.pc" DESTINATION "${pkgconfig_dir}")
endfunction()
