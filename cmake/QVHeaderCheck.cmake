# Every public header compiles alone and twice in one file, as C++ and (headers ending in .h) as strict C, and
# includes no header that is not installed. A second compiler looks at them too where there is one.

file(GLOB_RECURSE headers CONFIGURE_DEPENDS RELATIVE ${PROJECT_SOURCE_DIR}
    ${PROJECT_SOURCE_DIR}/QVRoot/*.h ${PROJECT_SOURCE_DIR}/QVRoot/*.hpp)
list(FILTER headers EXCLUDE REGEX "Impl\\.hpp$|/Win/|/Posix/")
set(checkDir ${PROJECT_BINARY_DIR}/headers)
find_program(QV_SECOND_COMPILER NAMES clang++-19 clang++)

function(qv_write_header_unit unit header)
    # A header may hold macros only; the declaration keeps strict C content.
    set(text "#include <${header}>\n#include <${header}>\nextern int translationUnitsMayNotBeEmpty\;\n")
    if(EXISTS ${unit})
        file(READ ${unit} old)
    endif()
    if(NOT text STREQUAL "${old}")
        file(WRITE ${unit} ${text})
    endif()
endfunction()

set(units "")
set(stamps "")
foreach(header IN LISTS headers)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${header})
    file(STRINGS ${PROJECT_SOURCE_DIR}/${header} private REGEX "^ *#.*include.*Impl\\.hpp")
    if(private)
        message(SEND_ERROR "${header} is public and includes a header that is not installed: ${private}")
    endif()
    qv_write_header_unit(${checkDir}/${header}.cpp ${header})
    list(APPEND units ${checkDir}/${header}.cpp)
    if(header MATCHES "\\.h$")
        qv_write_header_unit(${checkDir}/${header}.c ${header})
        list(APPEND units ${checkDir}/${header}.c)
    endif()
    if(QV_SECOND_COMPILER)
        set(stamp ${checkDir}/${header}.checked)
        add_custom_command(OUTPUT ${stamp}
            COMMAND ${QV_SECOND_COMPILER} -std=c++20 -fsyntax-only -Wall -Wextra -Werror
                -MD -MF ${stamp}.d -MT ${stamp} -I${PROJECT_SOURCE_DIR} ${checkDir}/${header}.cpp
            COMMAND ${CMAKE_COMMAND} -E touch ${stamp}
            DEPENDS ${checkDir}/${header}.cpp
            DEPFILE ${stamp}.d
            COMMENT "Checking ${header} with the second compiler" VERBATIM)
        list(APPEND stamps ${stamp})
    endif()
endforeach()

add_library(QVHeaderCheck OBJECT ${units})
target_include_directories(QVHeaderCheck PRIVATE ${PROJECT_SOURCE_DIR})
target_link_libraries(QVHeaderCheck PRIVATE QVCompiler)
target_compile_options(QVHeaderCheck PRIVATE -pedantic)
if(stamps)
    add_custom_target(QVHeaderCheckSecond ALL DEPENDS ${stamps})
endif()
