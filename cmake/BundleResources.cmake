# What the build makes for the bundle's Resources from the sources in Resources/: the icon
# (App.icns, the theme's PNGs, the window icon compiled into the program) and the manual's PDF.
set(PIVOTEL_ICON_SOURCE ${CMAKE_SOURCE_DIR}/Resources/icons/pivotel.svg)
set(PIVOTEL_ICNS ${PIVOTEL_RESOURCES_DIR}/App.icns)
# A later step installs these into the desktop's hicolor icon theme.
set(PIVOTEL_ICON_THEME_DIR ${CMAKE_BINARY_DIR}/icons/hicolor)
set(PIVOTEL_ICON_SIZES 16 24 32 48 64 128 256 512)
set(icon_pngs)
foreach(size IN LISTS PIVOTEL_ICON_SIZES)
    list(APPEND icon_pngs ${PIVOTEL_ICON_THEME_DIR}/${size}x${size}/apps/com.zenthori.pivotel.png)
endforeach()
add_custom_command(
    OUTPUT ${PIVOTEL_ICNS} ${icon_pngs}
    COMMAND makeicons ${PIVOTEL_ICON_SOURCE} ${PIVOTEL_ICNS} ${PIVOTEL_ICON_THEME_DIR}
    DEPENDS makeicons ${PIVOTEL_ICON_SOURCE}
    COMMENT "Drawing the icons"
    VERBATIM)

set(PIVOTEL_MANUAL_SOURCE ${CMAKE_SOURCE_DIR}/Resources/manual/pivotel.md)
set(PIVOTEL_MANUAL ${PIVOTEL_RESOURCES_DIR}/pivotel.pdf)
file(GLOB manual_pictures ${CMAKE_SOURCE_DIR}/Resources/manual/*.png)
add_custom_command(
    OUTPUT ${PIVOTEL_MANUAL}
    COMMAND makemanual ${PIVOTEL_MANUAL_SOURCE} ${PIVOTEL_MANUAL}
    DEPENDS makemanual ${PIVOTEL_MANUAL_SOURCE} ${manual_pictures}
    COMMENT "Writing the manual"
    VERBATIM)
add_custom_target(bundle_resources ALL DEPENDS ${PIVOTEL_ICNS} ${PIVOTEL_MANUAL})

# The window icon, compiled into the program.
add_library(pivotel_appicon STATIC)
qt_add_resources(pivotel_appicon appicon PREFIX /icons BASE ${PIVOTEL_ICON_THEME_DIR} FILES ${icon_pngs})
target_link_libraries(pivotel_appicon PUBLIC Qt6::Core)
