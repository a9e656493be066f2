// Where a ticker's items come from: a file, a stream, anything that can say
// whether the list changed.
#ifndef FLOWER_TITLE_ITEMFEED_H
#define FLOWER_TITLE_ITEMFEED_H

#include <string>
#include <vector>

namespace title {

// Where items come from. Poll is asked at item boundaries only.
class ItemFeed {
  public:
    virtual ~ItemFeed() = default;
    // True, with the new list in `items`, when the items changed since the
    // last call (the first call reports the initial list, even an empty one).
    virtual bool Poll(std::vector<std::string>& items) = 0;
};

} // namespace title

#endif
