# Cross-build for x64 Windows with Debian's MinGW-w64. The posix-threads flavour is the one whose libstdc++ has
# std::mutex and std::atomic<std::shared_ptr>.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR AMD64)

set(velk_triplet x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${velk_triplet}-gcc-posix)
set(CMAKE_CXX_COMPILER ${velk_triplet}-g++-posix)
set(CMAKE_RC_COMPILER ${velk_triplet}-windres)

set(CMAKE_FIND_ROOT_PATH /usr/${velk_triplet})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
