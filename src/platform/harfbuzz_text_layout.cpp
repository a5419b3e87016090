#include "platform/harfbuzz_text_layout.h"

#include <fontconfig/fontconfig.h>
#include <ft2build.h>
#include FT_FREETYPE_H
#include <hb-ft.h>
#include <hb.h>

namespace orvane::platform {
namespace {

struct FontFile {
  std::string path;
  int index = 0;
};

// fontconfig always answers with some font; only one of the asked family counts.
std::optional<FontFile> findFont(std::string_view family) {
  if (!FcInit()) return std::nullopt;
  const std::string name(family);
  FcPattern* pattern = FcPatternCreate();
  if (!pattern) return std::nullopt;
  FcPatternAddString(pattern, FC_FAMILY, reinterpret_cast<const FcChar8*>(name.c_str()));
  FcConfigSubstitute(nullptr, pattern, FcMatchPattern);
  FcDefaultSubstitute(pattern);
  FcResult result = FcResultNoMatch;
  FcPattern* match = FcFontMatch(nullptr, pattern, &result);
  FcPatternDestroy(pattern);
  if (!match) return std::nullopt;
  std::optional<FontFile> found;
  FcChar8* matchedFamily = nullptr;
  bool sameFamily = false;
  for (int i = 0; FcPatternGetString(match, FC_FAMILY, i, &matchedFamily) == FcResultMatch; ++i) {
    if (FcStrCmpIgnoreCase(matchedFamily, reinterpret_cast<const FcChar8*>(name.c_str())) == 0) sameFamily = true;
  }
  FcChar8* file = nullptr;
  int index = 0;
  if (sameFamily && FcPatternGetString(match, FC_FILE, 0, &file) == FcResultMatch) {
    if (FcPatternGetInteger(match, FC_INDEX, 0, &index) != FcResultMatch) index = 0;
    found = FontFile{reinterpret_cast<const char*>(file), index};
  }
  FcPatternDestroy(match);
  return found;
}

}  // namespace

struct HarfBuzzTextLayout::Font {
  FT_Library library = nullptr;
  FT_Face face = nullptr;
  hb_font_t* font = nullptr;
  std::string postScriptName;

  ~Font() {
    if (font) hb_font_destroy(font);
    if (face) FT_Done_Face(face);
    if (library) FT_Done_FreeType(library);
  }
};

HarfBuzzTextLayout::HarfBuzzTextLayout(std::string_view family) {
  const auto file = findFont(family);
  if (!file) return;
  auto font = std::make_unique<Font>();
  if (FT_Init_FreeType(&font->library) != 0) return;
  if (FT_New_Face(font->library, file->path.c_str(), file->index, &font->face) != 0) return;
  const char* postScriptName = FT_Get_Postscript_Name(font->face);
  font->postScriptName = postScriptName ? postScriptName : std::string(family);
  // Shaping needs the character map and the ligature tables, not outlines,
  // so HarfBuzz's own font functions serve even for a bitmap-only face.
  hb_face_t* face = hb_ft_face_create_referenced(font->face);
  font->font = hb_font_create(face);
  hb_face_destroy(face);
  font_ = std::move(font);
}

HarfBuzzTextLayout::~HarfBuzzTextLayout() = default;

std::optional<std::string> HarfBuzzTextLayout::fontName() const {
  if (!font_) return std::nullopt;
  return font_->postScriptName;
}

TextLayoutResult HarfBuzzTextLayout::layout(std::string_view text) {
  TextLayoutResult result;
  if (!font_ || text.empty()) return result;
  hb_buffer_t* buffer = hb_buffer_create();
  hb_buffer_add_utf8(buffer, text.data(), static_cast<int>(text.size()), 0, static_cast<int>(text.size()));
  hb_buffer_guess_segment_properties(buffer);
  // Variation selectors and joiners left over after shaping draw nothing; a
  // drawing of the line would not show them as glyphs either.
  hb_buffer_set_flags(buffer, HB_BUFFER_FLAG_REMOVE_DEFAULT_IGNORABLES);
  hb_shape(font_->font, buffer, nullptr, 0);
  unsigned int count = 0;
  const hb_glyph_info_t* glyphs = hb_buffer_get_glyph_infos(buffer, &count);
  result.glyphCount = count;
  if (count > 0 && glyphs[0].codepoint != 0) result.firstRunFontName = font_->postScriptName;
  hb_buffer_destroy(buffer);
  return result;
}

}  // namespace orvane::platform
