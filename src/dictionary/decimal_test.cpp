#include "dictionary/decimal.h"

#include <gtest/gtest.h>

namespace orvane::dictionary {
namespace {

TEST(DecimalTest, WholeFieldsWithinSixtyFourBits) {
  const struct {
    const char* text;
    std::optional<int64_t> value;
  } cases[] = {
      {"0", 0},
      {"-0", 0},
      {"+5", 5},
      {"-300", -300},
      {"999999999999999999", 999999999999999999},
      {"-999999999999999999", -999999999999999999},
      {"9223372036854775807", INT64_MAX},
      {"-9223372036854775808", INT64_MIN},
      {"00000000000000000000042", 42},
      {"9223372036854775808", std::nullopt},
      {"-9223372036854775809", std::nullopt},
      {"99999999999999999999", std::nullopt},
      {"", std::nullopt},
      {"-", std::nullopt},
      {"+-1", std::nullopt},
      {" 1", std::nullopt},
      {"1 ", std::nullopt},
      {"1a", std::nullopt},
      {"12345678901234567x", std::nullopt},
  };
  for (const auto& c : cases) EXPECT_EQ(parseDecimal(c.text), c.value) << c.text;
}

}  // namespace
}  // namespace orvane::dictionary
