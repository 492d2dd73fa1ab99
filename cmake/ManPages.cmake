# The man pages, which scdoc makes. What ostrel-agent's own help says stands in its page too.
find_program(SCDOC scdoc REQUIRED)

# The pages bear the date of the newest version, whenever they are made.
file(STRINGS "${CMAKE_SOURCE_DIR}/CHANGELOG.md" newest REGEX "^## [0-9]" LIMIT_COUNT 1)
string(REGEX MATCH "[0-9-]+$" date "${newest}")
execute_process(COMMAND date --utc "--date=${date}" +%s
    OUTPUT_VARIABLE man_date OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)

set(help_source "${CMAKE_SOURCE_DIR}/tools/ostrel_agent/help.h")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${help_source}")
file(READ "${help_source}" help)
if(NOT help MATCHES "R\"\\(Usage: (.*)\\)\"")
    message(FATAL_ERROR "${help_source} holds no help text")
endif()
set(help "${CMAKE_MATCH_1}")

# take_section(RESULT TITLE): the lines that follow the title, up to an empty one, each item on one
# line.
function(take_section result title)
    if(NOT help MATCHES "\n${title}:(\n.*)")
        message(FATAL_ERROR "${help_source} has no section \"${title}\"")
    endif()
    set(text "${CMAKE_MATCH_1}")
    string(FIND "${text}" "\n\n" end)
    string(SUBSTRING "${text}" 0 ${end} text)
    string(REGEX REPLACE "\n      +" " " text "${text}")
    set(${result} "${text}" PARENT_SCOPE)
endfunction()

# What may be typed as it stands is bold, what stands for something else underlined.
string(FIND "${help}" "\n\n" end)
string(SUBSTRING "${help}" 0 ${end} SYNOPSIS)
string(REGEX REPLACE "\n        +" " " SYNOPSIS "${SYNOPSIS}")
string(REGEX REPLACE "\n +" "++\n" SYNOPSIS "${SYNOPSIS}")
string(REGEX REPLACE "(--[a-z]*)" "*\\1*" SYNOPSIS "${SYNOPSIS}")
string(REGEX REPLACE "([A-Z][A-Z-]+)" "_\\1_" SYNOPSIS "${SYNOPSIS}")
string(REGEX REPLACE "(ostrel-agent( serve| prompt)?)" "*\\1*" SYNOPSIS "${SYNOPSIS}")

set(OPTIONS "")
foreach(command serve prompt)
    take_section(items "Options of ${command}")
    string(REGEX REPLACE "\n  (--[a-z]+) ([A-Z]+) +([^\n]+)" "\n*\\1* _\\2_\n\t\\3\n" items "${items}")
    string(REGEX REPLACE "\n  (--[a-z]+)  +([^\n]+)" "\n*\\1*\n\t\\2\n" items "${items}")
    string(APPEND OPTIONS "## Of ${command}\n${items}\n")
endforeach()
string(STRIP "${OPTIONS}" OPTIONS)

take_section(EXIT_STATUS "Exit status of prompt")
string(REGEX REPLACE "\n +([0-9]+)  ([^\n]+)" "\n*\\1*\n\t\\2\n" EXIT_STATUS "${EXIT_STATUS}")
string(STRIP "${EXIT_STATUS}" EXIT_STATUS)

# man_page(PAGE): makes PAGE in the build's folder from man/PAGE.scd, with the version filled in.
function(man_page page)
    set(source "${CMAKE_CURRENT_BINARY_DIR}/${page}.scd")
    set(result "${CMAKE_CURRENT_BINARY_DIR}/${page}")
    configure_file("${CMAKE_CURRENT_SOURCE_DIR}/man/${page}.scd" "${source}" @ONLY)
    add_custom_command(OUTPUT "${result}"
        COMMAND "${CMAKE_COMMAND}" -E env "SOURCE_DATE_EPOCH=${man_date}"
                "${SCDOC}" < "${source}" > "${result}"
        DEPENDS "${source}" VERBATIM)
endfunction()
