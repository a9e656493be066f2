// Platform glue shared by every public header: fixed-width integer names and
// the one macro that marks a symbol as part of the library's exported ABI.
#ifndef FLOWER_LOCAL_SYSTEM_H
#define FLOWER_LOCAL_SYSTEM_H

#include <cstdint>

#if defined(_WIN32)
#  if defined(FLOWER_BUILDING)
#    define FLOWER_API __declspec(dllexport)
#  else
#    define FLOWER_API __declspec(dllimport)
#  endif
#else
#  define FLOWER_API __attribute__((visibility("default")))
#endif

typedef std::uint8_t u8;
typedef std::int32_t i32;
typedef std::uint32_t u32;

#endif
