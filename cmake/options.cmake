# Compile and link options of every target of ours, as the interface targets velk_options (all code), velk_trapping (what
# is tested), velk_checked (what is no part of the DLL) and velk_windows_libs (the system import libraries).
add_library(velk_options INTERFACE)
add_library(velk_trapping INTERFACE)
add_library(velk_checked INTERFACE)
target_include_directories(velk_options INTERFACE ${PROJECT_SOURCE_DIR}/src)
target_compile_definitions(velk_options INTERFACE UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN _WIN32_WINNT=0x0A00)

if(MSVC)
    target_compile_options(velk_options INTERFACE /W4 /WX /permissive- /utf-8 /Zc:__cplusplus)
    set(CMAKE_MSVC_RUNTIME_LIBRARY "MultiThreaded$<$<CONFIG:Debug>:Debug>")
else()
    target_compile_options(
        velk_options
        INTERFACE -Wall
                  -Wextra
                  -Wpedantic
                  -Wconversion
                  -Wshadow
                  -Werror
                  -Wsign-conversion
                  -Woverloaded-virtual
                  -Wcast-align
                  -Wduplicated-cond
                  -Wlogical-op
                  -Wextra-semi)
    # Everything is linked in: the DLL may import from system DLLs alone, and test programs run without any DLL beside
    # them. winpthread needs its archive named, -static alone leaves it to the import library.
    target_link_options(
        velk_options
        INTERFACE
        -static
        -static-libgcc
        -static-libstdc++
        -Wl,--dynamicbase
        -Wl,--high-entropy-va
        -Wl,--nxcompat)
    set(CMAKE_CXX_FLAGS_RELEASE "-O2 -DNDEBUG -ffunction-sections -fdata-sections")
    # With optimisation GCC 12 sees the standard library's own short strings overflow; the debug build keeps these.
    foreach(false_alarm array-bounds stringop-overread stringop-overflow)
        add_compile_options($<$<AND:$<CONFIG:Release>,$<COMPILE_LANGUAGE:CXX>>:-Wno-${false_alarm}>)
    endforeach()
    add_link_options($<$<CONFIG:Release>:-Wl,--gc-sections> $<$<CONFIG:Release>:-s>)
    # Line numbers of what is tested are what a stack needs; full debug information makes test programs of 50 MB that take
    # longer to link than to run. LLVM's assembler does not understand how GCC writes DWARF 5.
    set(CMAKE_CXX_FLAGS_DEBUG "")
    target_compile_options(velk_trapping INTERFACE $<$<CONFIG:Debug>:-gdwarf-4> $<$<CONFIG:Debug>:-g1>)
    # Instead of collecting its garbage all the time, the compiler takes up to one gigabyte: a tenth of its time.
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        add_compile_options($<$<COMPILE_LANGUAGE:CXX>:--param=ggc-min-heapsize=1000000>)
    endif()
    # What is given away is made with GNU's programs alone; see the script for why the tests are not.
    find_program(VELK_LLD ld.lld)
    find_program(VELK_LLVM_AR llvm-ar)
    find_program(VELK_LLVM_MC llvm-mc)
    if(CMAKE_BUILD_TYPE STREQUAL "Debug" AND VELK_LLD AND VELK_LLVM_AR AND VELK_LLVM_MC)
        set_property(GLOBAL PROPERTY RULE_LAUNCH_COMPILE "\"${PROJECT_SOURCE_DIR}/cmake/with-llvm\"")
        set_property(GLOBAL PROPERTY RULE_LAUNCH_LINK "\"${PROJECT_SOURCE_DIR}/cmake/with-llvm\"")
    endif()
    # Host and program have time for it, and read what anybody wrote. They wait for the platform most of the time: what
    # -O2 adds is not seen, and takes a third longer to compile.
    target_compile_definitions(velk_checked INTERFACE _GLIBCXX_ASSERTIONS)
    target_compile_options(velk_checked INTERFACE $<$<CONFIG:Release>:-O1>)
    if(VELK_HARDENED)
        # MinGW has no sanitizer run-time; trapping needs none. The tests' own code goes without: it takes a third of
        # the time that they need to compile.
        target_compile_options(velk_trapping INTERFACE -fsanitize=undefined -fsanitize-undefined-trap-on-error)
        target_compile_definitions(velk_options INTERFACE _GLIBCXX_ASSERTIONS)
    endif()
    if(VELK_COVERAGE)
        target_compile_options(velk_options INTERFACE --coverage)
        target_link_options(velk_options INTERFACE --coverage)
    endif()
endif()

add_library(velk_windows_libs INTERFACE)
target_link_libraries(velk_windows_libs INTERFACE setupapi ole32 oleaut32 advapi32 uuid wbemuuid)

if(CMAKE_CROSSCOMPILING)
    # Followed by the folder of a Wine prefix and a program: runs it there.
    set(VELK_WINE ${PROJECT_SOURCE_DIR}/tools/wine-run)
    # Followed by a program that starts others under Wine, or asks Wine's server all the time.
    set(VELK_ON_ONE_CORE ${PROJECT_SOURCE_DIR}/tools/on-one-core)
endif()
