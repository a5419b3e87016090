#include "app/request.h"

#include <gtest/gtest.h>

namespace orvane::app {
namespace {

Request parsed(std::string_view line) {
  auto p = parseRequest(line);
  EXPECT_TRUE(p.request) << line << ": " << p.error;
  return p.request ? *p.request : Request{};
}

template <typename Operation>
Operation parsedAs(std::string_view line) {
  return std::get<Operation>(parsed(line).operation);
}

TEST(ParseRequest, KeyFieldsClientAndBundle) {
  EXPECT_EQ(parsedAs<KeyRequest>(R"({"op":"key","code":36})"), (KeyRequest{36, std::nullopt, 0, 10}));
  EXPECT_EQ(parsedAs<KeyRequest>(R"({"op":"key","code":65535,"chars":"é","flags":1179648,"type":11,"extra":[1]})"),
            (KeyRequest{65535, "é", 0x120000, 11}));
  // null characters are no characters, as an absent field is.
  EXPECT_FALSE(parsedAs<KeyRequest>(R"({"op":"key","code":0,"chars":null})").chars);

  auto defaults = parsed(R"({"op":"menu"})");
  EXPECT_EQ(defaults.client, "default");
  EXPECT_FALSE(defaults.bundle);
  auto named = parsed(R"({"op":"menu","client":"ed","bundle":"org.example.Editor"})");
  EXPECT_EQ(named.client, "ed");
  EXPECT_EQ(named.bundle, "org.example.Editor");
}

TEST(ParseRequest, SetValueKeepsTheValueKind) {
  const struct {
    const char* line;
    RequestValue value;
  } cases[] = {
      {R"({"op":"setValue","tag":1768778093,"value":"com.orvane.inputmethod.OrvaneIME.Roman"})",
       std::string("com.orvane.inputmethod.OrvaneIME.Roman")},
      {R"({"op":"setValue","tag":1,"value":true})", true},
      {R"({"op":"setValue","tag":1,"value":-3})", int64_t{-3}},
      {R"({"op":"setValue","tag":1,"value":2.5})", 2.5},
      {R"({"op":"setValue","tag":1,"value":[1]})", std::monostate{}},
      {R"({"op":"setValue","tag":1,"value":null})", std::monostate{}},
      {R"({"op":"setValue","tag":1})", std::monostate{}},
  };
  for (const auto& c : cases) EXPECT_EQ(parsedAs<SetValueRequest>(c.line).value, c.value) << c.line;
  EXPECT_EQ(parsedAs<SetValueRequest>(R"({"op":"setValue","tag":-7})").tag, -7);
}

TEST(ParseRequest, EveryOperationName) {
  const struct {
    const char* line;
    std::size_t alternative;
  } cases[] = {
      {R"({"op":"type","text":""})", 1},           {R"({"op":"menuAction","action":"showAbout"})", 3},
      {R"({"op":"panelHighlight","text":"漢字"})", 4}, {R"({"op":"panelSelect"})", 4},
      {R"({"op":"activate"})", 5},                 {R"({"op":"deactivate"})", 5},
      {R"({"op":"commitComposition"})", 5},        {R"({"op":"candidates"})", 5},
      {R"({"op":"recognizedEvents"})", 5},
  };
  for (const auto& c : cases) EXPECT_EQ(parsed(c.line).operation.index(), c.alternative) << c.line;
  auto select = parsedAs<PanelRequest>(R"({"op":"panelSelect","text":"字"})");
  EXPECT_TRUE(select.select);
  EXPECT_EQ(select.text, "字");
  EXPECT_EQ(parsedAs<MenuActionRequest>(R"({"op":"menuAction","action":"copyLogCommand"})").action,
            MenuAction::copyLogCommand);
}

TEST(ParseRequest, MalformedLinesAreRefusedWithAReason) {
  const std::string lines[] = {
      "", "kanji", R"("op")", R"({"op":"key","code":1} trailing)", "{}", R"({"op":5})", R"({"op":"fly"})",
      // Key fields of the wrong kind or out of range.
      R"({"op":"key"})", R"({"op":"key","code":"36"})", R"({"op":"key","code":-1})", R"({"op":"key","code":65536})",
      R"({"op":"key","code":1.5})", R"({"op":"key","code":0,"chars":5})", R"({"op":"key","code":0,"flags":-1})",
      R"({"op":"key","code":0,"type":"down"})",
      R"({"op":"type"})", R"({"op":"type","text":null})", R"({"op":"type","text":"\ud800"})",
      "{\"op\":\"type\",\"text\":\"ka\xff\"}", "{\"op\":\"menu\",\"junk\":\"\xe3\x81\"}",
      R"({"op":"setValue","value":"x"})", R"({"op":"setValue","tag":"imim"})", R"({"op":"menuAction"})",
      R"({"op":"menuAction","action":"dance"})", R"({"op":"panelSelect","text":3})", R"({"op":"menu","client":7})",
      R"({"op":"menu","client":null})", R"({"op":"menu","bundle":["x"]})",
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
  // One key per user-perceived character, not per scalar; a CRLF is one Return.
  EXPECT_EQ(keysForText("a \nか\t👍🏽\r\n"),
            (std::vector<KeyRequest>{{0, "a", 0, 10}, {49, " ", 0, 10}, {36, "\r", 0, 10}, {0, "か", 0, 10},
                                     {48, "\t", 0, 10}, {0, "👍🏽", 0, 10}, {36, "\r", 0, 10}}));
  EXPECT_TRUE(keysForText("").empty());
}

}  // namespace
}  // namespace orvane::app
