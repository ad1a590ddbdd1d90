# cmake --install: the header, the shared library with its SONAME links, kelsr.pc and a CMake
# package giving kelsr::kelsr.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(TARGETS kelsr EXPORT kelsrTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

set(KELSR_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/kelsr)
install(EXPORT kelsrTargets NAMESPACE kelsr:: DESTINATION ${KELSR_CMAKE_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/kelsrConfig.cmake.in
                              ${CMAKE_BINARY_DIR}/kelsrConfig.cmake INSTALL_DESTINATION ${KELSR_CMAKE_DIR})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/kelsrConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/kelsrConfig.cmake ${CMAKE_BINARY_DIR}/kelsrConfigVersion.cmake
        DESTINATION ${KELSR_CMAKE_DIR})

configure_file(${PROJECT_SOURCE_DIR}/cmake/kelsr.pc.in ${CMAKE_BINARY_DIR}/kelsr.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/kelsr.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
