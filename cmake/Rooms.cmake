# quorlin_room(NAME FOLDERS folder... [SEES room...] [LIBRARIES target...] [STANDARD_ONLY])
#
# A library of the sources in some folders of src/. Its files include headers of its own folders and of the rooms that
# it names, by their paths below src/, and no others; STANDARD_ONLY leaves them the C++ standard library beside those.
# Before a file of the room is compiled, CheckIncludes.cmake reads the include lines of the room's files that have
# changed and ends the build at one that leads elsewhere.
function(quorlin_room name)
  cmake_parse_arguments(ROOM "STANDARD_ONLY" "" "FOLDERS;SEES;LIBRARIES" ${ARGN})
  set_property(GLOBAL PROPERTY QUORLIN_FOLDERS_OF_${name} ${ROOM_FOLDERS})
  set_property(GLOBAL PROPERTY QUORLIN_LIBRARIES_OF_${name} ${ROOM_LIBRARIES})
  set(files)
  set(may_include ${ROOM_FOLDERS})
  foreach(folder IN LISTS ROOM_FOLDERS)
    file(GLOB found CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/${folder}/*.h ${PROJECT_SOURCE_DIR}/src/${folder}/*.cpp)
    list(APPEND files ${found})
  endforeach()
  foreach(room IN LISTS ROOM_SEES)
    get_property(folders GLOBAL PROPERTY QUORLIN_FOLDERS_OF_${room})
    list(APPEND may_include ${folders})
  endforeach()

  # The rule of this room, and the proof that its files keep it.
  file(GLOB own RELATIVE ${PROJECT_SOURCE_DIR}/src LIST_DIRECTORIES TRUE ${PROJECT_SOURCE_DIR}/src/*)
  set(rule ${PROJECT_BINARY_DIR}/rooms/${name}.cmake)
  file(CONFIGURE OUTPUT ${rule} @ONLY CONTENT
    "set(room @name@)\nset(folders @ROOM_FOLDERS@)\nset(may_include @may_include@)\nset(own @own@)\nset(standard_only @ROOM_STANDARD_ONLY@)\n")
  set(stamp ${PROJECT_BINARY_DIR}/rooms/${name}.checked)
  add_custom_command(OUTPUT ${stamp}
    COMMAND ${CMAKE_COMMAND} -P ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/CheckIncludes.cmake ${rule} ${files}
    COMMAND ${CMAKE_COMMAND} -E touch ${stamp}
    DEPENDS ${files} ${rule} ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/CheckIncludes.cmake
    WORKING_DIRECTORY ${PROJECT_SOURCE_DIR} COMMENT "Checking the includes of ${name}" VERBATIM)
  add_custom_target(check-includes-${name} DEPENDS ${stamp})

  list(FILTER files INCLUDE REGEX "\\.cpp$")
  list(FILTER files EXCLUDE REGEX "/main\\.cpp$")
  if(files)
    add_library(${name} STATIC ${files})
    target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(${name} PUBLIC ${ROOM_SEES} PRIVATE ${ROOM_LIBRARIES})
    set_target_properties(${name} PROPERTIES OUTPUT_NAME quorlin-${name})
  else()
    add_library(${name} INTERFACE)
  endif()
  add_dependencies(${name} check-includes-${name})
endfunction()

# quorlin_program(PROGRAM ROOM): the program whose main.cpp stands in the first folder of a room. The rest of the room is
# a library, so that tests and benchmark reach it.
function(quorlin_program program room)
  get_property(folders GLOBAL PROPERTY QUORLIN_FOLDERS_OF_${room})
  get_property(libraries GLOBAL PROPERTY QUORLIN_LIBRARIES_OF_${room})
  list(GET folders 0 folder)
  add_executable(${program} ${PROJECT_SOURCE_DIR}/src/${folder}/main.cpp)
  target_link_libraries(${program} PRIVATE ${room} ${libraries})
endfunction()
