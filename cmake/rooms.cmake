# The walls between the rooms of src/, from the table src/ROOMS: a room is an object library whose only
# include paths are the doors of the rooms that it may include. A door is a folder in the build tree
# with links to the room and to its headers in include/ifdsweep. IFDSWEEP_WING_<wing> lists the rooms
# of a wing.
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/ROOMS)
set(IFDSWEEP_DOORS ${PROJECT_BINARY_DIR}/doors)

file(REMOVE_RECURSE ${IFDSWEEP_DOORS})
file(STRINGS ${PROJECT_SOURCE_DIR}/src/ROOMS rows REGEX "^[a-z]")
foreach(row IN LISTS rows)
  string(REGEX MATCHALL "[^ ]+" row "${row}")
  list(POP_FRONT row room wing headers included)
  list(APPEND IFDSWEEP_WING_${wing} ${room})
  string(REPLACE "," ";" IFDSWEEP_ROOMS_OF_${room} "${included}")
  list(REMOVE_ITEM IFDSWEEP_ROOMS_OF_${room} -)
  set(door ${IFDSWEEP_DOORS}/${room})
  file(MAKE_DIRECTORY ${door}/ifdsweep)
  if(IS_DIRECTORY ${PROJECT_SOURCE_DIR}/src/${room})
    file(CREATE_LINK ${PROJECT_SOURCE_DIR}/src/${room} ${door}/${room} SYMBOLIC)
  endif()
  string(REPLACE "," ";" headers "${headers}")
  list(REMOVE_ITEM headers -)
  foreach(header IN LISTS headers)
    file(CREATE_LINK ${PROJECT_SOURCE_DIR}/include/ifdsweep/${header} ${door}/ifdsweep/${header}
      SYMBOLIC)
  endforeach()
endforeach()

# Lets a target include what a room may, its own headers among them.
function(ifdsweep_enter_room target room)
  foreach(entered IN ITEMS ${room} ${IFDSWEEP_ROOMS_OF_${room}})
    target_include_directories(${target} PRIVATE ${IFDSWEEP_DOORS}/${entered})
  endforeach()
endfunction()

# A room of these sources, compiled once for every library that holds it.
function(ifdsweep_add_room room)
  add_library(ifdsweep_${room} OBJECT ${ARGN})
  target_link_libraries(ifdsweep_${room} PUBLIC ifdsweep_options Boost::headers)
  ifdsweep_enter_room(ifdsweep_${room} ${room})
endfunction()
