# What belongs to whom operates the program: addresses, numbers, mail. It stands in app/operator.json and nowhere else.
include_guard(GLOBAL)

# vexo_operator(MEMBER...): sets OPERATOR_<MEMBER> to the value of each member, ready to stand between the quotes of a
# C++ or QML text. A member that is missing or, but for the service's, empty, one with a control character, one that
# names a host with characters that no address has and that a build reads as its own, and a file that is no JSON end the
# configuration.
function(vexo_operator)
    set(file "${CMAKE_SOURCE_DIR}/app/operator.json")
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${file}")
    # Without them the program talks to nobody.
    set(mayBeEmpty serviceHost probeAddress)
    file(READ "${file}" json)
    string(ASCII 1 first)
    string(ASCII 31 last)
    set(hosts organizationDomain homePage serviceHost probeAddress chineseSite internationalSite)
    foreach(member IN LISTS ARGN)
        string(JSON kind ERROR_VARIABLE problem TYPE "${json}" "${member}")
        if(problem)
            message(FATAL_ERROR "${file}: ${problem}")
        endif()
        string(JSON value GET "${json}" "${member}")
        if(NOT kind STREQUAL "STRING" OR (value STREQUAL "" AND NOT member IN_LIST mayBeEmpty) OR value MATCHES "[${first}-${last}]")
            message(FATAL_ERROR "${file}: ${member} wants a text of one line")
        endif()
        if(member IN_LIST hosts AND value MATCHES "[;$<>]")
            message(FATAL_ERROR "${file}: ${member} wants an address without any of ;$<>")
        endif()
        string(REPLACE "\\" "\\\\" value "${value}")
        string(REPLACE "\"" "\\\"" value "${value}")
        set(OPERATOR_${member} "${value}" PARENT_SCOPE)
    endforeach()
endfunction()
