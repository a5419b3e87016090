// The lines written field by field must read exactly as the JSON tree's
// writer writes them, strings that are not UTF-8 included.
#include <gtest/gtest.h>

#include <sstream>

#include "platform/protocol_client.h"
#include "platform/protocol_panel.h"
#include "platform/protocol_services.h"

namespace orvane::platform {
namespace {

const std::string texts[] = {
    "keyDown: code=0 chars=a -> consumed",
    "漢字😀か\u3099",
    "quote \" backslash \\ slash / tab \t newline \n return \r",
    std::string("\x00\x01\x08\x0b\x0c\x1f\x7f end", 11),
    "invalid \xff\xfe bytes",
    "cut \xe3\x81",
    "",
};

// What one call writes, through a fresh writer.
template <class Write>
std::string written(Write write) {
  std::ostringstream out;
  ProtocolWriter writer(out);
  write(writer);
  return out.str();
}

std::string tree(const Json& line) {
  return written([&](ProtocolWriter& writer) { writer.write(line); });
}

TEST(ProtocolLinesTest, LogLines) {
  for (const auto& message : texts) {
    for (auto level : {Log::Level::defaultLevel, Log::Level::error}) {
      EXPECT_EQ(written([&](ProtocolWriter& w) { ProtocolLogSink(w).write("imk", level, message); }),
                tree(Json{{"log", "imk"},
                          {"level", level == Log::Level::error ? "error" : "default"},
                          {"message", message}}))
          << message;
    }
  }
}

TEST(ProtocolLinesTest, MarkedText) {
  const std::vector<AttributedRun> runs[] = {{}, {{0, 2, 4, {}}, {2, 1, 5, {{"underline", "thick"}}}}};
  const TextRange ranges[] = {{0, 0}, {NSNotFound, 0}, {3, 12}};
  for (const auto& text : texts) {
    for (const auto& id : {std::string("default"), std::string("ed\t\"")}) {
      for (const auto& r : runs) {
        for (auto range : ranges) {
          Json runLines = Json::array();
          for (const auto& run : r) runLines.push_back(Json{{"start", run.start}, {"length", run.length}, {"style", run.style}});
          EXPECT_EQ(written([&](ProtocolWriter& w) { ProtocolClient(w, id, std::nullopt).setMarkedText({text, r}, range, range); }),
                    tree(Json{{"client", id},
                              {"call", "setMarkedText"},
                              {"text", text},
                              {"runs", runLines},
                              {"selection", protocolRange(range)},
                              {"replacement", protocolRange(range)}}))
              << text;
        }
      }
    }
  }
}

class Rows final : public CandidatePanelDataSource {
 public:
  explicit Rows(std::vector<std::string> rows) : rows_(std::move(rows)) {}
  std::vector<std::string> candidates(const void*) override { return rows_; }
  void candidateSelectionChanged(const std::optional<std::string>&) override {}
  void candidateSelected(const std::optional<std::string>&) override {}

 private:
  std::vector<std::string> rows_;
};

TEST(ProtocolLinesTest, CandidateRows) {
  std::vector<std::vector<std::string>> sets = {{}, {"漢字"}};
  sets.emplace_back(std::begin(texts), std::end(texts));
  sets.push_back({"a", "b\xff"});
  for (const auto& rows : sets) {
    Rows source(rows);
    EXPECT_EQ(written([&](ProtocolWriter& w) {
                ProtocolCandidatePanel panel(w);
                panel.setActiveController(&source);
                panel.updateCandidates();
              }),
              tree(Json{{"panel", "update"}, {"rows", rows}}))
        << rows.size();
  }
}

}  // namespace
}  // namespace orvane::platform
