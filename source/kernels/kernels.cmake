# Row kernel variants: only a family file named after an instruction set
# (`<Family>Kernels_sse2.cpp`, `_avx2.cpp`, `_avx512.cpp`) is built with that
# set's flags, so nothing else can pick up wider instructions by accident.
option(FLOWER_VECTOR_KERNELS "Build the SSE2/AVX2/AVX-512 row kernels (x86-64 only)" ON)

file(GLOB KERNEL_VARIANT_SOURCES CONFIGURE_DEPENDS
     ${CMAKE_CURRENT_LIST_DIR}/*/*_sse2.cpp
     ${CMAKE_CURRENT_LIST_DIR}/*/*_avx2.cpp
     ${CMAKE_CURRENT_LIST_DIR}/*/*_avx512.cpp)

if(FLOWER_VECTOR_KERNELS AND CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64)$")
  set(KERNEL_FLAGS_SSE2 -msse2)
  set(KERNEL_FLAGS_AVX2 -mavx2)
  set(KERNEL_FLAGS_AVX512 -mavx2 -mavx512f -mavx512bw -mavx512vl -mavx512dq)
  # GCC 12's AVX-512 headers pass deliberately undefined operands through, which
  # its optimiser reports as (maybe-)uninitialized in their callers, depending on
  # the optimisation level and the sanitizers.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    list(APPEND KERNEL_FLAGS_AVX512 -Wno-maybe-uninitialized -Wno-uninitialized)
  endif()
  foreach(src IN LISTS KERNEL_VARIANT_SOURCES)
    if(src MATCHES "_(sse2|avx2|avx512)\\.cpp$")
      string(TOUPPER "${CMAKE_MATCH_1}" isa)
      set_property(SOURCE ${src} TARGET_DIRECTORY flower_objects
                   APPEND PROPERTY COMPILE_OPTIONS ${KERNEL_FLAGS_${isa}})
    endif()
  endforeach()
  target_compile_definitions(flower_objects PRIVATE FLOWER_X86_KERNELS)
else()
  # Left out of the build: the tables then offer the scalar sets alone, and
  # the tests (defined later, so they see this) expect no variant.
  set_source_files_properties(${KERNEL_VARIANT_SOURCES} TARGET_DIRECTORY flower_objects
                              PROPERTIES HEADER_FILE_ONLY ON)
  add_compile_definitions(FLOWER_SCALAR_KERNELS_ONLY)
endif()

# The scaler sums doubles in a fixed order per output pixel: no fused
# multiply-adds, no fast-math, and SSE2 doubles rather than x87 on 32-bit x86.
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(i.86|x86)$")
  set_source_files_properties(${CMAKE_CURRENT_LIST_DIR}/scale/ScaleKernels.cpp
    TARGET_DIRECTORY flower_objects PROPERTIES COMPILE_OPTIONS "-msse2;-mfpmath=sse")
endif()
