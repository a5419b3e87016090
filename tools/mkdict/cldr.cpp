#include <unicode/uchar.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <unordered_map>

#include "mkdict.h"
#include "text/text.h"

namespace orvane::mkdict {
namespace {

std::string unescape(std::string_view s) {
  std::string out;
  for (std::size_t i = 0; i < s.size(); ++i) {
    if (s[i] != '&') {
      out += s[i];
      continue;
    }
    const auto semi = s.find(';', i);
    if (semi == std::string_view::npos) {
      out += s.substr(i);
      break;
    }
    const std::string_view entity = s.substr(i + 1, semi - i - 1);
    if (entity == "amp") out += '&';
    else if (entity == "lt") out += '<';
    else if (entity == "gt") out += '>';
    else if (entity == "quot") out += '"';
    else if (entity == "apos") out += '\'';
    else if (entity.size() > 1 && entity[0] == '#') {
      const bool hex = entity[1] == 'x' || entity[1] == 'X';
      const std::string digits(entity.substr(hex ? 2 : 1));
      char* end = nullptr;
      const unsigned long code = std::strtoul(digits.c_str(), &end, hex ? 16 : 10);
      if (digits.empty() || *end != '\0' || code > 0x10FFFF) out += s.substr(i, semi - i + 1);
      else out += text::fromScalar(static_cast<char32_t>(code));
    } else {
      out += s.substr(i, semi - i + 1);
    }
    i = semi;
  }
  return out;
}

std::optional<std::string_view> attribute(std::string_view tag, std::string_view name) {
  const std::string key = " " + std::string(name) + "=\"";
  const auto at = tag.find(key);
  if (at == std::string_view::npos) return std::nullopt;
  const auto begin = at + key.size();
  const auto end = tag.find('"', begin);
  if (end == std::string_view::npos) return std::nullopt;
  return tag.substr(begin, end - begin);
}

std::string_view trim(std::string_view s) {
  while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) s.remove_prefix(1);
  while (!s.empty() && (s.back() == ' ' || s.back() == '\t')) s.remove_suffix(1);
  return s;
}

bool has(char32_t c, UProperty property) { return u_hasBinaryProperty(static_cast<UChar32>(c), property); }

// The kana a user types; "・" and spaces are layout, not reading.
std::optional<std::string> kanaReading(std::string_view keyword) {
  std::u32string kept;
  for (char32_t c : text::scalars(keyword)) {
    if (c == U'・' || c == U' ' || c == U'\u3000') continue;
    const bool hiragana = c >= 0x3041 && c <= 0x3096;
    const bool katakana = (c >= 0x30A1 && c <= 0x30FA) || c == 0x30FC;
    if (!hiragana && !katakana) return std::nullopt;
    kept += c;
  }
  if (kept.empty()) return std::nullopt;
  return hiraganaReading(text::fromScalars(kept));
}

}  // namespace

std::vector<Annotation> readCLDRAnnotations(const fs::path& file, Diagnostics& diagnostics) {
  if (!fs::exists(file))
    throw SourceError("CLDR annotations not found at " + file.string() +
                      ": install the Debian package unicode-cldr-core or pass --cldr DIR");
  const std::string content = readWhole(file);
  const std::string label = file.parent_path().filename().string() + "/" + file.filename().string();
  std::vector<Annotation> annotations;
  std::unordered_map<std::string, std::size_t> index;
  std::size_t at = 0;
  while ((at = content.find("<annotation", at)) != std::string::npos) {
    // Not the enclosing <annotations> element.
    const char next = at + 11 < content.size() ? content[at + 11] : '\0';
    if (next != ' ' && next != '>') {
      at += 11;
      continue;
    }
    const auto tagEnd = content.find('>', at);
    const auto close = tagEnd == std::string::npos ? tagEnd : content.find("</annotation>", tagEnd);
    if (close == std::string::npos) {
      diagnostics.malformed(label, std::string_view(content).substr(at, 80));
      break;
    }
    const std::string_view tag(content.data() + at, tagEnd - at);
    const std::string_view body(content.data() + tagEnd + 1, close - tagEnd - 1);
    at = close;
    const auto cp = attribute(tag, "cp");
    if (!cp || cp->empty() || tag.back() == '/') {
      diagnostics.malformed(label, tag);
      continue;
    }
    const std::string characters = unescape(*cp);
    auto [it, fresh] = index.emplace(characters, annotations.size());
    if (fresh) annotations.push_back({characters, {}});
    auto& keywords = annotations[it->second].keywords;
    // The spoken name is one keyword; the plain list separates keywords by "|".
    const bool spoken = attribute(tag, "type") == std::optional<std::string_view>("tts");
    for (auto piece : spoken ? std::vector<std::string_view>{body} : split(body, '|')) {
      const std::string keyword = unescape(trim(piece));
      if (!keyword.empty() && std::find(keywords.begin(), keywords.end(), keyword) == keywords.end())
        keywords.push_back(keyword);
    }
  }
  return annotations;
}

bool isEmoji(std::string_view characters) {
  for (char32_t c : text::scalars(characters)) {
    if (c == 0xFE0F || c == 0x20E3) return true;
    if (has(c, UCHAR_EMOJI_PRESENTATION) || has(c, UCHAR_EXTENDED_PICTOGRAPHIC)) return true;
  }
  return false;
}

bool isTextPresentation(std::string_view characters) {
  auto c = text::singleScalar(characters);
  return c && has(*c, UCHAR_EXTENDED_PICTOGRAPHIC) && !has(*c, UCHAR_EMOJI_PRESENTATION);
}

ReadingOf readingResolver(const std::vector<WordEntry>& words) {
  // Surface -> its one reading, or "" once a second reading shows up.
  auto readings = std::make_shared<std::unordered_map<std::string, std::string>>();
  for (const auto& word : words) {
    auto [it, fresh] = readings->emplace(word.surface, word.reading);
    if (!fresh && it->second != word.reading) it->second.clear();
  }
  return [readings](std::string_view keyword) -> std::optional<std::string> {
    if (auto kana = kanaReading(keyword)) return kana;
    auto it = readings->find(std::string(keyword));
    if (it == readings->end() || it->second.empty()) return std::nullopt;
    return it->second;
  };
}

void addAnnotations(const std::vector<Annotation>& annotations, const ReadingOf& readingOf,
                    ReadingTable& emoji, ReadingTable& symbols) {
  for (const auto& annotation : annotations) {
    // A candidate list is separated by spaces, so a candidate cannot hold one.
    if (annotation.characters.find_first_of(" \t\n\r") != std::string::npos) continue;
    const bool pictograph = isEmoji(annotation.characters);
    const bool alsoSymbol = !pictograph || isTextPresentation(annotation.characters);
    for (const auto& keyword : annotation.keywords) {
      auto reading = readingOf(keyword);
      if (!reading || reading->empty()) continue;
      if (pictograph) emoji.add(*reading, annotation.characters);
      if (alsoSymbol) symbols.add(*reading, annotation.characters);
    }
  }
}

}  // namespace orvane::mkdict
