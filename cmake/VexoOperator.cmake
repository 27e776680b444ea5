# What belongs to whom operates the program: addresses, numbers, mail. It stands in app/operator.json and nowhere else.
include_guard(GLOBAL)

# vexo_operator(MEMBER...): sets OPERATOR_<MEMBER> to the value of each member, ready to stand between the quotes of a
# C++ or QML text. A member that is missing or empty, or a file that is no JSON, ends the configuration.
function(vexo_operator)
    set(file "${CMAKE_SOURCE_DIR}/app/operator.json")
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${file}")
    file(READ "${file}" json)
    foreach(member IN LISTS ARGN)
        string(JSON kind ERROR_VARIABLE problem TYPE "${json}" "${member}")
        if(problem)
            message(FATAL_ERROR "${file}: ${problem}")
        endif()
        string(JSON value GET "${json}" "${member}")
        if(NOT kind STREQUAL "STRING" OR value STREQUAL "" OR value MATCHES "[\r\n]")
            message(FATAL_ERROR "${file}: ${member} wants a text of one line")
        endif()
        string(REPLACE "\\" "\\\\" value "${value}")
        string(REPLACE "\"" "\\\"" value "${value}")
        set(OPERATOR_${member} "${value}" PARENT_SCOPE)
    endforeach()
endfunction()
