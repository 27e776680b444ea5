# Debug data of the programs that users get. It stands in a file of its own beside the program, "NAME.debug", which the
# program names and which has the same build id: tools/crash-report turns addresses into functions and lines with it.
include_guard(GLOBAL)

# Functions, lines and inlined calls; release builds have none else.
if(CMAKE_BUILD_TYPE STREQUAL "Release" AND NOT WIN32)
    add_compile_options(-g1)
endif()

# vexo_split_debug_data(NAME): moves the debug data out of a program after it was linked; the names of its functions stay.
# "cmake --install" then installs a small program, and with "--component debug" its data. Programs with sanitizers keep
# theirs, which they read themselves.
function(vexo_split_debug_data name)
    if(WIN32 OR VEXO_SANITIZE)
        return()
    endif()
    target_link_options(${name} PRIVATE -Wl,--build-id)
    set(program "$<TARGET_FILE:${name}>")
    add_custom_command(TARGET ${name} POST_BUILD
        COMMAND "${CMAKE_OBJCOPY}" --only-keep-debug "${program}" "${program}.debug"
        COMMAND "${CMAKE_OBJCOPY}" --strip-debug "--add-gnu-debuglink=${program}.debug" "${program}"
        BYPRODUCTS "${name}.debug"
        VERBATIM)
    install(FILES "${program}.debug" DESTINATION lib/debug COMPONENT debug EXCLUDE_FROM_ALL)
endfunction()
