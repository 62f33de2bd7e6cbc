# What nearly every file includes, compiled once: the platform's headers alone cost more than most files do. One header
# for all libraries, and one for what is checked; the test programs have their own, with GoogleTest in it. No file relies
# on it: each includes what it uses.
set(velk_precompiled_headers <functional> <map> <memory> <optional> <string> <variant> <vector> <common/platform.h>)
file(WRITE ${CMAKE_BINARY_DIR}/precompiled.cpp "")
foreach(name velk_precompiled velk_precompiled_checked)
    add_library(${name} OBJECT EXCLUDE_FROM_ALL ${CMAKE_BINARY_DIR}/precompiled.cpp)
    target_link_libraries(${name} PRIVATE velk_options velk_trapping)
    target_precompile_headers(${name} PRIVATE ${velk_precompiled_headers})
endforeach()
target_link_libraries(velk_precompiled_checked PRIVATE velk_checked velk_json)
# To read this library takes as long as the platform's headers.
target_precompile_headers(velk_precompiled_checked PRIVATE <nlohmann/json.hpp>)

# velk_room(NAME [LINKS target...] [EXCEPT regex] [INCLUDES folder...] [DEFINES definition...] [SOURCES file...] [CHECKED]):
# the static library velk_NAME of all sources of the current folder, but for those whose path matches, and of others that
# are made. CHECKED: the library asserts its preconditions in what ships, too; it is taken from the folder VELK_SHIPPED
# where one is given.
function(velk_room name)
    cmake_parse_arguments(arg "CHECKED" "EXCEPT" "LINKS;INCLUDES;DEFINES;SOURCES" ${ARGN})
    if(arg_CHECKED AND VELK_SHIPPED)
        velk_shipped_room(${name} "${arg_LINKS}" "${arg_INCLUDES}")
        return()
    endif()
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
    add_library(velk_${name} STATIC ${sources} ${arg_SOURCES})
    target_include_directories(velk_${name} PUBLIC ${arg_INCLUDES})
    target_compile_definitions(velk_${name} PRIVATE ${arg_DEFINES})
    target_link_libraries(velk_${name} PUBLIC velk_options velk_windows_libs ${arg_LINKS} PRIVATE velk_trapping)
    if(arg_CHECKED)
        target_link_libraries(velk_${name} PRIVATE velk_checked)
        target_precompile_headers(velk_${name} REUSE_FROM velk_precompiled_checked)
    else()
        target_precompile_headers(velk_${name} REUSE_FROM velk_precompiled)
    endif()
endfunction()

# The library of that room in the folder VELK_SHIPPED, which is built when it is not up to date.
function(velk_shipped_room name links includes)
    file(RELATIVE_PATH room ${PROJECT_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR})
    set(library ${VELK_SHIPPED}/${room}/libvelk_${name}.a)
    add_custom_target(
        velk_shipped_${name}
        COMMAND ${CMAKE_COMMAND} --build ${VELK_SHIPPED} --target velk_${name}
        BYPRODUCTS ${library}
        VERBATIM)
    add_library(velk_${name} STATIC IMPORTED GLOBAL)
    set_target_properties(velk_${name} PROPERTIES IMPORTED_LOCATION ${library})
    target_include_directories(velk_${name} INTERFACE ${includes})
    target_link_libraries(velk_${name} INTERFACE velk_options velk_windows_libs ${links})
    add_dependencies(velk_${name} velk_shipped_${name})
endfunction()

# velk_test_suite(NAME [LINKS target...] [OF_WHAT_SHIPS [ALONE]] [ON_ONE_CORE]): NAME_tests.exe of all sources in the folder
# NAME, run by CTest as one process: starting a process under Wine costs more than most suites take. OF_WHAT_SHIPS: it looks
# at the DLL from outside, so that its program may come from VELK_TEST_PROGRAMS; ALONE: at no other DLL than the one that
# ships. ON_ONE_CORE: see velk_add_test.
function(velk_test_suite name)
    cmake_parse_arguments(arg "OF_WHAT_SHIPS;ALONE;ON_ONE_CORE" "" "LINKS" ${ARGN})
    set(one_core "")
    if(arg_ON_ONE_CORE)
        set(one_core ON_ONE_CORE)
    endif()
    if(NOT VELK_TEST_PROGRAMS)
        file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${name}/*.cpp)
        add_executable(${name}_tests ${sources})
        target_include_directories(${name}_tests PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
        target_link_libraries(${name}_tests PRIVATE velk_options velk_test_support ${arg_LINKS})
        target_precompile_headers(${name}_tests REUSE_FROM velk_test_support)
        if(arg_OF_WHAT_SHIPS)
            velk_runs_beside_dll(${name}_tests)
        endif()
    elseif(arg_OF_WHAT_SHIPS)
        # Copied: a program finds the DLL beside itself.
        set(program ${CMAKE_BINARY_DIR}/${name}_tests.exe)
        add_custom_command(
            OUTPUT ${program}
            COMMAND ${CMAKE_COMMAND} -E copy ${VELK_TEST_PROGRAMS}/${name}_tests.exe ${program}
            DEPENDS ${VELK_TEST_PROGRAMS}/${name}_tests.exe
            VERBATIM)
        add_custom_target(${name}_tests DEPENDS ${program} VelkWmiPci)
    else()
        return()
    endif()

    if(arg_ALONE AND VELK_SHIPPED)
        add_dependencies(test_programs ${name}_tests)
    elseif(arg_OF_WHAT_SHIPS)
        # CTest keeps what it knows of a test by its name: the tests of two builds that are run as one must differ.
        set(test ${name})
        if(VELK_TEST_PROGRAMS)
            set(test shipped.${name})
        endif()
        velk_add_test(${test} ${one_core} ${name}_tests.exe)
        # They take long: begun first, and each in a prefix of its own.
        set_tests_properties(${test} PROPERTIES COST 100)
    else()
        velk_add_test(${name} ${one_core} ${name}_tests.exe SHARES_PREFIX)
    endif()
endfunction()

# velk_runs_beside_dll(TARGET): the DLL is there when the program is. The program's files do not wait for it, as they would
# with add_dependencies.
function(velk_runs_beside_dll target)
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${CMAKE_BINARY_DIR}/VelkWmiPci.dll)
endfunction()

# velk_add_test(NAME [SHARES_PREFIX] [ON_ONE_CORE] PROGRAM [ARG...]): a program of the build folder as a test, under Wine in
# a prefix of its own. What runs for seconds alone shares one, at one time: its registry, with the logs' configuration in
# it, and its named locks. ON_ONE_CORE is faster, and for tests whose threads need not meet (tools/on-one-core).
function(velk_add_test name)
    cmake_parse_arguments(arg "SHARES_PREFIX;ON_ONE_CORE" "" "" ${ARGN})
    set(prefix ${CMAKE_BINARY_DIR}/prefixes/${name})
    if(arg_SHARES_PREFIX)
        set(prefix ${CMAKE_BINARY_DIR})
    endif()
    file(MAKE_DIRECTORY ${prefix})
    set(wine "")
    if(CMAKE_CROSSCOMPILING)
        set(wine ${VELK_WINE} ${prefix})
        if(arg_ON_ONE_CORE)
            list(PREPEND wine ${VELK_ON_ONE_CORE})
        endif()
    endif()
    list(POP_FRONT arg_UNPARSED_ARGUMENTS program)
    get_filename_component(target ${program} NAME_WE)
    add_dependencies(test_programs ${target})
    add_test(NAME ${name} COMMAND ${wine} ${CMAKE_BINARY_DIR}/${program} ${arg_UNPARSED_ARGUMENTS}
             WORKING_DIRECTORY ${CMAKE_BINARY_DIR})
    set_tests_properties(${name} PROPERTIES TIMEOUT 600)
    if(arg_ON_ONE_CORE)
        set_tests_properties(${name} PROPERTIES RESOURCE_GROUPS cores:1)
    endif()
    if(arg_SHARES_PREFIX)
        set_tests_properties(${name} PROPERTIES RESOURCE_LOCK prefix)
    endif()
endfunction()
