// Releasing channels, the same way Create.cpp obtained them.
#include <cstdlib>

#include "channel.h"

void DeleteChannel(Channel* channel)
{
    if (channel == nullptr)
        return;
    if (channel->ownsData && channel->data != nullptr)
        std::free(channel->data);
    std::free(channel);
}
