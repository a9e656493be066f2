// Platform glue shared by every public header: fixed-width integer names, the
// macro that marks a symbol as part of the library's exported ABI, and the
// layer handle.
// Every public header compiles as C99 and as C++11 or later; what C cannot
// read (classes, namespaces, references, inline helpers) is C++ only.
#ifndef FLOWER_LOCAL_SYSTEM_H
#define FLOWER_LOCAL_SYSTEM_H

#ifdef __cplusplus
#  include <cstdint>
#else
#  include <stdbool.h>
#  include <stdint.h>
#endif

#if defined(_WIN32)
#  if defined(FLOWER_BUILDING)
#    define FLOWER_API __declspec(dllexport)
#  else
#    define FLOWER_API __declspec(dllimport)
#  endif
#else
#  define FLOWER_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
typedef std::uint8_t u8;
typedef std::int32_t i32;
typedef std::uint32_t u32;
#else
typedef uint8_t u8;
typedef int32_t i32;
typedef uint32_t u32;
#endif

// The layer handle. In C++ it is Marrow::StubLayer (petal.h), the root of the
// layer classes; C sees the same pointer as an opaque struct.
#ifdef __cplusplus
namespace Marrow {
class StubLayer;
}
typedef Marrow::StubLayer FlowerLayer;
#else
typedef struct FlowerLayer FlowerLayer;
#endif

#endif
