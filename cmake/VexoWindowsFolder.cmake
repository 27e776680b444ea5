# What stands in the program's folder on Windows, for "cmake --install" and for CPack, which packs it as a zip.
install(TARGETS VexoDeck RUNTIME DESTINATION .)

if(CMAKE_CROSSCOMPILING)
    # Of Qt: the plugins, QML modules and texts that the program loads by name, and a file that says where they are.
    set(qt "${QT6_INSTALL_PREFIX}")
    set(plugins imageformats multimedia platforms sqldrivers styles tls)
    foreach(plugin IN LISTS plugins)
        install(DIRECTORY "${qt}/plugins/${plugin}" DESTINATION plugins FILES_MATCHING PATTERN "*.dll")
    endforeach()
    install(DIRECTORY "${qt}/qml/QtQml" "${qt}/qml/QtQuick" DESTINATION qml
        PATTERN "*.qmltypes" EXCLUDE
        PATTERN "designer" EXCLUDE
        PATTERN "tooling" EXCLUDE
        PATTERN "Imagine" EXCLUDE
        PATTERN "Universal" EXCLUDE
        PATTERN "NativeStyle" EXCLUDE
        PATTERN "Windows" EXCLUDE)
    # Not every Qt for Windows has them.
    if(EXISTS "${qt}/${QT6_INSTALL_TRANSLATIONS}")
        install(DIRECTORY "${qt}/${QT6_INSTALL_TRANSLATIONS}/" DESTINATION translations
            FILES_MATCHING PATTERN "qt_*.qm" PATTERN "qtbase_*.qm")
    endif()
    file(CONFIGURE OUTPUT "${CMAKE_CURRENT_BINARY_DIR}/qt.conf" CONTENT "[Paths]\nPrefix=.\nPlugins=plugins\nQmlImports=qml\n")
    install(FILES "${CMAKE_CURRENT_BINARY_DIR}/qt.conf" DESTINATION .)

    # And every DLL that one of these asks for and the system does not bring.
    execute_process(COMMAND "${CMAKE_CXX_COMPILER}" -print-file-name=libstdc++-6.dll
        OUTPUT_VARIABLE compilerLibrary OUTPUT_STRIP_TRAILING_WHITESPACE)
    execute_process(COMMAND "${CMAKE_CXX_COMPILER}" -print-file-name=libwinpthread-1.dll
        OUTPUT_VARIABLE threadLibrary OUTPUT_STRIP_TRAILING_WHITESPACE)
    get_filename_component(compilerFolder "${compilerLibrary}" DIRECTORY)
    get_filename_component(threadFolder "${threadLibrary}" REALPATH)
    get_filename_component(threadFolder "${threadFolder}" DIRECTORY)
    set(VEXO_LIBRARY_FOLDERS "${compilerFolder};${threadFolder};${qt}/bin;${CMAKE_SOURCE_DIR}/build/windows-sdk/audio-hid/bin")
    configure_file("${CMAKE_SOURCE_DIR}/cmake/VexoWindowsLibraries.cmake.in" VexoWindowsLibraries.cmake @ONLY)
    install(SCRIPT "${CMAKE_CURRENT_BINARY_DIR}/VexoWindowsLibraries.cmake")
else()
    qt_generate_deploy_qml_app_script(TARGET VexoDeck OUTPUT_SCRIPT deployScript)
    install(SCRIPT "${deployScript}")
endif()

set(CPACK_GENERATOR ZIP)
set(CPACK_PACKAGE_NAME VexoDeck)
set(CPACK_PACKAGE_VENDOR VEXO)
set(CPACK_PACKAGE_FILE_NAME "VexoDeck-${PROJECT_VERSION}-windows-x64")
include(CPack)
