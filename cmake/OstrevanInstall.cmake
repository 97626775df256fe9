# Headers, library, CMake package and pkg-config file. All of them find their parts relative to where they stand, so
# that the prefix can be moved after the install.

include(CMakePackageConfigHelpers)

install(TARGETS Ostrevan EXPORT OstrevanTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/Ostrevan
        FILES_MATCHING PATTERN "*.h" PATTERN "*.inc")
install(EXPORT OstrevanTargets NAMESPACE Ostrevan:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Ostrevan)

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/OstrevanConfig.cmake.in
                              ${PROJECT_BINARY_DIR}/OstrevanConfig.cmake
                              INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Ostrevan)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/OstrevanConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/OstrevanConfig.cmake ${PROJECT_BINARY_DIR}/OstrevanConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/Ostrevan)

file(RELATIVE_PATH OSTREVAN_PREFIX_FROM_PC /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(${PROJECT_SOURCE_DIR}/cmake/ostrevan.pc.in ${PROJECT_BINARY_DIR}/ostrevan.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/ostrevan.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
