# The libraries free of Qt, with their tests: what the preset windows builds where there is no Qt for Windows.
message(STATUS "No Qt for the target system: only the libraries free of Qt are built")
add_subdirectory(mixer)
add_subdirectory(platform)
add_subdirectory(audio)
add_subdirectory(device/link)

add_subdirectory(tests/support)

include(CTest)
if(BUILD_TESTING)
    add_subdirectory(tests)
endif()
