# Settings that every target shares.
include(GNUInstallDirs)

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
# What the toolkit generates of one target needs no other target to be built.
set(CMAKE_AUTOGEN_ORIGIN_DEPENDS OFF)

find_program(CCACHE ccache)
if(CCACHE)
    set(CMAKE_CXX_COMPILER_LAUNCHER "${CCACHE}")
endif()

add_library(velunor_options INTERFACE)
target_include_directories(velunor_options INTERFACE "${CMAKE_SOURCE_DIR}")
target_compile_options(velunor_options INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror
    -fstack-protector-strong -fvisibility=hidden)
# GCC 12 takes the inactive members of an optimised std::variant for uninitialised values.
target_compile_options(velunor_options INTERFACE
    $<$<AND:$<CXX_COMPILER_ID:GNU>,$<CONFIG:Release>>:-Wno-maybe-uninitialized>)
target_compile_definitions(velunor_options INTERFACE
    $<$<CONFIG:Release>:_FORTIFY_SOURCE=3>)
# What overwrites a return address or a function pointer must not get far with it.
if(CMAKE_SYSTEM_PROCESSOR STREQUAL "x86_64")
    target_compile_options(velunor_options INTERFACE $<$<CONFIG:Release>:-fcf-protection>)
elseif(CMAKE_SYSTEM_PROCESSOR STREQUAL "aarch64")
    target_compile_options(velunor_options INTERFACE
        $<$<CONFIG:Release>:-mbranch-protection=standard>)
endif()
target_link_options(velunor_options INTERFACE -Wl,-z,relro,-z,now)
if(VELUNOR_SANITIZE)
    target_compile_options(velunor_options INTERFACE
        -fsanitize=${VELUNOR_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(velunor_options INTERFACE -fsanitize=${VELUNOR_SANITIZE})
endif()

# velunor_logic(NAME DEPENDENCIES... ) in a folder of logic: a static library of the sources given
# after SOURCES that sees the source tree and the standard library, and nothing else.
function(velunor_logic name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;USES")
    add_library(${name} STATIC ${arg_SOURCES})
    target_link_libraries(${name} PUBLIC velunor_options ${arg_USES})
endfunction()
