# The Debian packages of the library of live cameras, and its development files.
set(CPACK_COMPONENT_CAMERA_DESCRIPTION
    "image-processing operations for camera images (live cameras)\n\
A source for the frame pipeline of koimproc that takes the frames of GigE\n\
Vision and USB3 Vision cameras without copying them.\n\
This package holds the shared library.")
set(CPACK_DEBIAN_CAMERA_PACKAGE_NAME "libkocamera${PROJECT_VERSION_MAJOR}")
set(CPACK_DEBIAN_CAMERA_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_CAMERA_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_CAMERA_PACKAGE_DEPENDS "${library_package} (= ${full_version})")
set(CPACK_DEBIAN_CAMERA_PACKAGE_CONTROL_EXTRA "${PROJECT_SOURCE_DIR}/packaging/triggers")
install(FILES "${PROJECT_SOURCE_DIR}/packaging/lintian-overrides-camera"
        DESTINATION "${CMAKE_INSTALL_DATAROOTDIR}/lintian/overrides"
        RENAME "${CPACK_DEBIAN_CAMERA_PACKAGE_NAME}"
        COMPONENT camera)

set(CPACK_COMPONENT_CAMERA_DEVELOPMENT_DESCRIPTION
    "image-processing operations for camera images (live cameras, development)\n\
A source for the frame pipeline of koimproc that takes the frames of GigE\n\
Vision and USB3 Vision cameras without copying them.\n\
This package holds the header, the CMake files and the pkg-config file.")
set(CPACK_DEBIAN_CAMERA_DEVELOPMENT_PACKAGE_NAME libkocamera-dev)
set(CPACK_DEBIAN_CAMERA_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_CAMERA_DEVELOPMENT_PACKAGE_DEPENDS
    "${CPACK_DEBIAN_CAMERA_PACKAGE_NAME} (= ${full_version}), libkoimproc-dev (= ${full_version})")
