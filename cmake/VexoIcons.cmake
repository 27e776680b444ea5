# The pictures of a QML module. Its icons lie on a grid of 24 units, drawn with a round stroke of 1.5 units in white;
# what is shown much smaller than the grid (ticks, arrows in lists) or has a single mark has a thicker one.
include_guard(GLOBAL)

# vexo_icons(VARIABLE): the files of the folder icons/, for RESOURCES of qt_add_qml_module.
#
# Where Qt has no SVG format (the Qt for Windows of the preset windows), each vector picture is rendered to a bitmap
# of four times its size, which stands under the same name: Qt looks into a file for its format, and the documents
# ask for the size that they show.
function(vexo_icons variable)
    file(GLOB pictures CONFIGURE_DEPENDS RELATIVE "${CMAKE_CURRENT_SOURCE_DIR}" icons/*.svg icons/*.png)
    if(NOT CMAKE_CROSSCOMPILING)
        set(${variable} ${pictures} PARENT_SCOPE)
        return()
    endif()
    find_program(RSVG_CONVERT rsvg-convert REQUIRED)
    set(result)
    foreach(picture IN LISTS pictures)
        if(NOT picture MATCHES "\\.svg$")
            list(APPEND result "${picture}")
            continue()
        endif()
        set(bitmap "${CMAKE_CURRENT_BINARY_DIR}/${picture}")
        get_filename_component(folder "${bitmap}" DIRECTORY)
        file(MAKE_DIRECTORY "${folder}")
        add_custom_command(OUTPUT "${bitmap}"
            COMMAND "${RSVG_CONVERT}" --zoom=4 --format=png "--output=${bitmap}" "${CMAKE_CURRENT_SOURCE_DIR}/${picture}"
            DEPENDS "${picture}"
            VERBATIM)
        set_source_files_properties("${bitmap}" PROPERTIES QT_RESOURCE_ALIAS "${picture}")
        list(APPEND result "${bitmap}")
    endforeach()
    set(${variable} ${result} PARENT_SCOPE)
endfunction()
