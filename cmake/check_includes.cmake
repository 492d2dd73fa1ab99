# Checks that each folder includes only what it may: cmake -DROOT=<source tree> -P this file.
# Dependencies point app -> window -> {prompt, credentials} -> {agent, platform}; implementations
# know interfaces, and the entry point alone knows implementations.
cmake_minimum_required(VERSION 3.25)

set(violations "")

# check_folder(FOLDER ALLOW <patterns of quoted includes> [STANDARD_ONLY] [EXCEPT <files>])
function(check_folder folder)
    cmake_parse_arguments(PARSE_ARGV 1 arg "STANDARD_ONLY" "" "ALLOW;EXCEPT")
    file(GLOB files RELATIVE "${ROOT}" "${ROOT}/${folder}/*.h" "${ROOT}/${folder}/*.cpp")
    list(JOIN arg_ALLOW "|" allowed)
    foreach(file IN LISTS files)
        if(file IN_LIST arg_EXCEPT)
            continue()
        endif()
        file(STRINGS "${ROOT}/${file}" lines REGEX "^[ \t]*#[ \t]*include")
        foreach(line IN LISTS lines)
            if(line MATCHES "include[ \t]*\"([^\"]+)\"")
                set(header "${CMAKE_MATCH_1}")
                if(header MATCHES "^(${allowed})$")
                    continue()
                endif()
            elseif(line MATCHES "include[ \t]*<([^>]+)>")
                set(header "${CMAKE_MATCH_1}")
                # The standard library's headers have neither a folder nor an ending.
                if(NOT arg_STANDARD_ONLY OR header MATCHES "^[a-z0-9_]+$")
                    continue()
                endif()
            else()
                set(header "${line}")
            endif()
            list(APPEND violations "${file} must not include ${header}")
        endforeach()
    endforeach()
    set(violations "${violations}" PARENT_SCOPE)
endfunction()

set(platform "platform/[a-z0-9_]+\\.h")
set(agent "agent/[a-z0-9_]+\\.h")
set(prompt "prompt/[a-z0-9_]+\\.h")
set(credentials "credentials/[a-z0-9_]+\\.h")
set(window "window/[a-z0-9_]+\\.h")
set(app "app/[a-z0-9_]+\\.h")
# What a form connects to its window.
set(view "window/(outlets|prompt_view)\\.h")

check_folder(platform STANDARD_ONLY ALLOW ${platform})
check_folder(agent STANDARD_ONLY ALLOW ${agent} ${platform})
check_folder(prompt STANDARD_ONLY ALLOW ${prompt} ${agent} ${platform})
check_folder(credentials STANDARD_ONLY ALLOW ${credentials} ${agent} ${platform})
check_folder(window STANDARD_ONLY
    ALLOW ${window} ${prompt} ${credentials} ${agent} ${platform})
check_folder(app STANDARD_ONLY
    ALLOW ${app} ${window} ${prompt} ${credentials} ${agent} ${platform}
    EXCEPT app/main.cpp)
check_folder(agent/linux ALLOW "agent/linux/[a-z0-9_]+\\.h" ${agent} ${platform})
check_folder(platform/linux ALLOW "platform/linux/[a-z0-9_]+\\.h" ${platform})
check_folder(platform/qt ALLOW "platform/qt/[a-z0-9_]+\\.h" "(ui|moc)_[a-z0-9_]+\\.h"
    "[a-z0-9_]+\\.moc" ${view} ${platform})

if(violations)
    list(JOIN violations "\n" text)
    message(FATAL_ERROR "\n${text}")
endif()
message(STATUS "Every include is an allowed one.")
