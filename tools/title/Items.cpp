#include "Items.h"

#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include "ToolError.h"

namespace title {
namespace {

const char kReplacement[] = "\xEF\xBF\xBD";

// Length of the well-formed UTF-8 sequence at s[at], or 0.
std::size_t SequenceLength(const std::string& s, std::size_t at)
{
    const auto byte = [&](std::size_t i) { return i < s.size() ? std::uint8_t(s[i]) : 0u; };
    const unsigned b0 = byte(at);
    if (b0 < 0x80)
        return 1;
    const auto cont = [&](std::size_t i) { return (byte(i) & 0xC0) == 0x80; };
    if (b0 >= 0xC2 && b0 <= 0xDF)
        return cont(at + 1) ? 2 : 0;
    if (b0 >= 0xE0 && b0 <= 0xEF) {
        const unsigned b1 = byte(at + 1);
        const bool ok = (b0 == 0xE0 ? b1 >= 0xA0 : true) && (b0 == 0xED ? b1 < 0xA0 : true);
        return ok && cont(at + 1) && cont(at + 2) ? 3 : 0;
    }
    if (b0 >= 0xF0 && b0 <= 0xF4) {
        const unsigned b1 = byte(at + 1);
        const bool ok = (b0 == 0xF0 ? b1 >= 0x90 : true) && (b0 == 0xF4 ? b1 < 0x90 : true);
        return ok && cont(at + 1) && cont(at + 2) && cont(at + 3) ? 4 : 0;
    }
    return 0;
}

bool IsControl(const std::string& s, std::size_t at, std::size_t length)
{
    const unsigned b0 = std::uint8_t(s[at]);
    if (length == 1)
        return b0 < 0x20 || b0 == 0x7F;
    return length == 2 && b0 == 0xC2 && std::uint8_t(s[at + 1]) < 0xA0; // C1 controls
}

} // namespace

std::string CleanItem(const std::string& line)
{
    std::string out;
    for (std::size_t at = 0; at < line.size();) {
        const std::size_t length = SequenceLength(line, at);
        std::string piece = length == 0                   ? std::string(kReplacement)
                            : IsControl(line, at, length) ? std::string(" ")
                                                          : line.substr(at, length);
        at += length == 0 ? 1 : length;
        if (out.size() + piece.size() > kMaxItemBytes)
            break;
        out += piece;
    }
    const auto first = out.find_first_not_of(' ');
    if (first == std::string::npos)
        return std::string();
    return out.substr(first, out.find_last_not_of(' ') - first + 1);
}

std::vector<std::string> ParseItems(const std::string& text)
{
    std::vector<std::string> lines, items;
    LineSplitter splitter;
    splitter.Feed(text.data(), text.size(), lines);
    splitter.Finish(lines);
    for (const std::string& line : lines)
        if (!line.empty() && items.size() < kMaxItems)
            items.push_back(line);
    return items;
}

void LineSplitter::Feed(const char* bytes, std::size_t count, std::vector<std::string>& lines)
{
    for (std::size_t i = 0; i < count; ++i) {
        if (bytes[i] == '\n') {
            Finish(lines);
            continue;
        }
        // Raw bytes up to what a clean item can use (a replacement takes 3).
        if (partial.size() < kMaxItemBytes * 3)
            partial += bytes[i];
        else
            overlong = true;
    }
}

void LineSplitter::Finish(std::vector<std::string>& lines)
{
    if (partial.empty() && !overlong)
        return lines.push_back(std::string()), void();
    if (!partial.empty() && partial.back() == '\r')
        partial.pop_back();
    lines.push_back(CleanItem(partial));
    partial.clear();
    overlong = false;
}

ItemsFile::ItemsFile(std::string p) : path(std::move(p))
{
    if (!Read(current))
        throw ToolError("cannot read items file '" + path + "'");
}

bool ItemsFile::Read(std::vector<std::string>& items)
{
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return false;
    struct stat st;
    std::string text;
    bool ok = fstat(fd, &st) == 0 && S_ISREG(st.st_mode);
    char chunk[1 << 14];
    while (ok && text.size() < kMaxItemsFileBytes) {
        const ssize_t n = read(fd, chunk, sizeof chunk);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0) {
            ok = n == 0;
            break;
        }
        text.append(chunk, std::size_t(n));
    }
    close(fd);
    if (!ok)
        return false;
    seen = {st.st_mtim.tv_sec, st.st_mtim.tv_nsec, st.st_size, (long long)st.st_ino};
    items = ParseItems(text.substr(0, kMaxItemsFileBytes));
    return true;
}

bool ItemsFile::Poll(std::vector<std::string>& items)
{
    if (!reported) {
        reported = true;
        items = current;
        return true;
    }
    struct stat st;
    if (stat(path.c_str(), &st) != 0)
        return false;
    const Stamp now{st.st_mtim.tv_sec, st.st_mtim.tv_nsec, st.st_size, (long long)st.st_ino};
    std::vector<std::string> fresh;
    if (now == seen || !Read(fresh) || fresh == current)
        return false;
    current = fresh;
    items = std::move(fresh);
    return true;
}

// What is there already (a file, a pipe its writer has filled) becomes the
// first list before the render starts; the rest arrives on the thread.
StreamItems::StreamItems(int f) : fd(f)
{
    while (!ended && ReadSome(0)) {
    }
    if (!ended)
        reader = std::thread([this] {
            while (!stop && !ended)
                ReadSome(100);
        });
}

StreamItems::~StreamItems()
{
    stop = true;
    if (reader.joinable())
        reader.join();
}

bool StreamItems::ReadSome(int waitMilliseconds)
{
    pollfd p{fd, POLLIN, 0};
    if (poll(&p, 1, waitMilliseconds) <= 0)
        return false;
    char chunk[4096];
    const ssize_t n = read(fd, chunk, sizeof chunk);
    if (n < 0 && (errno == EINTR || errno == EAGAIN))
        return true;
    std::vector<std::string> lines;
    if (n <= 0) {
        ended = true;
        splitter.Finish(lines);
        if (!lines.empty() && lines.back().empty())
            lines.pop_back(); // the end of the stream is no blank line
    } else {
        splitter.Feed(chunk, std::size_t(n), lines);
    }
    if (!lines.empty()) {
        for (const std::string& line : lines) {
            if (line.empty())
                items.clear();
            else if (items.size() < kMaxItems)
                items.push_back(line);
        }
        shared.Replace(items);
    }
    return !ended;
}

bool StreamItems::Poll(std::vector<std::string>& out)
{
    return shared.Poll(out);
}

void ItemList::Replace(std::vector<std::string> fresh)
{
    std::lock_guard<std::mutex> lock(mutex);
    items = std::move(fresh);
    ++version;
}

bool ItemList::Poll(std::vector<std::string>& out)
{
    std::lock_guard<std::mutex> lock(mutex);
    if (version == seen)
        return false;
    seen = version;
    out = items;
    return true;
}

} // namespace title
