# What this tree can build besides log_tool. An option chooses each part: ON, OFF or AUTO. With AUTO a
# part is built if all that it needs is there. With ON it is an error if something is missing.

# add_part(<option> <default> <what it is> [<need>:<variable>...])
#
# A need is a Debian package or another option; its variable tells whether it is there. Sets
# <option>_IS_BUILT.
function(add_part option default what)
    set(${option} ${default} CACHE STRING "Build ${what}: ON, OFF or AUTO, if it can be built")
    set_property(CACHE ${option} PROPERTY STRINGS AUTO ON OFF)
    set(choice ${${option}})

    set(missing)
    foreach(need IN LISTS ARGN)
        string(REGEX MATCH "^(.+):(.+)$" matched ${need})
        if(NOT ${CMAKE_MATCH_2})
            list(APPEND missing ${CMAKE_MATCH_1})
        endif()
    endforeach()
    list(JOIN missing ", " missing)

    set(is_built ${choice})
    if(choice STREQUAL "AUTO")
        set(is_built ON)
        if(missing)
            set(is_built OFF)
        endif()
    elseif(choice AND missing)
        message(FATAL_ERROR "${option} is ON, but ${what} need ${missing}")
    endif()
    set(${option}_IS_BUILT ${is_built} PARENT_SCOPE)

    set(line "${option}: ${what}")
    if(NOT is_built AND missing)
        string(APPEND line " (needs ${missing})")
    endif()
    if(is_built)
        set_property(GLOBAL APPEND PROPERTY parts_built ${line})
    else()
        set_property(GLOBAL APPEND PROPERTY parts_not_built ${line})
    endif()
endfunction()

function(list_parts heading property)
    get_property(lines GLOBAL PROPERTY ${property})
    if(lines)
        message(STATUS ${heading})
    endif()
    foreach(line IN LISTS lines)
        message(STATUS "  ${line}")
    endforeach()
endfunction()

function(report_parts)
    list_parts("Built, with log_tool:" parts_built)
    list_parts("Not built:" parts_not_built)
endfunction()
