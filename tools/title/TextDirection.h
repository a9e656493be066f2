// A paragraph's base direction: given, or taken from its first strong character.
#ifndef FLOWER_TITLE_TEXTDIRECTION_H
#define FLOWER_TITLE_TEXTDIRECTION_H

namespace title {

enum class TextDirection { Auto, LeftToRight, RightToLeft };

} // namespace title

#endif
