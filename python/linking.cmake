# How the parts of a wheel are linked, so that they need no library that another machine may lack.

# What decompresses streams and the C++ library become part of the extension, and the program is one
# static whole as that of the release preset, which starts in half the time: each where the machine has
# static libraries that allow it. Their names stay within the extension, whatever versions of them others
# have loaded. A C++ library that is shared would have to be as new as the compiler's, newer than that of
# systems whose C library is new enough.
include(CheckCXXSourceCompiles)
set(IFDSWEEP_EXTENSION_LINKING LINKER:--exclude-libs,ALL)
block()
  set(decoders [[
    #include <brotli/decode.h>
    #include <zlib.h>
    void* decoders[] = {(void*)inflate, (void*)BrotliDecoderDecompressStream};
    int main() {}]])
  set(CMAKE_REQUIRED_LIBRARIES -l:libbrotlidec.a -l:libbrotlicommon.a -l:libz.a)
  set(CMAKE_REQUIRED_FLAGS -fPIC)
  set(CMAKE_REQUIRED_LINK_OPTIONS -shared -static-libstdc++ ${IFDSWEEP_EXTENSION_LINKING})
  check_cxx_source_compiles("${decoders}" IFDSWEEP_STATIC_LIBRARIES)
  set(CMAKE_REQUIRED_LINK_OPTIONS -static)
  check_cxx_source_compiles("${decoders}" IFDSWEEP_STATIC_WHOLE)
endblock()
if(IFDSWEEP_STATIC_LIBRARIES)
  list(APPEND IFDSWEEP_EXTENSION_LINKING -static-libstdc++)
  list(PREPEND CMAKE_FIND_LIBRARY_SUFFIXES .a)
  set(IFDSWEEP_STATIC_PROGRAM ${IFDSWEEP_STATIC_WHOLE})
endif()

# Two links with optimization of the whole program would take twice the memory, and no less time:
# each uses all processors.
set_property(GLOBAL PROPERTY JOB_POOLS link=1)
set(CMAKE_JOB_POOL_LINK link)
