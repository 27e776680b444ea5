# The texts of the program in its languages.
include_guard(GLOBAL)

# vexo_translations(TARGET): compiles translations/VexoDeck_<code>.ts and puts the results into the resources of the
# library, under ":/translations".
function(vexo_translations target)
    # Qt's tools are not on the path in every distribution, and for Windows those of the build environment serve.
    find_program(VEXO_LRELEASE NAMES lrelease lrelease6
        HINTS "${QT_HOST_PATH}/lib/qt6/bin" "${QT6_INSTALL_PREFIX}/${QT6_INSTALL_BINS}"
        REQUIRED)
    file(GLOB sources CONFIGURE_DEPENDS "${CMAKE_SOURCE_DIR}/translations/VexoDeck_*.ts")
    set(results)
    foreach(source IN LISTS sources)
        get_filename_component(name "${source}" NAME_WE)
        set(result "${CMAKE_CURRENT_BINARY_DIR}/translations/${name}.qm")
        add_custom_command(OUTPUT "${result}"
            COMMAND "${VEXO_LRELEASE}" -silent "${source}" -qm "${result}"
            DEPENDS "${source}"
            VERBATIM)
        list(APPEND results "${result}")
    endforeach()
    file(MAKE_DIRECTORY "${CMAKE_CURRENT_BINARY_DIR}/translations")
    qt_add_resources(${target} translations PREFIX "/" BASE "${CMAKE_CURRENT_BINARY_DIR}" FILES ${results})
endfunction()
