// What documents are made of: names, splits, their disguise, time stamps, counters, and paths.
#include <gtest/gtest.h>

#include <string>

#include "session/DocumentName.h"
#include "session/DocumentSeries.h"
#include "session/Obfuscation.h"
#include "util/Counter.h"
#include "util/Paths.h"
#include "util/TimeStamp.h"

namespace vantra {
using namespace session;
using namespace util;

// A document is split at 102,400 bytes of text. One that may not be delivered passes its name and byte count
// on to the next one.
TEST(DocumentSeries, SplitsAndFates) {
  using Fate = DocumentSeries::Fate;
  DocumentSeries series;
  struct {
    size_t bytes;
    bool needsSplit, hasAgent, isAllowed;
    Fate fate;
    int32_t index;
  } const rows[] = {
      {102'399, false, true, true, Fate::kDelivered, 1}, {102'400, true, true, true, Fate::kDelivered, 2},
      {102'399, false, true, false, Fate::kDeleted, 2},  {1, true, false, true, Fate::kDeleted, 2},
      {0, true, false, false, Fate::kDeleted, 2},        {0, true, true, true, Fate::kDelivered, 3},
      {0, false, true, true, Fate::kDelivered, 4}};
  for (const auto& row : rows) {
    series.Count(row.bytes);
    EXPECT_EQ(series.NeedsSplit(), row.needsSplit);
    EXPECT_EQ(series.End({row.hasAgent, row.isAllowed}), row.fate);
    EXPECT_EQ(series.Index(), row.index);
    EXPECT_EQ(series.IsNameUsed(), row.fate == Fate::kDeleted);
  }
}

std::string Obfuscated(std::string text) {
  Obfuscate(text);
  return text;
}

TEST(Obfuscation, Texts) {
  EXPECT_EQ(kObfuscationMarker, "R-M$ke#$vQPo5lupadix");
  EXPECT_EQ(Obfuscated("\x01\n\x1f !\"#$%&'()*+,-./0123456789:;<=>?@ABCDEFGHIJKLMNO\x7f\x80\xa1\xff"),
            "\x01\n\x1f PQRSTUVWXYZ[\\]^_`abcdefghijklmnopqrstuvwxyz{|}~\x7f\x80\xa1\xff");
  EXPECT_EQ(Obfuscated({"!~\0!!!!!!!!!!!!!!!!", 19}), std::string("PO\0!!!!!!!!!!!!!!!!", 19));
}

TEST(DocumentName, Texts) {
  TextBuffer out;
  Append(out, Raw{"C:\\Logs/"});
  EXPECT_TRUE(AppendDocumentName(out, "A_B", "\xC3\xA9 *?..", "", "id_0"));
  EXPECT_EQ(out.Text(), "C:\\Logs/ulog_A_B_\xC3\xA9 *?..__id_0");
  for (const auto* text : {"a\\b", "/", "x:"}) {
    EXPECT_FALSE(AppendDocumentName(out, text, "n", "u", "s") ||
                 AppendDocumentName(out, "f", "n", "u", text));
  }
}

TEST(TimeStamp, Texts) {
  // clang-format off
  constexpr std::pair<int64_t, std::string_view> kRows[] = {
      {0, "1970-01-01T00:00:00Z"}, {-1, "1969-12-31T23:59:59Z"}, {1299215167, "2011-03-04T05:06:07Z"},
      {951782400, "2000-02-29T00:00:00Z"}, {951868800, "2000-03-01T00:00:00Z"},
      {4107542399, "2100-02-28T23:59:59Z"}, {4107542400, "2100-03-01T00:00:00Z"},
      {1230767999, "2008-12-31T23:59:59Z"}, {1230768000, "2009-01-01T00:00:00Z"},
      {2147483648, "2038-01-19T03:14:08Z"}, {253402300799, "9999-12-31T23:59:59Z"}, {253402300800, ""},
      {-62135596800, "0001-01-01T00:00:00Z"}, {-62167219200, "0000-01-01T00:00:00Z"}, {-62167219201, ""},
      {INT64_MAX, ""}, {INT64_MIN, ""}};
  // clang-format on
  TimeStamp kept;
  EXPECT_EQ(kept.Text().View(), "");
  for (const auto& [seconds, wanted] : kRows) {
    for (const auto* time : {"first", "again"}) {
      kept.Set(seconds);
      EXPECT_EQ(kept.Text().View(), wanted) << seconds << ' ' << time;
    }
  }
}

TEST(Counter, Texts) {
  for (const int32_t start : {-101, -1, 0, 8, 98, 999, 2147483000, INT32_MAX}) {
    Counter counter(start);
    for (int64_t wanted = start; wanted < start + int64_t{1200}; ++wanted, counter.Increment()) {
      const auto value = static_cast<int32_t>(wanted);
      ASSERT_EQ(counter.Value(), value);
      ASSERT_EQ(counter.Text().View(), std::to_string(value));
    }
  }
}

TEST(Paths, Texts) {
  // clang-format off
  const std::pair<std::wstring, std::wstring> rows[] = {
      {L"", L"\\||"}, {L"\\", L"\\||\\f"}, {L"C:/a", L"C:/a\\|C:/a|C:/a\\f"},
      {L"C:\\a", L"C:\\a\\|C:|C:\\a\\f"}, {L"C:\\a\\", L"C:\\a\\|C:\\a|C:\\a\\f"}};
  // clang-format on
  for (const auto& [path, wanted] : rows)
    EXPECT_EQ(WithTrailingBackslash(path) + L'|' + ParentFolder(path) + L'|' + JoinPath(path, L"f"), wanted);
}

}  // namespace vantra
