# The libraries free of Qt, with their tests: what the preset windows builds where there is no Qt for Windows.
message(STATUS "No Qt for the target system: only the libraries free of Qt are built")
set(CMAKE_AUTOMOC OFF)

vexo_library(vexo_platform_threads SOURCES platform/ThreadName.h platform/windows/ThreadName.cpp)
add_subdirectory(platform/routerAudio)
add_subdirectory(platform/windows/routerAudio)
add_subdirectory(audio)
add_subdirectory(device/link)
add_subdirectory(tools/scene)

include(CTest)
if(BUILD_TESTING)
    add_subdirectory(tests)
endif()
