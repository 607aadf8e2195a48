# The Debian packages of what links GStreamer: library, its development files, plugin.
set(CPACK_COMPONENT_GSTREAMER_DESCRIPTION
    "image-processing operations for camera images (frames from GStreamer)\n\
A source for the frame pipeline of koimproc that runs any GStreamer pipeline.\n\
This package holds the shared library.")
set(CPACK_DEBIAN_GSTREAMER_PACKAGE_NAME "libkogstreamer${PROJECT_VERSION_MAJOR}")
set(CPACK_DEBIAN_GSTREAMER_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_GSTREAMER_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_GSTREAMER_PACKAGE_DEPENDS "${library_package} (= ${full_version})")
set(CPACK_DEBIAN_GSTREAMER_PACKAGE_RECOMMENDS "gstreamer1.0-plugins-base, gstreamer1.0-plugins-good")
set(CPACK_DEBIAN_GSTREAMER_PACKAGE_CONTROL_EXTRA "${PROJECT_SOURCE_DIR}/packaging/triggers")
install(FILES "${PROJECT_SOURCE_DIR}/packaging/lintian-overrides-gstreamer"
        DESTINATION "${CMAKE_INSTALL_DATAROOTDIR}/lintian/overrides"
        RENAME "${CPACK_DEBIAN_GSTREAMER_PACKAGE_NAME}"
        COMPONENT gstreamer)

set(CPACK_COMPONENT_GSTREAMER_DEVELOPMENT_DESCRIPTION
    "image-processing operations for camera images (GStreamer, development)\n\
A source for the frame pipeline of koimproc that runs any GStreamer pipeline.\n\
This package holds the header, the CMake files and the pkg-config file.")
set(CPACK_DEBIAN_GSTREAMER_DEVELOPMENT_PACKAGE_NAME libkogstreamer-dev)
set(CPACK_DEBIAN_GSTREAMER_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_GSTREAMER_DEVELOPMENT_PACKAGE_DEPENDS
    "${CPACK_DEBIAN_GSTREAMER_PACKAGE_NAME} (= ${full_version}), libkoimproc-dev (= ${full_version})")

set(CPACK_COMPONENT_GSTREAMER_PLUGIN_DESCRIPTION
    "image-processing operations for camera images (GStreamer plugin)\n\
Elements for raw frames of 8 to 16 bits: kodemosaic makes colour pictures,\n\
koflatfield takes out the shading of lens and sensor, kostats tells levels and\n\
sharpness.")
set(CPACK_DEBIAN_GSTREAMER_PLUGIN_PACKAGE_NAME gstreamer1.0-koimproc)
set(CPACK_DEBIAN_GSTREAMER_PLUGIN_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_GSTREAMER_PLUGIN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_GSTREAMER_PLUGIN_PACKAGE_DEPENDS "${library_package} (= ${full_version})")
