# The Debian package, which `cpack -G DEB` makes of a finished build: the program, the module, the
# manual page, the completions and the documents. It has no scripts of its own: dpkg alone puts it
# in place and takes it away.

# Debian keeps the manual page and the changelog compressed, without a time in them, so that the
# same sources make the same package.
set(debian_folder ${PROJECT_BINARY_DIR}/debian)
set(debian_files)
foreach(source IN ITEMS ${IFDSWEEP_MANUAL_DIR}/ifdsweep.1 ${CMAKE_CURRENT_LIST_DIR}/debian/changelog)
  get_filename_component(name ${source} NAME)
  add_custom_command(OUTPUT ${debian_folder}/${name}.gz
    COMMAND ${CMAKE_COMMAND} -E make_directory ${debian_folder}
    COMMAND gzip -9nc ${source} > ${debian_folder}/${name}.gz
    DEPENDS ${source} ifdsweep_manual_files)
  list(APPEND debian_files ${debian_folder}/${name}.gz)
endforeach()
add_custom_target(ifdsweep_debian_files ALL DEPENDS ${debian_files})

# In a folder right below /usr/lib, CPack would take the module for a library that ldconfig must be
# told of, and write scripts that do.
install(TARGETS ifdsweep_module
  LIBRARY DESTINATION lib/${CMAKE_LIBRARY_ARCHITECTURE}/ifdsweep COMPONENT debian EXCLUDE_FROM_ALL)
install(FILES ${debian_folder}/ifdsweep.1.gz
  DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT debian EXCLUDE_FROM_ALL)
install(FILES ${debian_folder}/changelog.gz ${CMAKE_CURRENT_LIST_DIR}/debian/copyright
  DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT debian EXCLUDE_FROM_ALL)
install(FILES ${CMAKE_CURRENT_LIST_DIR}/debian/lintian-overrides RENAME ifdsweep
  DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides COMPONENT debian EXCLUDE_FROM_ALL)
install(FILES ${IFDSWEEP_MANUAL_DIR}/_ifdsweep
  DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions COMPONENT debian EXCLUDE_FROM_ALL)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ifdsweep)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR})
set(CPACK_COMPONENTS_ALL program debian)
set(CPACK_COMPONENTS_GROUPING ALL_COMPONENTS_IN_ONE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "The ifdsweep maintainers <maintainers@ifdsweep.example>")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "reads every tag of TIFF, BigTIFF and JPEG files")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"ifdsweep reads every tag of every directory of a TIFF file, classic TIFF and
BigTIFF in either byte order, and of the Exif block of a JPEG file. It follows
SubIFDs, Exif, GPS and Interoperability pointers, gives enumerated values their
names, and prints the records as text, JSON or CSV. Damaged files give what can
be read, and a warning for each thing that cannot; whole archives are read by
several processes, and an interrupted run can go on where it ended.
.
The package also holds the loadable module for the numeric environment Velmora.")
include(CPack)
