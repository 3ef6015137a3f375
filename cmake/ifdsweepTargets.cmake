# The targets of the package:
#   ifdsweep::contract       the header that the module and its host share
#   ifdsweep::module         the loadable module, for a host to open at run time
#   ifdsweep::module_static  the module as a library; whoever links it brings the host operations
#   ifdsweep::host           the stand-in host, which brings them
#   ifdsweep::program        the command line program
if(TARGET ifdsweep::contract)
  return()
endif()

add_library(ifdsweep::contract INTERFACE IMPORTED)
set_target_properties(ifdsweep::contract PROPERTIES
  INTERFACE_COMPILE_FEATURES cxx_std_20
  INTERFACE_INCLUDE_DIRECTORIES "${ifdsweep_INCLUDE_DIR}"
  INTERFACE_LINK_LIBRARIES Boost::headers)

add_library(ifdsweep::module MODULE IMPORTED)
set_target_properties(ifdsweep::module PROPERTIES
  IMPORTED_LOCATION "${ifdsweep_MODULE_DIR}/ifdsweep.so")

add_library(ifdsweep::module_static STATIC IMPORTED)
set_target_properties(ifdsweep::module_static PROPERTIES
  IMPORTED_LOCATION "${ifdsweep_LIBRARY_DIR}/libifdsweep_module_static.a"
  INTERFACE_LINK_LIBRARIES ifdsweep::contract)

add_library(ifdsweep::host STATIC IMPORTED)
set_target_properties(ifdsweep::host PROPERTIES
  IMPORTED_LOCATION "${ifdsweep_LIBRARY_DIR}/libifdsweep_library.a"
  INTERFACE_LINK_LIBRARIES ifdsweep::contract)

add_executable(ifdsweep::program IMPORTED)
set_target_properties(ifdsweep::program PROPERTIES
  IMPORTED_LOCATION "${ifdsweep_BINARY_DIR}/ifdsweep")
