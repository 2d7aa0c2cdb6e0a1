# SPDX-License-Identifier: LGPL-3.0-or-later
# The Debian package: `cpack -G DEB` in the build directory, or `make deb` at the top.
# Values reach CPack exactly as written here (the description's new lines, the regexes below).
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME vrxassist)
set(CPACK_PACKAGE_VENDOR OKAV)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(VRX_PACKAGE_MAINTAINER "OKAV <vrxassist@okav.example>" CACHE STRING
    "Maintainer field of the Debian package")
set(CPACK_PACKAGE_CONTACT "${VRX_PACKAGE_MAINTAINER}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "development assistant for VRX digitizer programs")
# Lines of 80 columns at most, which is what apt shows without wrapping.
set(CPACK_PACKAGE_DESCRIPTION
"VRXAssist is a desktop assistant for engineers who write acquisition programs
for VRX high-speed digitizers. One docked Qt window holds a log monitor that
programs stream their log to over loopback TCP and that plots their memory
live, a viewer for multi-gigabyte log files, a front end to the maker's
firmware updater tool, and a plot tool for raw sample files with FFT views.
The monitor client tools vrxdemo, vrxloadgen and vrxmonconsole are included.")
set(CPACK_STRIP_FILES ON)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
# Qt, Qwt and FFTW are found from the linked libraries; the Qt platform and image format
# plugins the program loads at run time come with libqt5gui5, which is already among them.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# "Open folder" in the updater's task list goes through xdg-open.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "xdg-utils")
# Only user-defined external applications are started in a terminal.
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "gnome-terminal")

# Packaging the sources is not how this project is released; keep builds and history out anyway.
set(CPACK_SOURCE_GENERATOR TXZ)
set(CPACK_SOURCE_IGNORE_FILES "/\\.git/" "/build[^/]*/")

include(CPack)
