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
target_compile_options(vexo_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor -Werror
    # Audio results equal their scalar definition bit for bit.
    -ffp-contract=off)
target_include_directories(vexo_options INTERFACE "${CMAKE_SOURCE_DIR}")
if(VEXO_SANITIZE)
    add_compile_options(-fsanitize=${VEXO_SANITIZE} -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${VEXO_SANITIZE})
    if(VEXO_SANITIZE MATCHES "undefined")
        add_compile_options(-fno-sanitize-recover=undefined)
    endif()
endif()

# vexo_library(NAME SOURCES file... [LINKS target...]): a static library with the project's options.
function(vexo_library name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINKS" ${ARGN})
    add_library(${name} STATIC ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE vexo_options PUBLIC ${ARG_LINKS})
    target_include_directories(${name} PUBLIC "${CMAKE_SOURCE_DIR}")
endfunction()

# vexo_executable(NAME SOURCES file... [LINKS target...])
function(vexo_executable name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINKS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE vexo_options ${ARG_LINKS})
endfunction()

# vexo_gtest(NAME LABEL label SOURCES file... [LINKS target...] [MAIN] [TIMEOUT seconds] [ENVIRONMENT var=value...]):
# a GoogleTest program, each case one test of ctest. With MAIN the sources bring their own main().
function(vexo_gtest name)
    cmake_parse_arguments(ARG "MAIN" "LABEL;TIMEOUT" "SOURCES;LINKS;ENVIRONMENT" ${ARGN})
    find_package(GTest REQUIRED)
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 120)
    endif()
    vexo_executable(${name} SOURCES ${ARG_SOURCES} LINKS ${ARG_LINKS} GTest::gtest)
    if(NOT ARG_MAIN)
        target_link_libraries(${name} PRIVATE GTest::gtest_main)
    endif()
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST TEST_PREFIX "${name}." DISCOVERY_TIMEOUT 60
        PROPERTIES LABELS "${ARG_LABEL}" TIMEOUT ${ARG_TIMEOUT} ENVIRONMENT "${ARG_ENVIRONMENT}")
endfunction()
