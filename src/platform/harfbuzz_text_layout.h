// The Linux text layout: shapes one line with HarfBuzz in a font found by
// fontconfig and opened with FreeType. Nothing substitutes fonts here, so a
// character the font lacks shows up as glyph 0 instead of a fallback font.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/services.h"

namespace orvane::platform {

class HarfBuzzTextLayout final : public TextLayout {
 public:
  // The colour emoji font of the desktop.
  static constexpr std::string_view emojiFamily = "Noto Color Emoji";

  explicit HarfBuzzTextLayout(std::string_view family = emojiFamily);
  ~HarfBuzzTextLayout() override;
  HarfBuzzTextLayout(const HarfBuzzTextLayout&) = delete;
  HarfBuzzTextLayout& operator=(const HarfBuzzTextLayout&) = delete;

  // The glyphs after shaping; the first run is drawn with the font (its
  // PostScript name) unless its first glyph is missing from it.
  TextLayoutResult layout(std::string_view text) override;
  // The PostScript name of the font; nullopt when no font of the family is installed.
  std::optional<std::string> fontName() const override;

 private:
  struct Font;
  std::unique_ptr<Font> font_;
};

}  // namespace orvane::platform
