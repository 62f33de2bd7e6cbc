# The header-only libraries of the development host, as the interface targets velk_json (nlohmann-json) and velk_cli11
# (CLI11). Only their own folders are copied into the build tree: the distribution keeps them in /usr/include, which must
# never get onto a cross compiler's path, where it would hide the target's own C library headers.
set(VELK_HEADER_LIBRARIES "/usr/include" CACHE PATH "Folder that holds CLI/ (CLI11) and nlohmann/ (nlohmann-json)")

function(velk_header_library target folder package)
    if(NOT EXISTS ${VELK_HEADER_LIBRARIES}/${folder})
        message(FATAL_ERROR "${VELK_HEADER_LIBRARIES}/${folder} is missing: install ${package}, or point "
                            "VELK_HEADER_LIBRARIES at the folder that holds ${folder}/.")
    endif()
    set(copy ${CMAKE_BINARY_DIR}/header_libraries/${target})
    file(COPY ${VELK_HEADER_LIBRARIES}/${folder} DESTINATION ${copy})
    add_library(${target} INTERFACE)
    target_include_directories(${target} SYSTEM INTERFACE ${copy})
endfunction()

velk_header_library(velk_json nlohmann nlohmann-json3-dev)
velk_header_library(velk_cli11 CLI libcli11-dev)
