#include "app/request.h"

#include <gtest/gtest.h>

namespace orvane::app {
namespace {

Request parsed(std::string_view line) {
  auto p = parseRequest(line);
  EXPECT_TRUE(p.request) << line << ": " << p.error;
  return p.request ? *p.request : Request{};
}

TEST(ParseRequest, KeyFieldsAndTheirDefaults) {
  auto plain = std::get<KeyRequest>(parsed(R"({"op":"key","code":36})").operation);
  EXPECT_EQ(plain, (KeyRequest{36, std::nullopt, 0, 10}));

  auto full = std::get<KeyRequest>(
      parsed(R"({"op":"key","code":65535,"chars":"é","flags":1179648,"type":11,"extra":[1]})").operation);
  EXPECT_EQ(full, (KeyRequest{65535, "é", 0x120000, 11}));

  // null characters are no characters, as an absent field is.
  auto none = std::get<KeyRequest>(parsed(R"({"op":"key","code":0,"chars":null})").operation);
  EXPECT_FALSE(none.chars);
}

TEST(ParseRequest, ClientAndBundle) {
  auto defaults = parsed(R"({"op":"menu"})");
  EXPECT_EQ(defaults.client, "default");
  EXPECT_FALSE(defaults.bundle);
  auto named = parsed(R"({"op":"menu","client":"ed","bundle":"org.example.Editor"})");
  EXPECT_EQ(named.client, "ed");
  EXPECT_EQ(named.bundle, "org.example.Editor");
}

TEST(ParseRequest, SetValueKeepsTheValueKind) {
  struct Case {
    const char* line;
    RequestValue value;
  };
  const Case cases[] = {
      {R"({"op":"setValue","tag":1768778093,"value":"com.orvane.inputmethod.OrvaneIME.Roman"})",
       std::string("com.orvane.inputmethod.OrvaneIME.Roman")},
      {R"({"op":"setValue","tag":1,"value":true})", true},
      {R"({"op":"setValue","tag":1,"value":-3})", int64_t{-3}},
      {R"({"op":"setValue","tag":1,"value":2.5})", 2.5},
      {R"({"op":"setValue","tag":1,"value":[1]})", std::monostate{}},
      {R"({"op":"setValue","tag":1,"value":null})", std::monostate{}},
      {R"({"op":"setValue","tag":1})", std::monostate{}},
  };
  for (const auto& c : cases) EXPECT_EQ(std::get<SetValueRequest>(parsed(c.line).operation).value, c.value) << c.line;
  EXPECT_EQ(std::get<SetValueRequest>(parsed(R"({"op":"setValue","tag":-7})").operation).tag, -7);
}

TEST(ParseRequest, EveryOperationName) {
  struct Case {
    const char* line;
    std::size_t alternative;
  };
  const Case cases[] = {
      {R"({"op":"type","text":""})", 1},
      {R"({"op":"menuAction","action":"showAbout"})", 3},
      {R"({"op":"panelHighlight","text":"漢字"})", 4},
      {R"({"op":"panelSelect"})", 4},
      {R"({"op":"activate"})", 5},
      {R"({"op":"deactivate"})", 5},
      {R"({"op":"commitComposition"})", 5},
      {R"({"op":"candidates"})", 5},
      {R"({"op":"recognizedEvents"})", 5},
  };
  for (const auto& c : cases) EXPECT_EQ(parsed(c.line).operation.index(), c.alternative) << c.line;
  auto select = std::get<PanelRequest>(parsed(R"({"op":"panelSelect","text":"字"})").operation);
  EXPECT_TRUE(select.select);
  EXPECT_EQ(select.text, "字");
  EXPECT_EQ(std::get<MenuActionRequest>(parsed(R"({"op":"menuAction","action":"copyLogCommand"})").operation).action,
            MenuAction::copyLogCommand);
}

TEST(ParseRequest, MalformedLinesAreRefusedWithAReason) {
  const std::string lines[] = {
      "",
      "kanji",
      "[1,2]",
      R"("op")",
      R"({"op":"key","code":1} trailing)",
      "{}",
      R"({"op":5})",
      R"({"op":"fly"})",
      R"({"op":"key"})",
      R"({"op":"key","code":"36"})",
      R"({"op":"key","code":-1})",
      R"({"op":"key","code":65536})",
      R"({"op":"key","code":1.5})",
      R"({"op":"key","code":0,"chars":5})",
      R"({"op":"key","code":0,"flags":-1})",
      R"({"op":"key","code":0,"type":"down"})",
      R"({"op":"type"})",
      R"({"op":"type","text":null})",
      R"({"op":"type","text":"\ud800"})",
      "{\"op\":\"type\",\"text\":\"ka\xff\"}",
      "{\"op\":\"key\",\"code\":0,\"chars\":\"\xc3\"}",
      "{\"op\":\"menu\",\"junk\":\"\xe3\x81\"}",
      R"({"op":"setValue","value":"x"})",
      R"({"op":"setValue","tag":"imim"})",
      R"({"op":"menuAction"})",
      R"({"op":"menuAction","action":"dance"})",
      R"({"op":"panelSelect","text":3})",
      R"({"op":"menu","client":7})",
      R"({"op":"menu","client":null})",
      R"({"op":"menu","bundle":["x"]})",
  };
  for (const auto& line : lines) {
    auto p = parseRequest(line);
    EXPECT_FALSE(p.request) << line;
    EXPECT_FALSE(p.error.empty()) << line;
  }
  EXPECT_EQ(parseRequest("{\"op\":\"type\",\"text\":\"\xff\"}").error, "invalid UTF-8");
  EXPECT_EQ(parseRequest(R"({"op":"fly"})").error, "unknown op: fly");
}

TEST(KeysForText, SpecialCharactersBecomeTheirKeys) {
  auto keys = keysForText("a \nか\t👍🏽");
  ASSERT_EQ(keys.size(), 6u);
  EXPECT_EQ(keys[0], (KeyRequest{0, "a", 0, 10}));
  EXPECT_EQ(keys[1], (KeyRequest{49, " ", 0, 10}));
  EXPECT_EQ(keys[2], (KeyRequest{36, "\r", 0, 10}));
  EXPECT_EQ(keys[3], (KeyRequest{0, "か", 0, 10}));
  EXPECT_EQ(keys[4], (KeyRequest{48, "\t", 0, 10}));
  // One key per user-perceived character, not per scalar.
  EXPECT_EQ(keys[5], (KeyRequest{0, "👍🏽", 0, 10}));
  // A CRLF is one character and one Return.
  auto crlf = keysForText("a\r\n");
  ASSERT_EQ(crlf.size(), 2u);
  EXPECT_EQ(crlf[1], (KeyRequest{36, "\r", 0, 10}));
  EXPECT_TRUE(keysForText("").empty());
}

}  // namespace
}  // namespace orvane::app
