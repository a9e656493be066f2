# Row kernel variants: only a file named after an instruction set is built with
# that set's flags, so nothing else can pick up wider instructions by accident.
option(FLOWER_VECTOR_KERNELS "Build the SSE2/AVX2 row kernels (x86-64 only)" ON)

# The scaler's variants live beside it in florist and follow the same rule.
file(GLOB KERNEL_VARIANT_SOURCES CONFIGURE_DEPENDS
     ${CMAKE_CURRENT_LIST_DIR}/*_sse2.cpp ${CMAKE_CURRENT_LIST_DIR}/*_avx2.cpp
     ${PROJECT_SOURCE_DIR}/source/florist/*_avx2.cpp)

if(FLOWER_VECTOR_KERNELS AND CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64)$")
  set(KERNEL_FLAGS_SSE2 -msse2)
  set(KERNEL_FLAGS_AVX2 -mavx2)
  foreach(src IN LISTS KERNEL_VARIANT_SOURCES)
    if(src MATCHES "_(sse2|avx2)\\.cpp$")
      string(TOUPPER "${CMAKE_MATCH_1}" isa)
      set_property(SOURCE ${src} TARGET_DIRECTORY flower_objects
                   APPEND PROPERTY COMPILE_OPTIONS ${KERNEL_FLAGS_${isa}})
    endif()
  endforeach()
  target_compile_definitions(flower_objects PRIVATE FLOWER_X86_KERNELS)
else()
  # Left out of the build: the selectors then offer the scalar sets alone, and
  # the tests (defined later, so they see this) expect no variant.
  set_source_files_properties(${KERNEL_VARIANT_SOURCES} TARGET_DIRECTORY flower_objects
                              PROPERTIES HEADER_FILE_ONLY ON)
  add_compile_definitions(FLOWER_SCALAR_KERNELS_ONLY)
endif()
