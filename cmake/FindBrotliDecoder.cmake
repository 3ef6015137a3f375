# Finds the decoder of Brotli, which comes without a package file for CMake:
#   BrotliDecoder::BrotliDecoder  what decompresses, and what that needs
# This file is installed with ifdsweep's own package, whose library is linked with the decoder.
include(FindPackageHandleStandardArgs)

find_path(BrotliDecoder_INCLUDE_DIR brotli/decode.h)
find_library(BrotliDecoder_LIBRARY brotlidec)
find_library(BrotliDecoder_COMMON_LIBRARY brotlicommon)
mark_as_advanced(
  BrotliDecoder_INCLUDE_DIR BrotliDecoder_LIBRARY BrotliDecoder_COMMON_LIBRARY)
find_package_handle_standard_args(BrotliDecoder
  REQUIRED_VARS
    BrotliDecoder_LIBRARY BrotliDecoder_COMMON_LIBRARY BrotliDecoder_INCLUDE_DIR
  REASON_FAILURE_MESSAGE "Debian has it in the package libbrotli-dev")

if(BrotliDecoder_FOUND AND NOT TARGET BrotliDecoder::BrotliDecoder)
  add_library(BrotliDecoder::BrotliDecoder INTERFACE IMPORTED)
  set_target_properties(BrotliDecoder::BrotliDecoder PROPERTIES
    INTERFACE_INCLUDE_DIRECTORIES "${BrotliDecoder_INCLUDE_DIR}"
    INTERFACE_LINK_LIBRARIES "${BrotliDecoder_LIBRARY};${BrotliDecoder_COMMON_LIBRARY}")
endif()
