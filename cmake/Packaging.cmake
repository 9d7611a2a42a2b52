# The Debian package of what Install.cmake installs:
#   cpack --config build/default/CPackConfig.cmake
# builds vorda_VERSION-1_ARCH.deb. dpkg-shlibdeps finds the libraries the
# binaries link (Qt, ICU, SQLite, the C++ runtime); what they only run is
# declared here: git, which jj needs to fetch and push, and jj itself.
# Debian 12 has no jj package (jujutsu arrives in later releases), so it is
# recommended rather than required: the package installs, and its windows
# read repositories once a jj 0.39 or newer is on PATH. gh is for the pull
# request column.
set(VORDA_PACKAGE_MAINTAINER "Vorda maintainers <maintainers@vorda.invalid>"
  CACHE STRING "The Maintainer field of the Debian package")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME vorda)
set(CPACK_PACKAGE_VENDOR "Vorda developers")
set(CPACK_PACKAGE_CONTACT "${VORDA_PACKAGE_MAINTAINER}")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "bookmark-centric desktop client for jj")
set(CPACK_PACKAGE_DESCRIPTION "\
Vorda shows a Jujutsu (jj) repository as a board: a lane per bookmark with
its commits, a lane per workspace working copy, lanes for one-off work,
hidden bookmarks and a diff column. Rewrites are previewed, checked against
the jj operation they were planned on, verified and recorded.

The package holds the desktop application (vorda) and its headless front
end (vorda-cli), which drives a repository as a window does and speaks JSON.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SECTION vcs)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "git")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "jujutsu (>= 0.39)")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "gh")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
# The packaging folder: cpack's work and the .deb.
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/package)
# Lintian's overrides travel in the package.
install(FILES ${PROJECT_SOURCE_DIR}/packaging/lintian-overrides
  DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides RENAME vorda)
include(CPack)
