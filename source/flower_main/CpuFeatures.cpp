// CPU detection for the kernel sets. Built with baseline flags: a file compiled
// with -mavx2 may use AVX2 anywhere, including before the check that would have
// ruled it out.
#include "flower_main/CpuFeatures.h"

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#endif

namespace {

#if defined(__x86_64__) || defined(__i386__)

// XCR0, readable once CPUID says the OS has enabled XSAVE.
unsigned long long ReadXcr0()
{
    unsigned eax = 0, edx = 0;
    __asm__ volatile("xgetbv" : "=a"(eax), "=d"(edx) : "c"(0));
    return (static_cast<unsigned long long>(edx) << 32) | eax;
}

struct Detected {
    bool avx2 = false;
    bool avx512 = false;
};

// AVX-512 counts as one cluster (F, BW, VL, DQ), and only when the OS saves the
// opmask and the upper halves of all 32 registers as well (XCR0 bits 5 to 7).
Detected Detect()
{
    Detected d;
    unsigned eax = 0, ebx = 0, ecx = 0, edx = 0;
    if (__get_cpuid_max(0, nullptr) < 7)
        return d;
    __cpuid_count(1, 0, eax, ebx, ecx, edx);
    if (!(ecx & bit_OSXSAVE) || !(ecx & bit_AVX))
        return d;
    const unsigned long long xcr0 = ReadXcr0();
    if ((xcr0 & 0x6) != 0x6)
        return d;
    __cpuid_count(7, 0, eax, ebx, ecx, edx);
    d.avx2 = (ebx & bit_AVX2) != 0;
    const unsigned cluster = bit_AVX512F | bit_AVX512BW | bit_AVX512VL | bit_AVX512DQ;
    d.avx512 = d.avx2 && (ebx & cluster) == cluster && (xcr0 & 0xE6) == 0xE6;
    return d;
}

#else

struct Detected {
    bool avx2 = false;
    bool avx512 = false;
};

Detected Detect()
{
    return {};
}

#endif

} // namespace

namespace {

const Detected& Features()
{
    static const Detected detected = Detect();
    return detected;
}

} // namespace

bool CpuFeatures::HasAVX2()
{
    return Features().avx2;
}

bool CpuFeatures::HasAVX512()
{
    return Features().avx512;
}
