# What `cmake --install` puts in place: the program with its manual page and completions, the
# loadable module, the libraries with their headers, and the package files that
# `find_package(ifdsweep)` and pkg-config read.
#
# Components: program and development; plain is what a Debian package has in another place or form,
# which is the component debian (cmake/package.cmake).
include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

set(IFDSWEEP_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/ifdsweep)
set(IFDSWEEP_MODULE_DIR ${CMAKE_INSTALL_LIBDIR}/ifdsweep)
set(IFDSWEEP_MANUAL_DIR ${PROJECT_BINARY_DIR}/manual)

# Link-time code is for this one compiler, of this one version. The installed libraries hold machine
# code, which every linker reads: g++ makes both, and what is installed loses the former; other
# compilers cannot make both, and make machine code alone.
if(NOT CMAKE_CXX_COMPILER_ID STREQUAL GNU)
  set_target_properties(${IFDSWEEP_LINKED_BY_OTHERS} PROPERTIES INTERPROCEDURAL_OPTIMIZATION OFF)
elseif(CMAKE_INTERPROCEDURAL_OPTIMIZATION)
  foreach(target IN LISTS IFDSWEEP_LINKED_BY_OTHERS)
    target_compile_options(${target} PRIVATE -ffat-lto-objects)
  endforeach()
endif()

install(TARGETS ifdsweep RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT program)
install(TARGETS ifdsweep_module LIBRARY DESTINATION ${IFDSWEEP_MODULE_DIR} COMPONENT plain)
install(TARGETS ifdsweep_module_static ifdsweep_library
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
foreach(library IN ITEMS ifdsweep_module_static ifdsweep_library)
  install(CODE "execute_process(COMMAND ${CMAKE_OBJCOPY} --wildcard
    --remove-section=.gnu.lto_* --remove-section=.gnu.debuglto_*
    --strip-symbol=__gnu_lto_v1 --strip-symbol=__gnu_lto_slim
    \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/$<TARGET_FILE_NAME:${library}>\"
    COMMAND_ERROR_IS_FATAL ANY)" COMPONENT development)
endforeach()

# Each shell looks for a command's completions in files of these names.
install(FILES ${IFDSWEEP_MANUAL_DIR}/ifdsweep.bash RENAME ifdsweep
  DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT program)
install(FILES ${IFDSWEEP_MANUAL_DIR}/ifdsweep.fish
  DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT program)
install(FILES ${IFDSWEEP_MANUAL_DIR}/_ifdsweep
  DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions COMPONENT plain)
install(FILES ${IFDSWEEP_MANUAL_DIR}/ifdsweep.1
  DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT plain)

install(FILES ${PROJECT_SOURCE_DIR}/README.md
  DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT program)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs
  DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT program)
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE
  DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT plain)

# The public face. What it does not hold is the library's own affair.
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ifdsweep
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development
  FILES_MATCHING PATTERN "*.h")

# For programs that are built without CMake. Paths are told from the file's own place, so that the
# installation can be moved.
file(RELATIVE_PATH IFDSWEEP_PREFIX_FROM_PKGCONFIG
  ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
foreach(package IN ITEMS ifdsweep ifdsweep-module)
  configure_file(${CMAKE_CURRENT_LIST_DIR}/${package}.pc.in
    ${PROJECT_BINARY_DIR}/pkgconfig/${package}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/pkgconfig/${package}.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endforeach()

# The targets are written out by hand: an exported target would hand our warning flags on.
configure_package_config_file(
  ${CMAKE_CURRENT_LIST_DIR}/ifdsweepConfig.cmake.in ${PROJECT_BINARY_DIR}/ifdsweepConfig.cmake
  INSTALL_DESTINATION ${IFDSWEEP_PACKAGE_DIR}
  PATH_VARS CMAKE_INSTALL_BINDIR CMAKE_INSTALL_LIBDIR IFDSWEEP_MODULE_DIR CMAKE_INSTALL_INCLUDEDIR)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ifdsweepConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/ifdsweepConfig.cmake
  ${CMAKE_CURRENT_LIST_DIR}/ifdsweepTargets.cmake
  ${CMAKE_CURRENT_LIST_DIR}/FindBrotliDecoder.cmake
  ${PROJECT_BINARY_DIR}/ifdsweepConfigVersion.cmake
  DESTINATION ${IFDSWEEP_PACKAGE_DIR} COMPONENT development)
