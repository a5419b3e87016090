#include "key_decoder.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace orvane::term {
namespace {

// The decoded inputs, "; "-separated; pastes shown as "paste:<text>".
std::string describeAll(KeyDecoder& decoder) {
  std::string out;
  for (const auto& input : decoder.take()) {
    if (!out.empty()) out += "; ";
    out += input.kind == TermInput::Kind::paste ? "paste:" + input.text : describe(input.event);
  }
  return out;
}

std::string decodeAll(std::string_view bytes, bool thenFlush = true) {
  KeyDecoder decoder;
  decoder.feed(bytes);
  if (thenFlush) decoder.flush();
  return describeAll(decoder);
}

TEST(KeyDecoderTest, DecodesWhatTerminalsSend) {
  const std::string left = "code=123 flags=pad|fn chars=U+F702", right = "code=124 flags=pad|fn chars=U+F703";
  const std::string shifted = "code=123 flags=shift|pad|fn chars=U+F702; code=124 flags=shift|pad|fn chars=U+F703";
  const std::string del = "code=117 flags=shift|fn chars=U+F728", space = "code=49 flags=shift chars=U+0020";
  const struct {
    std::string bytes, keys;
  } cases[] = {
      {"kA \r\t", "code=0 chars=k; code=0 flags=shift chars=A; code=49 chars=U+0020; code=36 chars=U+000D; "
                  "code=48 chars=U+0009"},
      {"\x7f\x08\x1bx\x1b\x7f", "code=51 chars=U+007F; code=51 chars=U+007F; code=0 flags=opt chars=x; "
                               "code=51 flags=opt chars=U+007F"},
      {"\x1b[D\x1b[C\x1b[B\x1b[A\x1bOD\x1bOC", left + "; " + right + "; code=125 flags=pad|fn chars=U+F701; "
                                             "code=126 flags=pad|fn chars=U+F700; " + left + "; " + right},
      {"\x1b[1;2D\x1b[1;2C\x1b[d\x1b[c", shifted + "; " + shifted},
      {"\x1b[1;7A\x1b\x1b[A", "code=126 flags=ctrl|opt|pad|fn chars=U+F700; code=126 flags=opt|pad|fn chars=U+F700"},
      {"\x1b[3~\x1b[3;2~\x1b[3$", "code=117 flags=fn chars=U+F728; " + del + "; " + del},
      {"\x1b[Z\x03", "code=48 flags=shift chars=U+0019 base=U+0009; code=0 flags=ctrl chars=U+0003 base=c"},
      {"\x1bOQ\x1b[12~\x1b[15~\x1b[5~\x1b[6~", "code=120 flags=fn chars=U+F705; code=120 flags=fn chars=U+F705; "
                                            "code=96 flags=fn chars=U+F708; code=116 flags=fn chars=U+F72C; "
                                            "code=121 flags=fn chars=U+F72D"},
      {"\x1bOq\x1bOM", "code=83 flags=pad chars=1; code=76 flags=pad chars=U+000D"},
      // Ctrl-J is the kana key, Ctrl-L the eisu key, Ctrl-Space Shift+Space, however sent.
      {std::string("\n\x0c\0", 3), "code=104 chars=; code=102 chars=; " + space},
      {"\x1b[32;2u\x1b[32;5u\x1b[27;5;32~\x1b[106;5u", space + "; " + space + "; " + space + "; code=104 chars="},
      {"\x1b[27u\x1b[100;5u\x1b[27;2;13~", "code=53 chars=U+001B; code=0 flags=ctrl chars=U+0004 base=d; "
                                          "code=36 flags=shift chars=U+000D"},
      {"あ😀\xff\x1b[Ia\x1b", "code=0 chars=あ; code=0 chars=😀; code=0 chars=\xEF\xBF\xBD; code=0 chars=a; "
                              "code=53 chars=U+001B"},
      {"\x1b[200~ab\r\ncd\x1b[201~x", "paste:ab\ncd; code=0 chars=x"},
  };
  for (const auto& c : cases) EXPECT_EQ(decodeAll(c.bytes), c.keys) << c.bytes;
}

TEST(KeyDecoderTest, WaitsForTheRestOfSplitInput) {
  const struct {
    std::vector<std::string> chunks;
    std::string keys;
  } cases[] = {
      {{"\x1b", "[1;2", "D"}, "code=123 flags=shift|pad|fn chars=U+F702"},
      {{"\x1b[3", "~"}, "code=117 flags=fn chars=U+F728"},
      {{"\xe3", "\x81", "\x82"}, "code=0 chars=あ"},
      {{"\xf0\x9f", "\x98\x80"}, "code=0 chars=😀"},
      {{"\x1b[200~hi\x1b[2", "01~"}, "paste:hi"},
  };
  for (const auto& c : cases) {
    KeyDecoder decoder;
    for (std::size_t i = 0; i + 1 < c.chunks.size(); ++i) {
      decoder.feed(c.chunks[i]);
      EXPECT_TRUE(decoder.take().empty()) << c.keys << " decided too early at chunk " << i;
      EXPECT_EQ(decoder.hasPending(), !c.keys.starts_with("paste")) << c.keys;
    }
    decoder.feed(c.chunks.back());
    EXPECT_EQ(describeAll(decoder), c.keys);
    EXPECT_FALSE(decoder.hasPending()) << c.keys;
  }
}

TEST(KeyDecoderTest, TimeoutDecidesWhatWasPending) {
  // Without the timeout nothing is decided: ESC may begin a sequence.
  EXPECT_EQ(decodeAll("\x1b", false), "");
  EXPECT_EQ(decodeAll("\x1b[", false), "");
  // After it, an unfinished sequence is Alt and the introducer; a truncated
  // UTF-8 character cannot wait for ever.
  EXPECT_EQ(decodeAll("\x1b["), "code=0 flags=opt chars=[");
  EXPECT_EQ(decodeAll("\x1bO"), "code=0 flags=shift|opt chars=O");
  EXPECT_EQ(decodeAll("\x1b\x1b"), "code=53 flags=opt chars=U+001B");
  EXPECT_EQ(decodeAll("a\xe3\x81"), "code=0 chars=a; code=0 chars=\xEF\xBF\xBD; code=0 chars=\xEF\xBF\xBD");

  KeyDecoder decoder;
  decoder.feed("\x1b");
  decoder.flush();
  decoder.feed("a");
  EXPECT_EQ(describeAll(decoder), "code=53 chars=U+001B; code=0 chars=a");
}

}  // namespace
}  // namespace orvane::term
