// CPU detection. Built with baseline flags: a file compiled with -mavx2 may use
// AVX2 anywhere, including before the check that would have ruled it out.
#include "thorn/CpuFeatures.h"

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

bool DetectAVX2()
{
    unsigned eax = 0, ebx = 0, ecx = 0, edx = 0;
    if (__get_cpuid_max(0, nullptr) < 7)
        return false;
    __cpuid_count(1, 0, eax, ebx, ecx, edx);
    const bool osSavesXmmYmm = (ecx & bit_OSXSAVE) && (ecx & bit_AVX) && (ReadXcr0() & 0x6) == 0x6;
    if (!osSavesXmmYmm)
        return false;
    __cpuid_count(7, 0, eax, ebx, ecx, edx);
    return (ebx & bit_AVX2) != 0;
}

#else

bool DetectAVX2()
{
    return false;
}

#endif

} // namespace

bool CpuFeatures::HasAVX2()
{
    static const bool hasAVX2 = DetectAVX2();
    return hasAVX2;
}
