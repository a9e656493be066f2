// Crawl items: one per line, from a file that may change while the crawl
// runs, or from a stream (standard input) as lines arrive.
#ifndef FLOWER_TITLE_ITEMS_H
#define FLOWER_TITLE_ITEMS_H

#include <atomic>
#include <cstddef>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "ItemFeed.h"

namespace title {

constexpr std::size_t kMaxItemBytes = 1000;
constexpr std::size_t kMaxItems = 1000;
constexpr std::size_t kMaxItemsFileBytes = 1 << 20;

// One line as an item: bytes that are not UTF-8 become U+FFFD, control
// characters spaces, the ends are trimmed and the item is cut to
// kMaxItemBytes on a character boundary. Empty when nothing is left.
std::string CleanItem(const std::string& line);

// A whole file: its non-blank lines (LF or CR LF), at most kMaxItems.
std::vector<std::string> ParseItems(const std::string& text);

// Lines out of a byte stream as they complete; blank lines come out empty.
class LineSplitter {
  public:
    void Feed(const char* bytes, std::size_t count, std::vector<std::string>& lines);
    // The last line when the stream ends without a newline.
    void Finish(std::vector<std::string>& lines);

  private:
    std::string partial;
    bool overlong = false;
};

// Items from a file, looked at again at each item boundary: a change of its
// time, size or identity rereads it. A file that vanishes or cannot be read
// keeps the items it had.
class ItemsFile : public ItemFeed {
  public:
    explicit ItemsFile(std::string path); // throws ToolError when unreadable
    bool Poll(std::vector<std::string>& items) override;

  private:
    bool Read(std::vector<std::string>& items);

    std::string path;
    struct Stamp {
        long long seconds = -1, nanoseconds = 0, size = -1, inode = -1;
        bool operator==(const Stamp& o) const
        {
            return seconds == o.seconds && nanoseconds == o.nanoseconds && size == o.size &&
                   inode == o.inode;
        }
    } seen;
    std::vector<std::string> current;
    bool reported = false;
};

// A list one thread replaces while the ticker polls it on another: each new
// list is reported once.
class ItemList : public ItemFeed {
  public:
    void Replace(std::vector<std::string> items);
    bool Poll(std::vector<std::string>& items) override;

  private:
    std::mutex mutex;
    std::vector<std::string> items;
    unsigned long version = 0, seen = ~0UL;
};

// Items from a file descriptor read on a thread of its own: each line joins
// the loop, a blank line empties it (the lines after it start a new one).
class StreamItems : public ItemFeed {
  public:
    explicit StreamItems(int fd);
    ~StreamItems() override;
    bool Poll(std::vector<std::string>& items) override;

  private:
    // Reads what arrives within the wait; false when nothing did or the
    // stream ended.
    bool ReadSome(int waitMilliseconds);

    int fd;
    LineSplitter splitter;
    bool ended = false;
    std::atomic<bool> stop{false};
    std::vector<std::string> items; // the reader's own copy
    ItemList shared;
    std::thread reader;
};

} // namespace title

#endif
