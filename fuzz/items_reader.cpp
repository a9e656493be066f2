// Items reader target: the input is an items file, parsed whole and also fed
// to the line splitter in pieces whose lengths the input's first bytes choose.
// Every item must be clean (valid UTF-8, no control characters, trimmed, not
// empty, within the byte limit, unchanged by cleaning again), there are at
// most kMaxItems, and both ways of reading must find the same lines.
#include "FuzzSupport.h"

#include <cstdint>
#include <string>
#include <vector>

#include "Items.h"

namespace {

void CheckClean(const std::string& item)
{
    if (item.empty() || item.size() > title::kMaxItemBytes)
        Fuzz::Fail("item of %zu bytes", item.size());
    if (item.front() == ' ' || item.back() == ' ')
        Fuzz::Fail("item not trimmed");
    for (unsigned char c : item)
        if (c < 0x20 || c == 0x7F)
            Fuzz::Fail("control byte 0x%02x in an item", c);
    if (title::CleanItem(item) != item)
        Fuzz::Fail("cleaning an item again changes it");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    const std::vector<std::string> items = title::ParseItems(text);
    if (items.size() > title::kMaxItems)
        Fuzz::Fail("%zu items", items.size());
    for (const std::string& item : items)
        CheckClean(item);

    Fuzz::Input pieces(data, std::min<std::size_t>(size, 16));
    title::LineSplitter splitter;
    std::vector<std::string> lines, nonBlank;
    for (std::size_t at = 0; at < size;) {
        const std::size_t n = std::min<std::size_t>(size - at, std::size_t(pieces.Range(1, 64)));
        splitter.Feed(text.data() + at, n, lines);
        at += n;
    }
    splitter.Finish(lines);
    for (const std::string& line : lines)
        if (!line.empty() && nonBlank.size() < title::kMaxItems)
            nonBlank.push_back(line);
    if (nonBlank != items)
        Fuzz::Fail("pieces give %zu items, the whole text %zu", nonBlank.size(), items.size());
    return 0;
}
