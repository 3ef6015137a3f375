# Flags of every target sit on one interface target.
add_library(ifdsweep_options INTERFACE)
target_compile_features(ifdsweep_options INTERFACE cxx_std_20)
target_compile_options(ifdsweep_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast
  -Wnon-virtual-dtor
  $<$<BOOL:${IFDSWEEP_WARNINGS_AS_ERRORS}>:-Werror>)
if(IFDSWEEP_SANITIZERS)
  target_compile_options(ifdsweep_options INTERFACE
    -fsanitize=${IFDSWEEP_SANITIZERS} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(ifdsweep_options INTERFACE -fsanitize=${IFDSWEEP_SANITIZERS})
endif()
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
