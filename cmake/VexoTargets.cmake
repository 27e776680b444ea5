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
        # GCC 14 sees overflows in the inlined insides of std::vector::insert that are not there.
        $<$<CXX_COMPILER_ID:GNU>:-Wno-stringop-overflow>
        # Audio results equal their scalar definition bit for bit.
        -ffp-contract=off)
endif()
target_include_directories(vexo_options INTERFACE "${CMAKE_SOURCE_DIR}")
if(VEXO_SANITIZE)
    add_compile_options(-fsanitize=${VEXO_SANITIZE} -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${VEXO_SANITIZE})
    if(VEXO_SANITIZE MATCHES "undefined")
        add_compile_options(-fno-sanitize-recover=undefined)
    endif()
endif()

# Only targets that name Qt themselves have classes for moc.
function(vexo_moc_if_qt name links)
    string(FIND "${links}" "Qt6::" position)
    if(position EQUAL -1)
        set_target_properties(${name} PROPERTIES AUTOMOC OFF)
    else()
        set_target_properties(${name} PROPERTIES AUTOMOC ON)
    endif()
endfunction()

# ./test --long configures with VEXO_LONG in the environment: tests then run at full count and length.
set(VEXO_TIME_FACTOR 1)
if(DEFINED ENV{VEXO_LONG})
    set(VEXO_TIME_FACTOR 60)
endif()

# vexo_library(NAME SOURCES file... [LINKS target...]): a static library with the project's options.
function(vexo_library name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINKS" ${ARGN})
    add_library(${name} STATIC ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE vexo_options PUBLIC ${ARG_LINKS})
    target_include_directories(${name} PUBLIC "${CMAKE_SOURCE_DIR}")
    vexo_moc_if_qt(${name} "${ARG_LINKS}")
endfunction()

# vexo_executable(NAME SOURCES file... [LINKS target...])
function(vexo_executable name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINKS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE vexo_options ${ARG_LINKS})
    vexo_moc_if_qt(${name} "${ARG_LINKS}")
endfunction()

# What the address sanitizer runs: every test program but those that need documents and a display.
add_custom_target(vexo_sanitized_tests)
# All test programs that share data between threads: what the thread sanitizer is for.
add_custom_target(vexo_thread_tests)

# vexo_gtest(NAME LABEL label SOURCES file... [LINKS target...] [MAIN] [TIMEOUT seconds]):
# a GoogleTest program, each case one test of ctest. With MAIN the sources bring their own main(). The label
# "unit-threads" stands for a unit test that also belongs under the thread sanitizer.
function(vexo_gtest name)
    cmake_parse_arguments(ARG "MAIN" "LABEL;TIMEOUT" "SOURCES;LINKS" ${ARGN})
    find_package(GTest REQUIRED)
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 120)
    endif()
    math(EXPR ARG_TIMEOUT "${ARG_TIMEOUT} * ${VEXO_TIME_FACTOR}")
    if(VEXO_SANITIZE)
        list(APPEND ARG_SOURCES "${CMAKE_SOURCE_DIR}/tests/sanitizers/Suppressions.cpp")
    endif()
    vexo_executable(${name} SOURCES ${ARG_SOURCES} LINKS ${ARG_LINKS} GTest::gtest)
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
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST TEST_PREFIX "${name}." DISCOVERY_TIMEOUT 60
        PROPERTIES LABELS "${ARG_LABEL}" TIMEOUT ${ARG_TIMEOUT})
endfunction()
