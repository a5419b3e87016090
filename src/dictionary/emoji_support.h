// Whether the colour emoji font draws a string as one picture of its own, so
// that no emoji candidate shows up as a box or as several pictures.
#pragma once

#include <string_view>

namespace orvane::platform {
class TextLayout;
}

namespace orvane::EmojiSupport {

// Laid out once per distinct string for the life of the process.
bool isSupported(std::string_view emoji);

// Tests: answer with this layout (nullptr: the platform's) and forget every
// cached answer.
void resetForTesting(platform::TextLayout* layout = nullptr);

}  // namespace orvane::EmojiSupport
