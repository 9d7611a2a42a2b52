# What `cmake --install` puts in place, under CMAKE_INSTALL_PREFIX by the
# GNU directory conventions: the two commands, the application's helper in
# the libexec folder (InstallDirs.cmake), the desktop entry that also
# registers the vorda: address scheme, the icon as SVG and PNG, the AppStream
# metadata, a manual page for each command and the bash completion of
# vorda-cli. The manual pages and the completion are made from the
# programs' own --help when they are built, so they follow the help texts.
set(VORDA_APPSTREAM_ID dev.kelmar.vorda)
set(vorda_packaging ${PROJECT_SOURCE_DIR}/packaging)
set(vorda_generated ${PROJECT_BINARY_DIR}/packaging)
set(vorda_made_files)

install(TARGETS vorda vorda-cli RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(TARGETS vorda-diff-apply RUNTIME DESTINATION ${VORDA_INSTALL_HELPERDIR})
install(FILES ${vorda_packaging}/vorda.desktop
  DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES ${vorda_packaging}/vorda.metainfo.xml
  DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo RENAME ${VORDA_APPSTREAM_ID}.metainfo.xml)
install(FILES ${vorda_packaging}/vorda.svg
  DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)

# The PNG sizes of the icon, drawn from the SVG (librsvg2-bin).
find_program(VORDA_RSVG_CONVERT rsvg-convert)
if(VORDA_RSVG_CONVERT)
  foreach(size 16 22 24 32 48 64 128 256 512)
    set(png ${vorda_generated}/icons/${size}x${size}/vorda.png)
    add_custom_command(OUTPUT ${png}
      COMMAND ${CMAKE_COMMAND} -E make_directory ${vorda_generated}/icons/${size}x${size}
      COMMAND ${VORDA_RSVG_CONVERT} -w ${size} -h ${size} -o ${png} ${vorda_packaging}/vorda.svg
      DEPENDS ${vorda_packaging}/vorda.svg VERBATIM)
    list(APPEND vorda_made_files ${png})
    install(FILES ${png} DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/${size}x${size}/apps)
  endforeach()
else()
  message(WARNING "rsvg-convert (librsvg2-bin) not found: the installation has the SVG icon only")
endif()

# A manual page per command, gzipped as Debian wants it.
foreach(program vorda vorda-cli)
  set(page ${vorda_generated}/man/${program}.1)
  add_custom_command(OUTPUT ${page}.gz
    COMMAND ${CMAKE_COMMAND} -E make_directory ${vorda_generated}/man
    COMMAND sh ${vorda_packaging}/make-manual-page.sh $<TARGET_FILE:${program}>
      ${PROJECT_VERSION} ${page}
    COMMAND gzip -9nf ${page}
    DEPENDS ${program} ${vorda_packaging}/make-manual-page.sh VERBATIM)
  list(APPEND vorda_made_files ${page}.gz)
  install(FILES ${page}.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
endforeach()

set(completion ${vorda_generated}/completions/vorda-cli)
add_custom_command(OUTPUT ${completion}
  COMMAND ${CMAKE_COMMAND} -E make_directory ${vorda_generated}/completions
  COMMAND sh ${vorda_packaging}/make-bash-completion.sh $<TARGET_FILE:vorda-cli> ${completion}
  DEPENDS vorda-cli ${vorda_packaging}/make-bash-completion.sh VERBATIM)
list(APPEND vorda_made_files ${completion})
install(FILES ${completion} DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)

# The package's own documents: the copyright and the Debian changelog.
set(changelog ${vorda_generated}/doc/changelog.Debian)
add_custom_command(OUTPUT ${changelog}.gz
  COMMAND ${CMAKE_COMMAND} -E make_directory ${vorda_generated}/doc
  COMMAND ${CMAKE_COMMAND} -E copy ${vorda_packaging}/changelog.Debian ${changelog}
  COMMAND gzip -9nf ${changelog}
  DEPENDS ${vorda_packaging}/changelog.Debian VERBATIM)
list(APPEND vorda_made_files ${changelog}.gz)
install(FILES ${vorda_packaging}/copyright ${changelog}.gz
  DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/vorda)

add_custom_target(vorda_install_files ALL DEPENDS ${vorda_made_files})

# Each program prints the project's version (and needs no display for it).
if(BUILD_TESTING)
  foreach(program vorda vorda-cli vorda-diff-apply)
    add_test(NAME version.${program} COMMAND ${program} --version)
    string(REPLACE "." "\\." version_pattern ${PROJECT_VERSION})
    set_tests_properties(version.${program} PROPERTIES LABELS packaging
      ENVIRONMENT "DISPLAY=;WAYLAND_DISPLAY=;QT_QPA_PLATFORM="
      PASS_REGULAR_EXPRESSION "^${program} ${version_pattern}\n$")
  endforeach()
endif()
