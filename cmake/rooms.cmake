# What nearly every file includes, compiled once: the platform's headers alone cost more than most files do. One header
# for all libraries; the test programs have their own, with GoogleTest in it. No file relies on it: each includes what
# it uses.
file(WRITE ${CMAKE_BINARY_DIR}/precompiled.cpp "")
add_library(velk_precompiled OBJECT ${CMAKE_BINARY_DIR}/precompiled.cpp)
target_link_libraries(velk_precompiled PRIVATE velk_options)
set(velk_precompiled_headers <functional> <map> <memory> <optional> <string> <variant> <vector> <common/platform.h>)
target_precompile_headers(velk_precompiled PRIVATE ${velk_precompiled_headers})

# velk_room(NAME [LINKS target...] [EXCEPT regex]): the static library velk_NAME of all sources of the current folder,
# but for those whose path matches.
function(velk_room name)
    cmake_parse_arguments(arg "" "EXCEPT" "LINKS" ${ARGN})
    file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp ${CMAKE_CURRENT_SOURCE_DIR}/*.h)
    list(FILTER sources EXCLUDE REGEX "/main\\.cpp$")
    if(arg_EXCEPT)
        list(FILTER sources EXCLUDE REGEX "${arg_EXCEPT}")
    endif()
    if(NOT sources)
        add_library(velk_${name} INTERFACE)
        target_link_libraries(velk_${name} INTERFACE velk_options velk_windows_libs ${arg_LINKS})
        return()
    endif()
    add_library(velk_${name} STATIC ${sources})
    target_link_libraries(velk_${name} PUBLIC velk_options velk_windows_libs ${arg_LINKS})
    target_precompile_headers(velk_${name} REUSE_FROM velk_precompiled)
endfunction()

# velk_test_suite(NAME [LINKS target...] [LABELS label...]): NAME_tests.exe of all sources in tests/NAME, run by CTest
# as one process: starting a process under Wine costs more than most suites take.
function(velk_test_suite name)
    cmake_parse_arguments(arg "" "" "LINKS;LABELS" ${ARGN})
    file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${name}/*.cpp)
    if(NOT sources)
        return()
    endif()
    add_executable(${name}_tests ${sources})
    target_include_directories(${name}_tests PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/tests)
    target_link_libraries(${name}_tests PRIVATE velk_options velk_test_support ${arg_LINKS})
    target_precompile_headers(${name}_tests REUSE_FROM velk_test_support)
    add_test(NAME ${name} COMMAND ${name}_tests WORKING_DIRECTORY ${CMAKE_BINARY_DIR})
    # One at a time: they share the prefix's registry, with the logs' configuration in it, and its named locks.
    set_tests_properties(${name} PROPERTIES TIMEOUT 600 LABELS "${arg_LABELS}" RESOURCE_LOCK prefix)
endfunction()
