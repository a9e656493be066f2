// Helpers shared by the fuzz targets: decoding an input into bounded choices,
// and stopping loudly when a property breaks.
#ifndef FLOWER_FUZZ_FUZZSUPPORT_H
#define FLOWER_FUZZ_FUZZSUPPORT_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Fuzz {

// Reads an input front to back; past its end every read yields 0, so every
// input decodes to some finite sequence.
class Input {
  public:
    Input(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

    bool Empty() const { return pos_ >= size_; }
    std::uint8_t Byte() { return pos_ < size_ ? data_[pos_++] : 0; }
    std::uint32_t U32();
    bool Bool() { return (Byte() & 1) != 0; }
    // A value in lo..hi (inclusive), uniform enough for fuzzing.
    int Range(int lo, int hi);
    // A size: mostly small, sometimes zero, negative or huge.
    int Size();
    // A coordinate: mostly near the small sizes, sometimes at the i32 extremes.
    int Coordinate();
    // A Pel with alpha mostly 0 or 255 and sometimes anything.
    std::uint32_t Pel();

  private:
    const std::uint8_t* data_;
    std::size_t size_;
    std::size_t pos_ = 0;
};

// Prints the message and aborts (a fuzzer finding, never a normal result).
[[noreturn]] void Fail(const char* format, ...);

// Prints `count` bytes as hex on stderr, 32 to a line, after `label`.
void DumpBytes(const char* label, const void* bytes, std::size_t count);

} // namespace Fuzz

#endif
