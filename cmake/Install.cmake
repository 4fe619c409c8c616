# `cmake --install build --prefix P`: a normal Linux layout. The programs go to P/bin and find
# their own files in P/share/pivotel (see support/places), so any prefix works. The bundle in
# build/ stays as it is for ./run.
include(GNUInstallDirs)
set(PIVOTEL_SHARE_DIR ${CMAKE_INSTALL_DATADIR}/pivotel)

install(TARGETS pivotel pivotel-cli RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT pivotel)
# The picture check's module, where the programs look for it: PREFIX/lib/pivotel.
install(TARGETS pivotel-look pivotel-pixels LIBRARY DESTINATION lib/pivotel COMPONENT pivotel)
install(FILES ${PIVOTEL_MANUAL} DESTINATION ${PIVOTEL_SHARE_DIR} COMPONENT pivotel)
# The bundled exiftool is its own component: a distribution's package leaves it out and depends
# on the system's exiftool instead.
install(DIRECTORY ${PIVOTEL_TOOL_DIR} DESTINATION ${PIVOTEL_SHARE_DIR} COMPONENT bundledtool
    USE_SOURCE_PERMISSIONS)

# The desktop: the entry, the AppStream metainfo and the icon in the hicolor theme.
install(FILES ${CMAKE_SOURCE_DIR}/Resources/com.zenthori.pivotel.desktop
    DESTINATION ${CMAKE_INSTALL_DATADIR}/applications COMPONENT pivotel)
install(FILES ${CMAKE_SOURCE_DIR}/Resources/com.zenthori.pivotel.metainfo.xml
    DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo COMPONENT pivotel)
install(FILES ${PIVOTEL_ICON_SOURCE} RENAME com.zenthori.pivotel.svg
    DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps COMPONENT pivotel)
foreach(size IN LISTS PIVOTEL_ICON_SIZES)
    install(FILES ${PIVOTEL_ICON_THEME_DIR}/${size}x${size}/apps/com.zenthori.pivotel.png
        DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/${size}x${size}/apps COMPONENT pivotel)
endforeach()

# The shell: man pages and bash completion.
install(FILES ${CMAKE_SOURCE_DIR}/Resources/man/pivotel.1 ${CMAKE_SOURCE_DIR}/Resources/man/pivotel-cli.1
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT pivotel)
install(FILES ${CMAKE_SOURCE_DIR}/Resources/pivotel-cli.bash RENAME pivotel-cli
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT pivotel)

# `cpack -G DEB` (run in build/): pivotel_3.6.4_amd64.deb. It leaves out the bundled exiftool
# and depends on Debian's.
set(CPACK_PACKAGE_NAME pivotel)
set(CPACK_PACKAGE_VENDOR Zenthori)
set(CPACK_PACKAGE_CONTACT "Zenthori <support@zenthori.com>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Turn JPEG photos in batches, losslessly or re-encoded")
set(CPACK_PACKAGE_DESCRIPTION
    "Pivotel turns JPEG photographs in batches, in place, by their EXIF orientation or by a\n\
chosen action: losslessly, by rearranging the compressed blocks, or by re-encoding them.\n\
Metadata is kept and no photo is ever left half written. The package holds the window\n\
(pivotel) and the command-line front end (pivotel-cli).")
set(CPACK_PACKAGE_HOMEPAGE_URL "https://${PIVOTEL_WEBSITE}/")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
# The build keeps its debug information; the package need not carry it.
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_CMAKE_PROJECTS "${CMAKE_BINARY_DIR};${PROJECT_NAME};pivotel;/")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE amd64)
# Debian 12's runtime packages of the libraries the programs link, and its exiftool.
set(CPACK_DEBIAN_PACKAGE_DEPENDS
    "libqt6core6 (>= 6.4), libqt6gui6 (>= 6.4), libqt6widgets6 (>= 6.4), libqt6dbus6 (>= 6.4), qt6-qpa-plugins, \
libturbojpeg0 (>= 1:2.1), libjpeg62-turbo (>= 1:2.1), libexempi8, libcurl4 (>= 7.16.2), \
libopencv-core406, libopencv-imgproc406, libopencv-objdetect406, libtesseract5, \
libimage-exiftool-perl, libc6 (>= 2.34), libstdc++6 (>= 12), libgcc-s1")
# The picture check's face and text models: without them the check says so and the rest works.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "opencv-data, tesseract-ocr-osd")
include(CPack)
