# What makes a mistake in the program hard to exploit: on for every preset, so that the tests run what users run. The
# sanitizer presets take the library's checks alone: their own ones stand in the way of the rest.
#
# docs/architecture.md lists what each system gets; tests read it back from the built files.
include_guard(GLOBAL)
include(CheckPIESupported)

# vexo_compile_hardened(OPTION...): for C++ only, since other languages of a target know other options.
function(vexo_compile_hardened)
    foreach(option IN LISTS ARGN)
        add_compile_options("$<$<COMPILE_LANGUAGE:CXX>:${option}>")
    endforeach()
endfunction()

if(MSVC)
    vexo_compile_hardened(/GS /guard:cf)
    # The older of the two names is that of the libraries before Visual Studio 2022 17.14.
    add_compile_definitions(_MSVC_STL_HARDENING=1 _CONTAINER_DEBUG_LEVEL=1)
    add_link_options(/GUARD:CF /CETCOMPAT /DYNAMICBASE /HIGHENTROPYVA /NXCOMPAT)
    return()
endif()

# The indices and the state of the library's containers, views and pointers; in libstdc++ and in libc++. MinGW-w64's
# libstdc++ goes without: there a thread that waits for an atomic value waits in an object that the end of the process
# destroys, and the check of that would end each process with an error.
add_compile_definitions(_LIBCPP_HARDENING_MODE=_LIBCPP_HARDENING_MODE_FAST)
if(NOT WIN32)
    add_compile_definitions(_GLIBCXX_ASSERTIONS)
endif()
if(VEXO_SANITIZE)
    return()
endif()

vexo_compile_hardened(-fstack-protector-strong)
# The sizes of the C library's copies are checked in optimised code only; elsewhere the macro is a warning.
set(optimised "$<CONFIG:Release,RelWithDebInfo,MinSizeRel>")
vexo_compile_hardened("$<${optimised}:-U_FORTIFY_SOURCE>" "$<${optimised}:-D_FORTIFY_SOURCE=3>")

if(WIN32)
    # MinGW-w64. Its calls touch each page of a large frame anyway. It knows neither Control Flow Guard nor the mark for
    # shadow stacks. The linker takes the stack protector's library where it sees the option.
    add_link_options(-fstack-protector-strong LINKER:--dynamicbase LINKER:--high-entropy-va LINKER:--nxcompat)
    return()
endif()

vexo_compile_hardened(-fstack-clash-protection)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|i.86)$")
    vexo_compile_hardened(-fcf-protection=full)
elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "^(aarch64|arm64)$")
    vexo_compile_hardened(-mbranch-protection=standard)
endif()
# An executable is linked as position independent only where this has been called.
check_pie_supported(LANGUAGES CXX)
add_link_options(LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack)
