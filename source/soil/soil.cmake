# The sample picture is decoded from its PNG at build time by a host tool; the
# library embeds the raw bytes and never links libpng.
# A cross build runs the decoder of a build for this machine instead
# (FLOWER_HOST_DECODE_PICTURE).
if(CMAKE_CROSSCOMPILING)
  if(NOT EXISTS "${FLOWER_HOST_DECODE_PICTURE}")
    message(FATAL_ERROR "a cross build needs FLOWER_HOST_DECODE_PICTURE, the path of a native flower_decode_picture")
  endif()
  set(decoder ${FLOWER_HOST_DECODE_PICTURE})
else()
  find_package(PNG REQUIRED)
  add_executable(flower_decode_picture ${CMAKE_CURRENT_LIST_DIR}/DecodePicture.c)
  target_link_libraries(flower_decode_picture PRIVATE PNG::PNG)
  set(decoder flower_decode_picture)
endif()

set(FLOWER_SAMPLE_PICTURE_BGRA ${PROJECT_BINARY_DIR}/soil/sample-picture.bgra)
add_custom_command(
  OUTPUT ${FLOWER_SAMPLE_PICTURE_BGRA}
  COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/soil
  COMMAND ${decoder} ${CMAKE_CURRENT_LIST_DIR}/sample-picture.png ${FLOWER_SAMPLE_PICTURE_BGRA}
  DEPENDS ${decoder} ${CMAKE_CURRENT_LIST_DIR}/sample-picture.png
  COMMENT "Decoding the sample picture"
  VERBATIM)
add_custom_target(flower_sample_picture DEPENDS ${FLOWER_SAMPLE_PICTURE_BGRA})
add_dependencies(flower_objects flower_sample_picture)
set_source_files_properties(${CMAKE_CURRENT_LIST_DIR}/Soil.cpp
  TARGET_DIRECTORY flower_objects
  PROPERTIES
    OBJECT_DEPENDS ${FLOWER_SAMPLE_PICTURE_BGRA}
    COMPILE_DEFINITIONS "FLOWER_SAMPLE_PICTURE_BGRA=\"${FLOWER_SAMPLE_PICTURE_BGRA}\"")
