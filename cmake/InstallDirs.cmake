# Where an installation puts things (GNUInstallDirs, so CMAKE_INSTALL_PREFIX
# and the distribution's conventions decide). The application's helper
# vorda-diff-apply is no command for people: it lies in the libexec folder,
# and the application finds it there by the path relative to its own.
include(GNUInstallDirs)
set(VORDA_INSTALL_HELPERDIR ${CMAKE_INSTALL_LIBEXECDIR}/vorda)
file(RELATIVE_PATH VORDA_DIFF_APPLY_FROM_BINDIR ${CMAKE_INSTALL_FULL_BINDIR}
  ${CMAKE_INSTALL_PREFIX}/${VORDA_INSTALL_HELPERDIR}/vorda-diff-apply)
