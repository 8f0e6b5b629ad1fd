# The Debian package, made from an install of the build by `cpack --preset
# release` (or `cpack -G DEB` in the build folder). Its Depends are what
# dpkg-shlibdeps finds the programs linked against, and beside them what the
# app loads at run time where no linker sees it: the QML modules of its views
# and Qt's platform plugins.

set(TESSEL_MAINTAINER "Tessel Works <support@tesselworks.com>")
set(packageDocs ${CMAKE_INSTALL_DATADIR}/doc/tessel)

# Debian's changelog, dated the day this version was released.
execute_process(COMMAND date -u -R -d "${TESSEL_RELEASE_DATE} 12:00"
  OUTPUT_VARIABLE RELEASE_DATE_RFC2822 OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
configure_file(packaging/changelog.in packaging/changelog @ONLY)
tessel_compressed_page(${CMAKE_BINARY_DIR}/packaging/changelog packageChangelog)
add_custom_target(package-changelog ALL DEPENDS ${packageChangelog})
install(FILES ${packageChangelog} DESTINATION ${packageDocs})
install(FILES packaging/copyright DESTINATION ${packageDocs})
install(FILES packaging/lintian-overrides DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides RENAME tessel)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tessel)
set(CPACK_PACKAGE_VENDOR "Tessel Works")
set(CPACK_PACKAGE_CONTACT "${TESSEL_MAINTAINER}")
set(CPACK_PACKAGE_HOMEPAGE_URL https://tesselworks.com)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "see where a disk's space goes, and win it back safely")
set(CPACK_PACKAGE_DESCRIPTION [[
Tessel scans a disk or a folder and shows where its space goes, as a map of
cards, a treemap, lists or columns. Around the map it finds what can go:
large files, identical files, caches, logs and build outputs, old installers,
apps with what they left behind, and what removed apps left.

Nothing is ever deleted: what goes is moved to the Trash, past a guard that
keeps the system and synced folders safe, and can be put back. The package
holds the desktop app, tessel-app, and the command-line tool, tessel, which
runs without a display.]])
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
string(JOIN ", " CPACK_DEBIAN_PACKAGE_DEPENDS
  qt6-qpa-plugins
  qml6-module-qtqml qml6-module-qtqml-models qml6-module-qtqml-workerscript
  qml6-module-qtquick qml6-module-qtquick-controls qml6-module-qtquick-templates
  qml6-module-qtquick-layouts qml6-module-qtquick-window qml6-module-qtquick-dialogs
  qml6-module-qtquick-shapes qml6-module-qt-labs-settings)
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "qt6-wayland, fonts-inter")

include(CPack)
