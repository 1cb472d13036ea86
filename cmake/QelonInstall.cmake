# Installation: the shared library with its SONAME, every header under
# include/qelon, a CMake package exporting qelon::qelon, and qelon.pc.
include(CMakePackageConfigHelpers)

install(TARGETS qelon EXPORT QelonTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/qelon/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/qelon
  FILES_MATCHING PATTERN "*.h")

set(QELON_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Qelon)
install(EXPORT QelonTargets NAMESPACE qelon:: DESTINATION ${QELON_CMAKE_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/QelonConfig.cmake.in
  ${PROJECT_BINARY_DIR}/QelonConfig.cmake INSTALL_DESTINATION ${QELON_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/QelonConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/QelonConfig.cmake
              ${PROJECT_BINARY_DIR}/QelonConfigVersion.cmake
        DESTINATION ${QELON_CMAKE_DIR})

# pkg-config: the prefix is found from the file's own place, so the file
# stays right for any --prefix given at install time.
set(QELON_PC_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH QELON_PC_TO_PREFIX /prefix/${QELON_PC_DIR} /prefix)
configure_file(${PROJECT_SOURCE_DIR}/cmake/qelon.pc.in ${PROJECT_BINARY_DIR}/qelon.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/qelon.pc DESTINATION ${QELON_PC_DIR})
