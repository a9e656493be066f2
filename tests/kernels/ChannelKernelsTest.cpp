// Every channel kernel set this CPU runs against the scalar set, bit for bit:
// seeded rows at every alignment, and one row holding every blue, green, red triple.
#include "kernels/channel/ChannelKernels.h"
#include "support/RowHarness.h"

#include <string>

namespace {

using R = const support::Rows*;
using Kernels::ChannelSet;

const support::RowChecks kRows = {1, true, true, false, 16, true};

std::vector<const ChannelSet*> Sets()
{
    const ChannelSet* sets[Kernels::kTargetCount];
    return {sets, sets + Kernels::Runnable(Kernels::kChannelSets, sets)};
}

u8* Bytes(R r, int k)
{
    return reinterpret_cast<u8*>(r[k].base);
}

// One runner per `which` of GetChannel: bytes 0..3, covered luminance, luminance.
std::function<void(R, int, int)> Runner(const ChannelSet* set, int which)
{
    if (which < 4)
        return [set, which](R r, int n, int) { set->byteRow(Bytes(r, 0), Bytes(r, 1), n, which); };
    if (which == 4)
        return [set](R r, int n, int) { set->coveredLuminance(Bytes(r, 0), Bytes(r, 1), n); };
    return [set](R r, int n, int) { set->luminance(Bytes(r, 0), Bytes(r, 1), n); };
}

TEST(ChannelKernels, EveryVariantMatchesScalarForEachChannel)
{
    const std::vector<const ChannelSet*> sets = Sets();
    for (std::size_t i = 1; i < sets.size(); ++i)
        for (int which = 0; which < 6; ++which)
            support::CheckRows(std::string(sets[i]->name) + " which " + std::to_string(which), 1,
                               Runner(sets[i], which), Runner(sets[0], which), kRows);
}

// 2^24 pels: every colour triple, alphas running through 0..255 against it.
TEST(ChannelKernels, LuminancesMatchScalarForEveryColour)
{
    std::vector<u32> pels(1u << 24);
    for (u32 c = 0; c < pels.size(); ++c)
        pels[c] = ((c * 2654435761u) >> 24) << 24 | c;
    std::vector<u8> want(pels.size()), got(pels.size());
    const u8* in = reinterpret_cast<const u8*>(pels.data());
    const int n = int(pels.size());
    const std::vector<const ChannelSet*> sets = Sets();
    for (std::size_t i = 1; i < sets.size(); ++i) {
        sets[0]->coveredLuminance(want.data(), in, n);
        sets[i]->coveredLuminance(got.data(), in, n);
        EXPECT_TRUE(want == got) << sets[i]->name << " covered";
        sets[0]->luminance(want.data(), in, n);
        sets[i]->luminance(got.data(), in, n);
        EXPECT_TRUE(want == got) << sets[i]->name << " luminance";
    }
}

} // namespace
