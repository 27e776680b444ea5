# What every target of this project has in common, and the functions that declare targets and tests.
include_guard(GLOBAL)
include(GoogleTest)

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

# Set by the presets asan and tsan: the value of -fsanitize.
set(VEXO_SANITIZE "" CACHE STRING "sanitizers to build with, as in -fsanitize=")
option(VEXO_FUZZERS "build the libFuzzer targets (clang only)" OFF)
option(VEXO_COVERAGE "count which lines a program reaches (clang only)" OFF)
include(VexoHardening)

add_library(vexo_options INTERFACE)
if(MSVC)
    # clang-cl, which takes Microsoft's words and ABI.
    target_compile_options(vexo_options INTERFACE /W4 /permissive- /utf-8 /Zc:__cplusplus /clang:-ffp-contract=off)
    # The Windows SDK's macros of these names hide the library's functions.
    target_compile_definitions(vexo_options INTERFACE NOMINMAX)
else()
    target_compile_options(vexo_options INTERFACE
        -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Werror
        # COM's interfaces have no virtual destructor: their objects end by Release().
        $<$<NOT:$<PLATFORM_ID:Windows>>:-Wnon-virtual-dtor>
        # In a unity build every source is an included file to GCC, where fixtures in unnamed namespaces look wrong.
        $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage>
        # GCC 14 sees overflows in the inlined insides of std::vector::insert that are not there.
        $<$<CXX_COMPILER_ID:GNU>:-Wno-stringop-overflow>
        # Audio results equal their scalar definition bit for bit.
        -ffp-contract=off)
endif()
target_include_directories(vexo_options INTERFACE "${CMAKE_SOURCE_DIR}")
# A linker that takes a fraction of the usual one's time, where there is one.
find_program(VEXO_LINKER NAMES mold ld.lld)
if(VEXO_LINKER MATCHES "mold$" AND NOT CMAKE_CROSSCOMPILING)
    add_link_options(-fuse-ld=mold)
endif()
if(VEXO_SANITIZE)
    add_compile_options(-fsanitize=${VEXO_SANITIZE} -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${VEXO_SANITIZE})
    if(VEXO_SANITIZE MATCHES "undefined")
        # By its older name, since ccache looks into the file for that one only.
        set(foreign "${CMAKE_SOURCE_DIR}/tests/sanitizers/foreign.txt")
        add_compile_options(-fno-sanitize-recover=all "-fsanitize-blacklist=${foreign}")
    endif()
endif()
if(VEXO_COVERAGE)
    add_compile_options(-fprofile-instr-generate -fcoverage-mapping)
    add_link_options(-fprofile-instr-generate)
endif()

# Several files of a target are compiled as one: most of the time goes into the headers that they share. A target
# whose files do not get along says so with SEPARATE.
set(CMAKE_UNITY_BUILD_BATCH_SIZE 16)

# ./test --long configures with VEXO_LONG in the environment: tests then run at full count and length.
set(VEXO_TIME_FACTOR 1)
if(DEFINED ENV{VEXO_LONG})
    set(VEXO_TIME_FACTOR 60)
endif()

# vexo_set_build(NAME MOC SEPARATE), the two as booleans.
function(vexo_set_build name moc separate)
    set(unity ON)
    if(separate)
        set(unity OFF)
    endif()
    set_target_properties(${name} PROPERTIES AUTOMOC "${moc}" UNITY_BUILD ${unity})
endfunction()

# vexo_library(NAME SOURCES file... [LINKS target...] [MOC] [SEPARATE]): a static library with the project's options.
# MOC: its headers declare classes with Q_OBJECT.
function(vexo_library name)
    cmake_parse_arguments(ARG "MOC;SEPARATE" "" "SOURCES;LINKS" ${ARGN})
    add_library(${name} STATIC ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE vexo_options PUBLIC ${ARG_LINKS})
    target_include_directories(${name} PUBLIC "${CMAKE_SOURCE_DIR}")
    vexo_set_build(${name} "${ARG_MOC}" "${ARG_SEPARATE}")
endfunction()

# vexo_executable(NAME SOURCES file... [LINKS target...] [MOC] [SEPARATE])
function(vexo_executable name)
    cmake_parse_arguments(ARG "MOC;SEPARATE" "" "SOURCES;LINKS" ${ARGN})
    if(VEXO_SANITIZE)
        list(APPEND ARG_SOURCES "${CMAKE_SOURCE_DIR}/tests/sanitizers/Suppressions.cpp")
    endif()
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE vexo_options ${ARG_LINKS})
    vexo_set_build(${name} "${ARG_MOC}" "${ARG_SEPARATE}")
endfunction()

# What the address sanitizer runs: every test program, and the program itself with what its tour needs.
add_custom_target(vexo_sanitized_tests)
# All test programs that share data between threads: what the thread sanitizer is for.
add_custom_target(vexo_thread_tests)

# vexo_gtest(NAME LABEL label SOURCES file... [LINKS target...] [MAIN] [MOC] [SEPARATE] [OPTIMIZED] [TIMEOUT seconds]
#            [ON_SERVERS] [ON_DESKTOP]):
# a GoogleTest program, each case one test of ctest. With MAIN the sources bring their own main(). The label
# "unit-threads" stands for a unit test that also belongs under the thread sanitizer. Its own sources are not optimised,
# which takes most of the time that a compiler spends on tests, unless it computes much itself: OPTIMIZED. ON_SERVERS: the
# whole program is one test on each kind of sound server, a private one with the sinks that tests/support/on_server.py names.
# ON_DESKTOP: it is one test with a display and buses of its own (tests/support/on_desktop.py).
function(vexo_gtest name)
    cmake_parse_arguments(ARG "MAIN;MOC;SEPARATE;OPTIMIZED;ON_SERVERS;ON_DESKTOP" "LABEL;TIMEOUT" "SOURCES;LINKS" ${ARGN})
    find_package(GTest REQUIRED)
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 120)
    endif()
    math(EXPR ARG_TIMEOUT "${ARG_TIMEOUT} * ${VEXO_TIME_FACTOR}")
    vexo_executable(${name} SOURCES ${ARG_SOURCES} LINKS ${ARG_LINKS} GTest::gtest)
    vexo_set_build(${name} "${ARG_MOC}" "${ARG_SEPARATE}")
    if(NOT ARG_OPTIMIZED AND NOT MSVC)
        target_compile_options(${name} PRIVATE -O0 -U_FORTIFY_SOURCE)
    endif()
    if(NOT ARG_MAIN)
        target_link_libraries(${name} PRIVATE GTest::gtest_main)
    endif()
    if(WIN32)
        target_compile_definitions(${name} PRIVATE _USE_MATH_DEFINES) # M_PI
    endif()
    add_dependencies(vexo_sanitized_tests ${name})
    if(ARG_LABEL MATCHES "threads")
        add_dependencies(vexo_thread_tests ${name})
    endif()
    if(CMAKE_CROSSCOMPILING)
        # One start of the emulating system for all cases.
        add_test(NAME ${name} COMMAND ${name})
        set_tests_properties(${name} PROPERTIES LABELS "${ARG_LABEL};windows" TIMEOUT ${ARG_TIMEOUT})
        return()
    endif()
    if(ARG_ON_SERVERS)
        foreach(server pulseaudio pipewire)
            add_test(NAME ${name}.${server}
                COMMAND python3 "${CMAKE_SOURCE_DIR}/tests/support/on_server.py" ${server} $<TARGET_FILE:${name}>)
            set_tests_properties(${name}.${server} PROPERTIES
                LABELS "${ARG_LABEL}" TIMEOUT ${ARG_TIMEOUT} SKIP_RETURN_CODE 77
                ENVIRONMENT "PYTHONPATH=${CMAKE_SOURCE_DIR}/tools/stage")
        endforeach()
        return()
    endif()
    if(ARG_ON_DESKTOP)
        add_test(NAME ${name}
            COMMAND python3 "${CMAKE_SOURCE_DIR}/tests/support/on_desktop.py" $<TARGET_FILE:${name}>)
        set_tests_properties(${name} PROPERTIES
            LABELS "${ARG_LABEL}" TIMEOUT ${ARG_TIMEOUT} ENVIRONMENT "PYTHONPATH=${CMAKE_SOURCE_DIR}/tools/stage")
        return()
    endif()
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST TEST_PREFIX "${name}." DISCOVERY_TIMEOUT 60
        PROPERTIES LABELS "${ARG_LABEL}" TIMEOUT ${ARG_TIMEOUT})
endfunction()
