# What `cmake --install` puts in place: the program, the loadable module, the libraries with their
# headers, and the package files that `find_package(ifdsweep)` reads.
include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

set(IFDSWEEP_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/ifdsweep)
set(IFDSWEEP_MODULE_DIR ${CMAKE_INSTALL_LIBDIR}/ifdsweep)
set(IFDSWEEP_HEADER_DIR ${CMAKE_INSTALL_INCLUDEDIR}/ifdsweep)

install(TARGETS ifdsweep RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(TARGETS ifdsweep_module LIBRARY DESTINATION ${IFDSWEEP_MODULE_DIR})
install(TARGETS ifdsweep_module_static ifdsweep_host
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})

# The contract, and the stand-in host for programs that have no host of their own.
install(FILES ${PROJECT_SOURCE_DIR}/src/gateway/qx.h DESTINATION ${IFDSWEEP_HEADER_DIR}/gateway)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/src/host/ DESTINATION ${IFDSWEEP_HEADER_DIR}/host
  FILES_MATCHING PATTERN "*.h")

# The targets are written out by hand: an exported target would hand our warning flags on.
configure_package_config_file(
  ${CMAKE_CURRENT_LIST_DIR}/ifdsweepConfig.cmake.in ${PROJECT_BINARY_DIR}/ifdsweepConfig.cmake
  INSTALL_DESTINATION ${IFDSWEEP_PACKAGE_DIR}
  PATH_VARS CMAKE_INSTALL_BINDIR CMAKE_INSTALL_LIBDIR IFDSWEEP_MODULE_DIR IFDSWEEP_HEADER_DIR)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ifdsweepConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/ifdsweepConfig.cmake
  ${CMAKE_CURRENT_LIST_DIR}/ifdsweepTargets.cmake
  ${PROJECT_BINARY_DIR}/ifdsweepConfigVersion.cmake
  DESTINATION ${IFDSWEEP_PACKAGE_DIR})

install(FILES ${PROJECT_SOURCE_DIR}/README.md ${PROJECT_SOURCE_DIR}/LICENSE
  DESTINATION ${CMAKE_INSTALL_DOCDIR})
