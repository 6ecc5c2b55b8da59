#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "PageEnd.h"
#include "api/Validation.h"

namespace vantra::api {

std::string Times(size_t count, char c) { return std::string(count, c); }

// Code and value of the checked text, wherever it lies.
std::string Checked(const char* text, uint32_t flags) {
  const CheckedText checked(text, CheckFor(flags));
  const CheckedText atPageEnd(text == nullptr ? nullptr : AtPageEnd({text, std::strlen(text) + 1}),
                              CheckFor(flags));
  EXPECT_EQ(checked.Code(), atPageEnd.Code());
  EXPECT_EQ(checked.Value().text, atPageEnd.Value().text);
  EXPECT_EQ(checked.IsAccepted(), checked.Code() < TextCode::kNullRefused);
  return std::to_string(static_cast<int>(checked.Code())) + ' ' + std::string(checked.Value().text);
}

TEST(Validation, Texts) {
  // clang-format off
  const struct { uint32_t flags; std::string text, wanted; } rows[] = {
      {0x8, "", "5 SK_STR_EMPTY"}, {0x2000001, "", "5 SK_STR_EMPTY"}, {0x4000001, "", "0 NOVALUE"},
      {0x10, "a\\b", "6 a\\b"}, {0x6000011, "-\\", "6 -\\"}, {0x40, "\\b", "0 \\b"}, {0x1, "\\", "0 SK__"},
      {0x10, Times(64, 'k') + '\\', "6 " + Times(64, 'k') + '\\'}, {0x1, "1-va", "0 SK_1_va"},
      {0x4, "_a", "0 SK__a"}, {0x100, " ", "0 SK__"}, {0x40, Times(64, '-'), "0 " + Times(64, '-')},
      {0x1, "A", "0 A"}, {0x1, "zaAZ09_", "0 zaAZ09_"}, {0x2, "a b\xC3\xA9-\n", "0 a b\xC3\xA9-\n"},
      {0x40000000, "\\ 1a-_\xC3\xA9\n", "0 _ 1a_____"}, {0x1, Times(131, '1'), "1 SK_" + Times(125, '1')},
      {0x1, Times(128, 'a'), "0 " + Times(128, 'a')}, {0x1, Times(129, 'a'), "1 " + Times(128, 'a')},
      {0x1, Times(124, '1'), "0 SK_" + Times(124, '1')}, {0x1, Times(125, '1'), "0 SK_" + Times(125, '1')},
      {0x1, Times(126, '1'), "1 SK_" + Times(125, '1')}, {0x1, Times(128, '1'), "1 SK_" + Times(125, '1')},
      {0x40000000, Times(64, '-'), "0 " + Times(64, '_')}, {0x8, Times(512, '-'), "0 " + Times(512, '-')}};
  // clang-format on
  for (const auto& row : rows) EXPECT_EQ(Checked(row.text.c_str(), row.flags), row.wanted) << row.flags;
  for (const std::string c : {"/", ":", "@", "[", "`", "{", " ", "-", "\x7f", "\xC1", "\xDF", "\xFF"})
    EXPECT_EQ(Checked(c.c_str(), 0x1) + Checked(("a" + c).c_str(), 0x1), "0 SK__0 a_");
  EXPECT_EQ(Checked(nullptr, 0x4000010) + ", " + Checked(nullptr, 0x2000001), "3 SK_STR_NULL, 0 NOVALUE");
}

TEST(Validation, IdsAndNumbers) {
  const auto checked = [](const char* text, uint32_t length) {
    const CheckedDocumentId id = CheckDocumentId(text, length);
    return !id.isAccepted ? "refused" : id.text.data() == nullptr ? "none" : "id " + std::string(id.text);
  };
  EXPECT_EQ(checked(nullptr, 0xffffffff), "none");
  EXPECT_EQ(checked("", 5), "id ");
  EXPECT_EQ(checked("abc", 2), "id ab");
  EXPECT_EQ(checked(AtPageEnd("abc"), 3), "id abc");
  EXPECT_EQ(checked("abc", 0x7fffffff), "id abc");
  EXPECT_EQ(checked("abc", 0x80000000), "refused");
  EXPECT_TRUE(IsOptInValue(-1) && IsOptInValue(0) && IsOptInValue(1) && IsGroupId(0, 5) && IsGroupId(5, 5));
  EXPECT_FALSE(IsOptInValue(-2) || IsOptInValue(2) || IsGroupId(-1, 5) || IsGroupId(6, 5));
}

}  // namespace vantra::api
