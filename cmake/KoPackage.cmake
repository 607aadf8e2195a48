# Debian packages, one per component: libkoimproc<SOVERSION> (both libraries), libkoimproc-dev,
# koimproc-tools; where they are built, python3-koimproc and the packages of cmake/KoPackageCamera.cmake
# and cmake/KoPackageGstreamer.cmake.
# `./dev package` builds them; the install prefix has to be /usr for the multiarch directories.
find_program(KO_GZIP gzip REQUIRED)

# Debian wants the changelog compressed without a time stamp.
set(changelog "${PROJECT_SOURCE_DIR}/packaging/changelog")
set(changelog_gz "${PROJECT_BINARY_DIR}/packaging/changelog.Debian.gz")
file(MAKE_DIRECTORY "${PROJECT_BINARY_DIR}/packaging")
add_custom_command(
    OUTPUT "${changelog_gz}"
    COMMAND "${KO_GZIP}" -9nc "${changelog}" > "${changelog_gz}"
    DEPENDS "${changelog}"
    VERBATIM)
add_custom_target(ko_package_documents ALL DEPENDS "${changelog_gz}")

set(library_package "libkoimproc${PROJECT_VERSION_MAJOR}")
set(packages "runtime:${library_package}" "development:libkoimproc-dev" "tools:koimproc-tools")
if(TARGET ko_python)
    list(APPEND packages "python:python3-koimproc")
endif()
if(TARGET kocamera)
    list(APPEND packages "camera:libkocamera${PROJECT_VERSION_MAJOR}" "camera_development:libkocamera-dev")
endif()
if(TARGET kogstreamer)
    list(APPEND packages "gstreamer:libkogstreamer${PROJECT_VERSION_MAJOR}" "gstreamer_development:libkogstreamer-dev"
         "gstreamer_plugin:gstreamer1.0-koimproc")
endif()
set(CPACK_COMPONENTS_ALL "")
foreach(pair IN LISTS packages)
    string(REGEX MATCH "^([^:]+):(.+)$" ignored "${pair}")
    list(APPEND CPACK_COMPONENTS_ALL ${CMAKE_MATCH_1})
    set(documents "${CMAKE_INSTALL_DATAROOTDIR}/doc/${CMAKE_MATCH_2}")
    install(FILES "${changelog_gz}" DESTINATION "${documents}" COMPONENT ${CMAKE_MATCH_1})
    install(FILES "${PROJECT_SOURCE_DIR}/LICENCE"
            DESTINATION "${documents}"
            RENAME copyright
            COMPONENT ${CMAKE_MATCH_1})
endforeach()
# One package for two libraries that are always used together.
install(FILES "${PROJECT_SOURCE_DIR}/packaging/lintian-overrides"
        DESTINATION "${CMAKE_INSTALL_DATAROOTDIR}/lintian/overrides"
        RENAME "${library_package}"
        COMPONENT runtime)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME koimproc)
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGE_CONTACT "koimproc developers <koimproc@lists.example.com>")
# Each component's text brings its own first line.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGING_INSTALL_PREFIX "${CMAKE_INSTALL_PREFIX}")
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE
                                                WORLD_READ WORLD_EXECUTE)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${PROJECT_BINARY_DIR}/src" "${PROJECT_BINARY_DIR}/camera"
                                                "${PROJECT_BINARY_DIR}/gstreamer")
if(CMAKE_CROSSCOMPILING)
    set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE arm64)
    file(REAL_PATH "${CMAKE_SYSROOT}" CPACK_KO_SYSROOT)
    foreach(folder usr/lib lib)
        list(APPEND CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
             "${CPACK_KO_SYSROOT}/${folder}/${CMAKE_LIBRARY_ARCHITECTURE}")
    endforeach()
    set(CPACK_PROJECT_CONFIG_FILE "${PROJECT_SOURCE_DIR}/cmake/KoPackageCross.cmake")
endif()
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
# What packages built against the libraries will depend on.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

set(full_version "${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}")
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
    "image-processing operations for camera images\n\
Exact and fast operations on 8 and 16 bit mono, colour and raw Bayer frames:\n\
statistics, tone, thresholds, filters, demosaicing, a frame pipeline.\n\
This package holds the shared libraries.")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME "${library_package}")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA "${PROJECT_SOURCE_DIR}/packaging/triggers")

set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
    "image-processing operations for camera images (development)\n\
Exact and fast operations on 8 and 16 bit mono, colour and raw Bayer frames.\n\
This package holds the headers, the CMake package and the pkg-config file.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libkoimproc-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${library_package} (= ${full_version}), ${KO_QT_PACKAGE}")

set(CPACK_COMPONENT_TOOLS_DESCRIPTION
    "image-processing operations for camera images (tool)\n\
The command ko applies the operations of koimproc to image files and camera\n\
raws, one by one, by recipe or as a stream of frames.")
set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME koimproc-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SHLIBDEPS ON)
# dpkg-shlibdeps cannot know a package that is not installed, so this one is named by hand.
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${library_package} (>= ${full_version})")
if(TARGET ko_live)
    # For ko live and ko cameras, which say so where these are missing.
    set(CPACK_DEBIAN_TOOLS_PACKAGE_RECOMMENDS
        "libkocamera${PROJECT_VERSION_MAJOR}, libkogstreamer${PROJECT_VERSION_MAJOR}")
endif()

set(CPACK_COMPONENT_PYTHON_DESCRIPTION
    "image-processing operations for camera images (Python)\n\
Exact and fast operations on 8 and 16 bit mono, colour and raw Bayer frames,\n\
for NumPy arrays: statistics, tone, thresholds, filters, demosaicing.")
set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-koimproc)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SHLIBDEPS ON)
# The extension is for one version of Python.
if(TARGET ko_python)
    set(python_version "${Python3_VERSION_MAJOR}.${Python3_VERSION_MINOR}")
    math(EXPR next_minor "${Python3_VERSION_MINOR} + 1")
    set(python_range "python3 (>= ${python_version}~), python3 (<< ${Python3_VERSION_MAJOR}.${next_minor})")
    set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "${library_package} (= ${full_version}), ${python_range}, python3-numpy")
endif()
# For koimproc.series and koimproc-series: engine, tool and file formats. Reads and writes files.
set(CPACK_DEBIAN_PYTHON_PACKAGE_RECOMMENDS "python3-dask, python3-distributed, python3-tifffile, koimproc-tools")
set(CPACK_DEBIAN_PYTHON_PACKAGE_SUGGESTS "python3-astropy, python3-h5py, python3-openimageio, python3-zarr")
set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA "${PROJECT_SOURCE_DIR}/packaging/python/postinst;\
${PROJECT_SOURCE_DIR}/packaging/python/prerm")
if(TARGET kocamera)
    include(KoPackageCamera)
endif()
if(TARGET kogstreamer)
    include(KoPackageGstreamer)
endif()
include(CPack)
