#include "dictionary_editor.h"

#include <gtest/gtest.h>

#include <map>

#include "testing/environment.h"

namespace orvane::dictionary_editor {
namespace {

namespace fs = std::filesystem;
using testing::readFile;
using testing::TempDir;
using testing::writeFile;

TEST(DictionaryEditorTest, FindsTheInputMethodsBundleFromItsHelper) {
  const fs::path main = "/usr/lib/orvane/Orvane IME.app";
  EXPECT_EQ(mainBundle(main / "Contents" / "Helpers" / "Orvane IME Dictionary.app"), main);
  EXPECT_EQ(mainBundle(main), main);
}

TEST(DictionaryEditorTest, CreatesAMissingDictionaryFromTheDefaultAndNeverTouchesAnExistingOne) {
  TempDir dir;
  writeFile(dir / "default.txt", "かんじ\t漢字\n");
  const auto user = dir / "data" / "Orvane IME" / "dictionary.txt";
  EXPECT_EQ(ensureUserDictionary(user, dir / "default.txt"), std::nullopt);
  EXPECT_EQ(readFile(user), "かんじ\t漢字\n");

  writeFile(user, "ねこ\t猫\n");
  EXPECT_EQ(ensureUserDictionary(user, dir / "default.txt"), std::nullopt);
  EXPECT_EQ(readFile(user), "ねこ\t猫\n");
  // Even a default that cannot be read leaves an existing dictionary alone.
  EXPECT_EQ(ensureUserDictionary(user, dir / "missing.txt"), std::nullopt);
  EXPECT_EQ(readFile(user), "ねこ\t猫\n");

  const auto other = dir / "other" / "dictionary.txt";
  auto error = ensureUserDictionary(other, dir / "missing.txt");
  ASSERT_TRUE(error);
  EXPECT_NE(error->find("missing.txt"), std::string::npos);
  EXPECT_FALSE(fs::exists(other));
  // No default at all: an empty dictionary to write into.
  EXPECT_EQ(ensureUserDictionary(other, std::nullopt), std::nullopt);
  EXPECT_EQ(readFile(other), "");
}

TEST(DictionaryEditorTest, PrefersVisualThenEditorThenTheDesktop) {
  const fs::path file = "/home/u/.local/share/Orvane IME/dictionary.txt";
  struct Case {
    std::map<std::string, std::string> variables;
    std::vector<std::string> command;
  };
  for (const auto& c : std::vector<Case>{
           {{{"VISUAL", "code --wait"}, {"EDITOR", "vi"}}, {"/bin/sh", "-c", "code --wait \"$1\"", "code --wait", file}},
           {{{"VISUAL", ""}, {"EDITOR", "vi"}}, {"/bin/sh", "-c", "vi \"$1\"", "vi", file}},
           {{}, {"xdg-open", file}},
       }) {
    auto command = editorCommand(file, [&](const char* name) -> std::optional<std::string> {
      auto it = c.variables.find(name);
      if (it == c.variables.end()) return std::nullopt;
      return it->second;
    });
    EXPECT_EQ(command, c.command);
  }
}

TEST(DictionaryEditorTest, SaysClearlyWhenTheEditorCannotRun) {
  TempDir dir;
  const auto file = dir / "dictionary.txt";
  writeFile(file, "x\n");
  auto env = [](const char* name) -> std::optional<std::string> {
    if (std::string(name) == "EDITOR") return "no-such-editor-here";
    return std::nullopt;
  };
  auto error = runEditor(editorCommand(file, env));
  ASSERT_TRUE(error);
  EXPECT_EQ(*error, "the editor \"no-such-editor-here\" was not found");
  EXPECT_EQ(runEditor(editorCommand(file, [](const char* name) -> std::optional<std::string> {
              if (std::string(name) == "EDITOR") return "true";
              return std::nullopt;
            })),
            std::nullopt);
  EXPECT_EQ(readFile(file), "x\n");
}

}  // namespace
}  // namespace orvane::dictionary_editor
