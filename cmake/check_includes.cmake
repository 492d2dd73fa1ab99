# Checks that every source of the program includes only what its folder may:
# cmake -DROOT=<source tree> -P this file.
# Dependencies point app -> ui -> window -> {prompt, credentials} -> {agent, platform} and ui ->
# platform/qt; implementations know interfaces, and the entry point alone knows implementations.
cmake_minimum_required(VERSION 3.25)

set(violations "")
set(unruled "")
foreach(folder agent app credentials platform prompt tools ui window)
    file(GLOB_RECURSE files RELATIVE "${ROOT}" "${ROOT}/${folder}/*.h" "${ROOT}/${folder}/*.cpp")
    list(APPEND unruled ${files})
endforeach()

# rule(PLACE ALLOW <places> [STANDARD_ONLY] [GENERATED]): PLACE is a folder, without those below it,
# or a single file, and so is each place that it may include. STANDARD_ONLY: of the headers in angle
# brackets only the standard library's. GENERATED: also what the toolkit makes of a form or a source.
function(rule place)
    cmake_parse_arguments(PARSE_ARGV 1 arg "STANDARD_ONLY;GENERATED" "" "ALLOW")
    foreach(file IN LISTS unruled)
        cmake_path(GET file PARENT_PATH folder)
        if(NOT file STREQUAL place AND NOT folder STREQUAL place)
            continue()
        endif()
        list(REMOVE_ITEM unruled "${file}")
        file(STRINGS "${ROOT}/${file}" lines REGEX "^[ \t]*#[ \t]*include")
        foreach(line IN LISTS lines)
            if(line MATCHES "include[ \t]*\"([^\"]+)\"")
                set(header "${CMAKE_MATCH_1}")
                cmake_path(GET header PARENT_PATH origin)
                if(header IN_LIST arg_ALLOW OR origin IN_LIST arg_ALLOW)
                    continue()
                endif()
                if(arg_GENERATED AND header MATCHES "^((ui|moc)_[a-z0-9_]+\\.h|[a-z0-9_]+\\.moc)$")
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
    set(unruled "${unruled}" PARENT_SCOPE)
    set(violations "${violations}" PARENT_SCOPE)
endfunction()

# The logic, and the interfaces of what it needs.
rule(platform STANDARD_ONLY ALLOW platform)
rule(agent STANDARD_ONLY ALLOW agent platform)
rule(prompt STANDARD_ONLY ALLOW prompt agent platform)
rule(credentials STANDARD_ONLY ALLOW credentials agent platform)
rule(window STANDARD_ONLY ALLOW window prompt credentials agent platform)

# The system.
set(system platform platform/posix)
rule(platform/posix ALLOW ${system})
rule(platform/property_list ALLOW platform platform/property_list)
rule(platform/linux/log ALLOW ${system} platform/linux/log)
rule(platform/linux/session ALLOW ${system} platform/linux/session)
rule(platform/linux/directory ALLOW
    ${system} platform/linux/session platform/linux/directory)
list(APPEND system platform/linux/log platform/linux/session platform/linux/directory)
rule(agent/linux ALLOW ${system} agent agent/linux)

# The toolkit, and the window over it. Of the controller a form knows what it connects.
set(toolkit platform platform/qt/application)
rule(platform/qt/application GENERATED ALLOW ${toolkit})
rule(platform/qt/accessibility GENERATED ALLOW platform platform/qt/accessibility)
list(APPEND toolkit platform/qt/accessibility platform/qt/desktop)
rule(platform/qt/desktop GENERATED ALLOW platform/posix ${toolkit})
list(APPEND toolkit platform/qt/widgets)
rule(platform/qt/widgets GENERATED ALLOW ${toolkit})
list(APPEND toolkit platform/qt/password_field)
rule(platform/qt/password_field GENERATED ALLOW platform/posix ${toolkit})
list(APPEND toolkit platform/qt/controls)
rule(platform/qt/controls GENERATED ALLOW ${toolkit})
rule(ui GENERATED ALLOW ui window/prompt_view.h ${toolkit})

# The composition root is the one file that knows implementations.
rule(app/main.cpp ALLOW
    app ui window agent agent/linux platform/property_list ${system} ${toolkit})
rule(app STANDARD_ONLY ALLOW app window prompt credentials agent platform)

# The programs beside the prompt. Of its logic they know the answer's form.
rule(tools/ostrel_agent ALLOW tools/ostrel_agent prompt agent agent/linux ${system})
set(checkpass tools/osupdate_checkpass)
rule(${checkpass}/protocol ALLOW ${checkpass}/protocol ${system})
rule(${checkpass}/pam ALLOW ${checkpass}/pam ${checkpass}/protocol ${system})
rule(${checkpass}/ldap ALLOW ${checkpass}/ldap ${checkpass}/protocol ${system})
rule(${checkpass}/service ALLOW ${checkpass}/service ${system})
rule(${checkpass} ALLOW
    ${checkpass} ${checkpass}/pam ${checkpass}/ldap ${checkpass}/protocol ${checkpass}/service
    ${system})
rule(tools/sysadminctl ALLOW tools/sysadminctl agent agent/linux ${system})

foreach(file IN LISTS unruled)
    list(APPEND violations "${file} stands in no folder that has a rule")
endforeach()
if(violations)
    # An error's own text would be broken into lines of a width.
    list(JOIN violations "\n" text)
    message(NOTICE "${text}")
    message(FATAL_ERROR "Some includes are not allowed.")
endif()
message(STATUS "Every include is an allowed one.")
