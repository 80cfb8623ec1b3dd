# Compiler settings and helpers shared by the library, its tests and its tools.

add_library(QVCompiler INTERFACE)
target_compile_options(QVCompiler INTERFACE
    -Wall -Wextra -Werror
    -fno-strict-aliasing     # UTF-16 units are seen as char16_t literals and as unsigned short
    -fsigned-char            # serialized text bytes are signed on both targets
    -ffile-prefix-map=${PROJECT_SOURCE_DIR}=.)
if(QV_SANITIZE)
    target_compile_options(QVCompiler INTERFACE
        -fsanitize=${QV_SANITIZE} -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
    target_link_options(QVCompiler INTERFACE -fsanitize=${QV_SANITIZE})
endif()
if(WIN32)
    set(QV_PLATFORM Win)
    set(QV_OTHER_PLATFORM Posix)
else()
    set(QV_PLATFORM Posix)
    set(QV_OTHER_PLATFORM Win)
endif()

# The sources below a folder that belong to the target platform: all but the other side of each pair.
function(qv_platform_sources result folder)
    file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${folder}/*.cpp ${folder}/*.c)
    list(FILTER sources EXCLUDE REGEX "${QV_OTHER_PLATFORM}\\.cpp$")
    list(FILTER sources EXCLUDE REGEX "/${QV_OTHER_PLATFORM}/")
    set(${result} ${sources} PARENT_SCOPE)
endfunction()

# Links a target with the library's objects in place of the shared library, so that it can reach what is
# behind the interface.
function(qv_link_objects target)
    target_compile_definitions(${target} PRIVATE QV_STATIC)
    target_include_directories(${target} PRIVATE
        ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/QVRoot/Threading/${QV_PLATFORM})
    target_link_libraries(${target} PRIVATE QVCompiler QVRootObjects ${QV_SYSTEM_LIBRARIES})
endfunction()

# MinGW's runtime libraries beside the programs, so that Wine and a user's machine find them.
function(qv_copy_runtime_dlls target)
    if(NOT WIN32)
        return()
    endif()
    foreach(name libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
        execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${name}
            OUTPUT_VARIABLE path OUTPUT_STRIP_TRAILING_WHITESPACE)
        if(NOT IS_ABSOLUTE "${path}")
            find_file(QV_RUNTIME_${name} ${name} PATHS /usr/x86_64-w64-mingw32/lib NO_CMAKE_FIND_ROOT_PATH REQUIRED)
            set(path ${QV_RUNTIME_${name}})
        endif()
        list(APPEND runtime ${path})
    endforeach()
    set(QV_RUNTIME_DLLS ${runtime} CACHE INTERNAL "MinGW runtime DLLs")
    add_custom_command(TARGET ${target} POST_BUILD
        COMMAND ${CMAKE_COMMAND} -E copy_if_different ${runtime} ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
endfunction()
