# Compiler flags of the project's own code, and the system libraries that the library stands on.
add_library(kvtfile_build_flags INTERFACE)
add_library(kvtfile_system_libraries INTERFACE)

set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE RelWithDebInfo)
endif()

target_compile_features(kvtfile_build_flags INTERFACE cxx_std_20)
if(MSVC)
    target_compile_options(kvtfile_build_flags INTERFACE /utf-8 /W4)
else()
    # GCC 12 sees an overlap in any assignment of a literal to a std::string that it inlines at -O3.
    target_compile_options(kvtfile_build_flags INTERFACE -Wall -Wextra -Wconversion -Wshadow
        $<$<AND:$<CXX_COMPILER_ID:GNU>,$<CONFIG:Release>>:-Wno-restrict>)
endif()
# As a part of another build, what another compiler warns of is no error.
if(PROJECT_IS_TOP_LEVEL AND NOT MSVC)
    target_compile_options(kvtfile_build_flags INTERFACE -Werror)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND NOT WIN32)
    # A library with a symbol of this kind is never unloaded.
    target_compile_options(kvtfile_build_flags INTERFACE -fno-gnu-unique)
endif()

if(KVTFILE_SANITIZE)
    add_compile_options(-fsanitize=${KVTFILE_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${KVTFILE_SANITIZE})
endif()

if(WIN32)
    target_compile_definitions(kvtfile_build_flags INTERFACE UNICODE _UNICODE NOMINMAX STRICT)
    target_link_libraries(kvtfile_system_libraries INTERFACE
        advapi32 gdi32 ole32 oleaut32 shell32 shlwapi user32 uuid)
else()
    find_package(ICU REQUIRED COMPONENTS uc)
    find_package(SQLite3 REQUIRED)
    target_link_libraries(kvtfile_system_libraries INTERFACE ICU::uc SQLite::SQLite3 ${CMAKE_DL_LIBS})
    if(NOT KVTFILE_SANITIZE)
        target_link_options(kvtfile_system_libraries INTERFACE -Wl,--no-undefined)
    endif()
endif()
