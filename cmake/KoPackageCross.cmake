# What cpack reads before it makes packages for another architecture: dpkg-shlibdeps is to look into the tree that the
# programs were linked with, whose package database tools/arm64 has made.
set(ENV{DEB_HOST_ARCH} "${CPACK_DEBIAN_PACKAGE_ARCHITECTURE}")
set(ENV{DPKG_ADMINDIR} "${CPACK_KO_SYSROOT}/var/lib/dpkg")
