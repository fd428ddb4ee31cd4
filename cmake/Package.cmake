# The software-centre listing, what Debian asks of every package (copyright, changelog, manual
# page), and the Debian package itself: CPack's DEB generator over everything the install rules
# write. scripts/package builds it from the release preset and checks it.
set(MIREO_HOMEPAGE_URL "https://pulse.example.com" CACHE STRING
    "The project's web page; its /screenshots/popover.png is the listing's screenshot")
set(MIREO_MAINTAINER "Mireo Pulse developers <pulse@example.com>" CACHE STRING
    "Maintainer of the Debian package: name <address>")

# Dates follow SOURCE_DATE_EPOCH when it is set (scripts/package sets the last commit's), so one
# commit always makes the same listing and changelog.
string(TIMESTAMP MIREO_RELEASE_DATE "%Y-%m-%d" UTC)
string(TIMESTAMP MIREO_CHANGELOG_DATE "%a, %d %b %Y %H:%M:%S +0000" UTC)

set(package_dir ${PROJECT_BINARY_DIR}/package-files)
configure_file(data/app.metainfo.xml.in ${package_dir}/${MIREO_APP_ID}.metainfo.xml @ONLY)
install(FILES ${package_dir}/${MIREO_APP_ID}.metainfo.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)

file(WRITE ${package_dir}/changelog
     "${MIREO_EXECUTABLE} (${PROJECT_VERSION}) unstable; urgency=medium\n\n"
     "  * Release ${PROJECT_VERSION}.\n\n"
     " -- ${MIREO_MAINTAINER}  ${MIREO_CHANGELOG_DATE}\n")
configure_file(data/package/manual.1 ${package_dir}/${MIREO_EXECUTABLE}.1 COPYONLY)
# Debian wants both compressed at the highest level and without a time stamp. Made while
# configuring, so an install after building only some targets finds them too.
foreach(file changelog ${MIREO_EXECUTABLE}.1)
  execute_process(COMMAND gzip -9nkf ${file} WORKING_DIRECTORY ${package_dir})
endforeach()
install(FILES ${package_dir}/${MIREO_EXECUTABLE}.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${package_dir}/changelog.gz data/package/copyright
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${MIREO_EXECUTABLE})

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ${MIREO_EXECUTABLE})
set(CPACK_PACKAGE_VENDOR Mireo)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/deb)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
# Installed through DESTDIR, so what the install rules write for the prefix (the bus service's
# binary) names /usr, not the staging folder.
set(CPACK_SET_DESTDIR ON)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "trading service's track record and your account in the panel")
set(CPACK_PACKAGE_DESCRIPTION [[
Mireo Pulse keeps the Mireo automated trading service in view: the public
book's return since start as a short title in the desktop's panel, and a
click away a popover with the numbers and a sparkline.

Once you sign in through your browser it also shows your own account,
notifies you of the daily decision, of fills and of the kill switch, and
lets you pause automatic execution. The session is kept in the desktop's
keychain (the Secret Service).

It comes with an applet for KDE Plasma panels, and prints its title for
waybar, polybar and i3blocks.]])
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER ${MIREO_MAINTAINER})
set(CPACK_DEBIAN_PACKAGE_SECTION misc)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE ${MIREO_HOMEPAGE_URL})
# The libraries come from dpkg-shlibdeps; Qt's platform plugins are loaded, not linked.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "qt6-qpa-plugins")
# A keychain keeps the session across restarts; a notification server shows the announcements.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "gnome-keyring | keepassxc | kwalletmanager, notification-daemon")
# Only GNOME Shell and Plasma use the panel extensions; the applet asks the bus through gdbus.
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "gnome-shell, plasma-workspace, libglib2.0-bin")
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ
    GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
include(CPack)
