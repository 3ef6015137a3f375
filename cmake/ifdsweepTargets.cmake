# The targets of the package:
#   ifdsweep::ifdsweep       the library: a file read and written, messages, a host
#   ifdsweep::module_static  the module alone; whoever links it brings the host operations
#   ifdsweep::contract       the headers alone, for a host that loads the module at run time
#   ifdsweep::module         the loadable module
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
  IMPORTED_LOCATION "${ifdsweep_LIBRARY_DIR}/libifdsweep_module.a"
  INTERFACE_LINK_LIBRARIES ifdsweep::contract)

add_library(ifdsweep::ifdsweep STATIC IMPORTED)
set_target_properties(ifdsweep::ifdsweep PROPERTIES
  IMPORTED_LOCATION "${ifdsweep_LIBRARY_DIR}/libifdsweep.a"
  INTERFACE_LINK_LIBRARIES
    "ifdsweep::contract;\$<LINK_ONLY:ZLIB::ZLIB>;\$<LINK_ONLY:BrotliDecoder::BrotliDecoder>")

add_executable(ifdsweep::program IMPORTED)
set_target_properties(ifdsweep::program PROPERTIES
  IMPORTED_LOCATION "${ifdsweep_BINARY_DIR}/ifdsweep")
