# The scaler sums doubles in a fixed order per output pixel: no fused
# multiply-adds, no fast-math, and SSE2 doubles rather than x87 on 32-bit x86.
set(FLORIST_FP_STRICT -ffp-contract=off)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(i.86|x86)$")
  list(APPEND FLORIST_FP_STRICT -msse2 -mfpmath=sse)
endif()
set_source_files_properties(${CMAKE_CURRENT_LIST_DIR}/Scale.cpp
  TARGET_DIRECTORY flower_objects
  PROPERTIES COMPILE_OPTIONS "${FLORIST_FP_STRICT}")
