# Copies Debian's exiftool and its Perl library into the bundle, so that
# Resources/exiftool/exiftool runs from there ("lib" beside the script is on its @INC).
find_program(PIVOTEL_EXIFTOOL_SOURCE exiftool REQUIRED)
find_program(PIVOTEL_PERL perl REQUIRED)
execute_process(
    COMMAND ${PIVOTEL_PERL} -MImage::ExifTool -e [[print $INC{'Image/ExifTool.pm'}]]
    OUTPUT_VARIABLE exiftool_pm RESULT_VARIABLE perl_result)
if(NOT perl_result EQUAL 0)
    message(FATAL_ERROR "Perl can't find Image::ExifTool (Debian package libimage-exiftool-perl)")
endif()
get_filename_component(exiftool_perl_root ${exiftool_pm} DIRECTORY) # .../perl5/Image
get_filename_component(exiftool_perl_root ${exiftool_perl_root} DIRECTORY) # .../perl5

set(PIVOTEL_TOOL_DIR ${PIVOTEL_RESOURCES_DIR}/exiftool)
set(PIVOTEL_TOOLFILE ${PIVOTEL_TOOL_DIR}/exiftool)
add_custom_command(
    OUTPUT ${PIVOTEL_TOOLFILE}
    COMMAND ${CMAKE_COMMAND} -E remove_directory ${PIVOTEL_TOOL_DIR}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${PIVOTEL_TOOL_DIR}/lib/Image ${PIVOTEL_TOOL_DIR}/lib/File
    COMMAND ${CMAKE_COMMAND} -E copy ${exiftool_perl_root}/Image/ExifTool.pm ${PIVOTEL_TOOL_DIR}/lib/Image/
    COMMAND ${CMAKE_COMMAND} -E copy_directory ${exiftool_perl_root}/Image/ExifTool ${PIVOTEL_TOOL_DIR}/lib/Image/ExifTool
    COMMAND ${CMAKE_COMMAND} -E copy ${exiftool_perl_root}/File/RandomAccess.pm ${PIVOTEL_TOOL_DIR}/lib/File/
    COMMAND ${CMAKE_COMMAND} -E copy ${PIVOTEL_EXIFTOOL_SOURCE} ${PIVOTEL_TOOLFILE}
    DEPENDS ${PIVOTEL_EXIFTOOL_SOURCE} ${exiftool_pm}
    COMMENT "Copying exiftool into the bundle"
    VERBATIM)
add_custom_target(bundle_exiftool ALL DEPENDS ${PIVOTEL_TOOLFILE})
