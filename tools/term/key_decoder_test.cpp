#include "key_decoder.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace orvane::term {
namespace {

std::vector<std::string> decodeAll(std::string_view bytes, bool thenFlush = true) {
  KeyDecoder decoder;
  decoder.feed(bytes);
  if (thenFlush) decoder.flush();
  std::vector<std::string> out;
  for (const auto& input : decoder.take())
    out.push_back(input.kind == TermInput::Kind::paste ? "paste:" + input.text : describe(input.event));
  return out;
}

struct Case {
  std::string name;
  std::string bytes;
  std::vector<std::string> keys;
};

TEST(KeyDecoderTest, DecodesWhatTerminalsSend) {
  const std::vector<Case> cases = {
      {"letters", "ka", {"code=0 chars=k", "code=0 chars=a"}},
      {"capital carries shift", "A", {"code=0 flags=shift chars=A"}},
      {"space", " ", {"code=49 chars=U+0020"}},
      {"enter is CR", "\r", {"code=36 chars=U+000D"}},
      {"tab", "\t", {"code=48 chars=U+0009"}},
      {"backspace DEL", "\x7f", {"code=51 chars=U+007F"}},
      {"backspace BS", "\x08", {"code=51 chars=U+007F"}},
      {"arrows CSI", "\x1b[D\x1b[C\x1b[B\x1b[A",
       {"code=123 flags=pad|fn chars=U+F702", "code=124 flags=pad|fn chars=U+F703",
        "code=125 flags=pad|fn chars=U+F701", "code=126 flags=pad|fn chars=U+F700"}},
      {"arrows SS3", "\x1bOD\x1bOC", {"code=123 flags=pad|fn chars=U+F702", "code=124 flags=pad|fn chars=U+F703"}},
      {"shift arrows", "\x1b[1;2D\x1b[1;2C",
       {"code=123 flags=shift|pad|fn chars=U+F702", "code=124 flags=shift|pad|fn chars=U+F703"}},
      {"rxvt shift arrows", "\x1b[d\x1b[c",
       {"code=123 flags=shift|pad|fn chars=U+F702", "code=124 flags=shift|pad|fn chars=U+F703"}},
      {"ctrl alt arrow", "\x1b[1;7A", {"code=126 flags=ctrl|opt|pad|fn chars=U+F700"}},
      {"forward delete", "\x1b[3~", {"code=117 flags=fn chars=U+F728"}},
      {"shift forward delete", "\x1b[3;2~", {"code=117 flags=shift|fn chars=U+F728"}},
      {"rxvt shift delete", "\x1b[3$", {"code=117 flags=shift|fn chars=U+F728"}},
      {"shift tab", "\x1b[Z", {"code=48 flags=shift chars=U+0019 base=U+0009"}},
      {"F2 both ways", "\x1bOQ\x1b[12~", {"code=120 flags=fn chars=U+F705", "code=120 flags=fn chars=U+F705"}},
      {"F5 and page keys", "\x1b[15~\x1b[5~\x1b[6~",
       {"code=96 flags=fn chars=U+F708", "code=116 flags=fn chars=U+F72C", "code=121 flags=fn chars=U+F72D"}},
      {"keypad digit and enter", "\x1bOq\x1bOM", {"code=83 flags=pad chars=1", "code=76 flags=pad chars=U+000D"}},
      {"ctrl letter is a chord", "\x03", {"code=0 flags=ctrl chars=U+0003 base=c"}},
      {"ctrl-J is the kana key", "\n", {"code=104 chars="}},
      {"ctrl-L is the eisu key", "\x0c", {"code=102 chars="}},
      {"ctrl-space is shift+space", std::string(1, '\0'), {"code=49 flags=shift chars=U+0020"}},
      {"alt letter", "\x1bx", {"code=0 flags=opt chars=x"}},
      {"alt backspace", "\x1b\x7f", {"code=51 flags=opt chars=U+007F"}},
      {"alt arrow as ESC ESC", "\x1b\x1b[A", {"code=126 flags=opt|pad|fn chars=U+F700"}},
      {"lone escape at the end", "\x1b", {"code=53 chars=U+001B"}},
      {"utf-8", "あ😀", {"code=0 chars=あ", "code=0 chars=😀"}},
      {"invalid utf-8 is a replacement", "\xff" "a", {"code=0 chars=\xEF\xBF\xBD", "code=0 chars=a"}},
      {"CSI u shift+space", "\x1b[32;2u", {"code=49 flags=shift chars=U+0020"}},
      {"CSI u escape", "\x1b[27u", {"code=53 chars=U+001B"}},
      {"CSI u ctrl-j stays the kana key", "\x1b[106;5u", {"code=104 chars="}},
      {"CSI u ctrl-space", "\x1b[32;5u", {"code=49 flags=shift chars=U+0020"}},
      {"modifyOtherKeys ctrl-space", "\x1b[27;5;32~", {"code=49 flags=shift chars=U+0020"}},
      {"CSI u ctrl-d", "\x1b[100;5u", {"code=0 flags=ctrl chars=U+0004 base=d"}},
      {"modifyOtherKeys shift+enter", "\x1b[27;2;13~", {"code=36 flags=shift chars=U+000D"}},
      {"focus report dropped", "\x1b[Ia", {"code=0 chars=a"}},
      {"bracketed paste", "\x1b[200~ab\r\ncd\x1b[201~x", {"paste:ab\ncd", "code=0 chars=x"}},
  };
  for (const auto& c : cases) EXPECT_EQ(decodeAll(c.bytes), c.keys) << c.name;
}

TEST(KeyDecoderTest, WaitsForTheRestOfSplitInput) {
  struct Split {
    std::string name;
    std::vector<std::string> chunks;
    std::vector<std::string> keys;
  };
  const std::vector<Split> cases = {
      {"CSI split after ESC", {"\x1b", "[1;2", "D"}, {"code=123 flags=shift|pad|fn chars=U+F702"}},
      {"tilde split", {"\x1b[3", "~"}, {"code=117 flags=fn chars=U+F728"}},
      {"utf-8 split in three", {"\xe3", "\x81", "\x82"}, {"code=0 chars=あ"}},
      {"emoji split", {"\xf0\x9f", "\x98\x80"}, {"code=0 chars=😀"}},
      {"paste split inside the end marker", {"\x1b[200~hi\x1b[2", "01~"}, {"paste:hi"}},
  };
  for (const auto& c : cases) {
    KeyDecoder decoder;
    std::vector<std::string> got;
    for (std::size_t i = 0; i < c.chunks.size(); ++i) {
      decoder.feed(c.chunks[i]);
      auto inputs = decoder.take();
      if (i + 1 < c.chunks.size()) {
        EXPECT_TRUE(inputs.empty()) << c.name << " decided too early at chunk " << i;
        EXPECT_EQ(decoder.hasPending(), !c.name.starts_with("paste")) << c.name;
      }
      for (const auto& input : inputs)
        got.push_back(input.kind == TermInput::Kind::paste ? "paste:" + input.text : describe(input.event));
    }
    EXPECT_EQ(got, c.keys) << c.name;
    EXPECT_FALSE(decoder.hasPending()) << c.name;
  }
}

TEST(KeyDecoderTest, TimeoutDecidesWhatWasPending) {
  // Without the timeout nothing is decided: ESC may begin a sequence.
  EXPECT_TRUE(decodeAll("\x1b", false).empty());
  EXPECT_TRUE(decodeAll("\x1b[", false).empty());
  // After it, an unfinished sequence is Alt and the introducer, then the rest.
  EXPECT_EQ(decodeAll("\x1b["), (std::vector<std::string>{"code=0 flags=opt chars=["}));
  EXPECT_EQ(decodeAll("\x1bO"), (std::vector<std::string>{"code=0 flags=shift|opt chars=O"}));
  EXPECT_EQ(decodeAll("\x1b\x1b"), (std::vector<std::string>{"code=53 flags=opt chars=U+001B"}));
  // A truncated UTF-8 character cannot wait for ever.
  EXPECT_EQ(decodeAll("a\xe3\x81"), (std::vector<std::string>{"code=0 chars=a", "code=0 chars=\xEF\xBF\xBD",
                                                             "code=0 chars=\xEF\xBF\xBD"}));
}

TEST(KeyDecoderTest, EscapeThenKeyAfterTheTimeoutAreTwoKeys) {
  KeyDecoder decoder;
  decoder.feed("\x1b");
  decoder.flush();
  decoder.feed("a");
  auto inputs = decoder.take();
  ASSERT_EQ(inputs.size(), 2u);
  EXPECT_EQ(describe(inputs[0].event), "code=53 chars=U+001B");
  EXPECT_EQ(describe(inputs[1].event), "code=0 chars=a");
}

}  // namespace
}  // namespace orvane::term
