#include <gtest/gtest.h>

#include <string_view>
#include <vantra/functions.hpp>

namespace vantra::detail {
namespace {

void Export() {}

// A library that lacks one function.
std::optional<Functions> Without(std::string_view missing) {
  return FindAll([missing](std::string_view name) { return name == missing ? nullptr : &Export; });
}

TEST(Functions, OfOlderLibraries) {
  EXPECT_FALSE(Without("UTLogEvent").has_value());
  EXPECT_FALSE(Without("UTSetSerializationState").has_value());
  const auto found = Without("UTGetDemographic");
  ASSERT_TRUE(found.has_value());
  EXPECT_EQ(found->GetDemographic("Age", nullptr, nullptr), 1);
  EXPECT_EQ(reinterpret_cast<void (*)()>(found->SetDemographic), &Export);
}

}  // namespace
}  // namespace vantra::detail
