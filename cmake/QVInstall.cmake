# What an installed QVRoot consists of: the library, its public headers, and the files by which CMake and
# pkg-config find it. Nothing in it depends on where the tree lies.

include(CMakePackageConfigHelpers)

install(TARGETS QVRoot EXPORT QVRootTargets
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
if(WIN32)
    install(FILES ${QV_RUNTIME_DLLS} DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()
install(DIRECTORY ${PROJECT_SOURCE_DIR}/QVRoot DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
    FILES_MATCHING PATTERN "*.h" PATTERN "*.hpp"
    PATTERN "*Impl.hpp" EXCLUDE PATTERN Win EXCLUDE PATTERN Posix EXCLUDE)

set(packageDir ${CMAKE_INSTALL_LIBDIR}/cmake/QVRoot)
install(EXPORT QVRootTargets NAMESPACE QV:: DESTINATION ${packageDir})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/QVRootConfig.cmake.in
    ${PROJECT_BINARY_DIR}/QVRootConfig.cmake INSTALL_DESTINATION ${packageDir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/QVRootConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/QVRootConfig.cmake ${PROJECT_BINARY_DIR}/QVRootConfigVersion.cmake
    DESTINATION ${packageDir})

file(RELATIVE_PATH QV_PC_TO_PREFIX "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
string(REGEX REPLACE "/$" "" QV_PC_TO_PREFIX "${QV_PC_TO_PREFIX}")
configure_file(${PROJECT_SOURCE_DIR}/cmake/qvroot.pc.in ${PROJECT_BINARY_DIR}/qvroot.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/qvroot.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# All that `cmake --install` copies, without the tests.
add_custom_target(installable DEPENDS QVRoot)
foreach(tool IN LISTS QV_TOOLS)
    install(TARGETS ${tool} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
    add_dependencies(installable ${tool})
endforeach()
if(TARGET qvlog)
    install(FILES ${PROJECT_SOURCE_DIR}/Tools/qvlog/qvlog.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
    install(FILES ${PROJECT_SOURCE_DIR}/Tools/qvlog/qvlog.bash RENAME qvlog
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
endif()
