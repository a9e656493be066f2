// The per-pel loops of the rolls: one destination row from one, two or three
// source lines. Rows are raw bytes with no alignment promise.
#ifndef FLOWER_SOURCE_ROLLROWS_H
#define FLOWER_SOURCE_ROLLROWS_H

#include "inlinepelops.h"

#include <array>
#include <cstddef>

namespace RollRows {

// Colour copied, alpha A * scale / 256 (unsigned, truncating).
void CopyRowScaledAlpha(char* dst, const char* src, int width, u32 scale);

// Colour = sum(C.e) / s and alpha = s >> 8 with e = A.w and s = sum(e), all
// unsigned 32-bit; 0 where s is 0. Lines and weights are given top first.
void MixLines(char* dst, const std::array<const char*, 2>& lines, const int (&weights)[2],
              int width);
void MixLines(char* dst, const std::array<const char*, 3>& lines, const int (&weights)[3],
              int width);

} // namespace RollRows

#endif
