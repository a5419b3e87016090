// How many terminal cells text takes, and where a marked-text position
// lands on the screen.
#pragma once

#include <cstdint>
#include <string_view>

namespace orvane::term {

// Cells of one user-perceived character: 2 for East Asian wide and
// full-width characters and emoji shown as pictures, 0 for a character that
// is only a combining mark or a format control, 1 otherwise. Ambiguous-width
// characters count 1, as most terminals draw them outside CJK locales.
int characterWidth(std::string_view character);

// Cells of a string without line breaks.
int displayWidth(std::string_view text);

// The cell column at which a position given in UTF-16 units falls. A
// position inside a character (between the halves of a surrogate pair, or
// inside a cluster) counts as the start of that character; a position past
// the end is the end.
int columnAtUTF16(std::string_view text, int64_t utf16Offset);

}  // namespace orvane::term
