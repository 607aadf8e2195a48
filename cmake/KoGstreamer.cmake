# What links GStreamer, where its development files are found: the library kogstreamer and the plugin.
find_package(PkgConfig QUIET)
if(PKG_CONFIG_FOUND)
    pkg_check_modules(KO_GSTREAMER QUIET IMPORTED_TARGET gstreamer-1.0>=1.22 gstreamer-base-1.0>=1.22
                      gstreamer-video-1.0>=1.22)
endif()
if(KO_GSTREAMER_FOUND)
    add_subdirectory(gstreamer)
else()
    message(STATUS "No GStreamer source and elements: they need libgstreamer-plugins-base1.0-dev (KO_WITH_GSTREAMER=OFF \
says so in advance)")
endif()
