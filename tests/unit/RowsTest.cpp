// The texts of documents in both formats of rows.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "inspect/Rows.h"
#include "reader/DocumentReader.h"

namespace vantra::inspect {
namespace {

// The rows of a document of one record.
std::string Rows(Format format, const std::string& record, const reader::Facts& facts) {
  const auto rows = MakeRowWriter(format);
  reader::TextSource source(record);
  reader::DocumentReader reader;
  reader.Open(source);
  rows->Begin("ulog_=x\"y", facts, 3);
  std::string out(10'000, '\0');
  char* at = out.data();
  while (reader.Next() == reader::Piece::Record) at = rows->Write(reader.Current(), at);
  out.resize(static_cast<size_t>(at - out.data()));
  return out;
}

struct Value {
  std::string_view raw;
  const char* json;  // null when there is none
  std::string_view csv;
};

const Value kValues[] = {
    {"plain", "plain", "\"plain\""},
    {"longer than one block of sixteen, and than two", "longer than one block of sixteen, and than two",
     "\"longer than one block of sixteen, and than two\""},
    {"NOVALUE", nullptr, ""},
    {"NOVALUES", "NOVALUES", "\"NOVALUES\""},
    {"a&#60;b &#38;&#34;&#34; &#39; D:&#92;x&#62;", "a<b &\"\" ' D:\\x>", "\"a<b &\"\"\"\" ' D:\\x>\""},
    {"a,b\r\n\tc", "a,b\r\n\tc", "\"a,b\r\n\tc\""},
    {"\x01\x1b[2J\b\f", "\x01\x1b[2J\b\f", "\"\\u0001\\u001b[2J\\u0008\\u000c\""},
    {"\xE6\x96\x87\xE4\xBB\xB6", "文件", "\"文件\""},
    {"a\xFF\xE6\x96\x62\xC0\xAF\xED\xA0\x80", "a\uFFFD\uFFFD\x62\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD",
     "\"a\uFFFD\uFFFD\x62\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD\""},
    {"=1+1", "=1+1", "\"'=1+1\""},
    {"@x", "@x", "\"'@x\""},
    {"-2+3", "-2+3", "\"'-2+3\""},
    {"+inf", "+inf", "\"'+inf\""},
    {"-12.5e3", "-12.5e3", "\"-12.5e3\""},
    {"+4", "+4", "\"+4\""},
};

TEST(Rows, KeepTextsInBothFormats) {
  for (const Value& value : kValues) {
    const std::string record = "<DataRec time=\"2011-03-04T05:06:07Z\" group=\"7\" name=\"n\" data=\"" +
                               std::string(value.raw) + "\" seq=\"41\" />\n";
    const auto row = nlohmann::json::parse(Rows(Format::Ndjson, record, {}));
    EXPECT_EQ(row["value"], value.json == nullptr ? nlohmann::json() : nlohmann::json(value.json))
        << value.raw;
    EXPECT_EQ(Rows(Format::Csv, record, {}),
              "\"ulog_=x\"\"y\",41,session,,,,,,,,3,2011-03-04T05:06:07Z,value,7,,,,\"n\"," +
                  std::string(value.csv) + "\r\n");
  }
}

TEST(Rows, HaveAllColumns) {
  const std::string records =
      "<EventRec doc=\"0208ae7a5901ccfcd3cbcd5b3b1d6ce0\" category=\"c\" subcategory=\"NOVALUE\" name=\"n\" "
      "time=\"\" seq=\"-1\" />\n"
      "<NewGroup category=\"c\" subcategory=\"s\" name=\"n\" time=\"\" group=\"2\" doc=\"0\" seq=\"0\" />\n"
      "<EndSession id=\"\" time=\"\" seq=\"1\" />\n";
  const reader::Facts facts{.origin = reader::Origin::Crash,
                            .family = "-F",
                            .product = "\"P\"",
                            .version = "1\\",
                            .build = "b\n",
                            .language = "",
                            .user = "u",
                            .session = "s"};
  const std::string common =
      R"(,"origin":"crash","family":"-F","product":"\"P\"","version":"1\\","build":"b\n","language":null,"user":"u",)"
      R"("session":"s","file_index":3,"time":null,)";
  const std::string document = R"({"document":"ulog_=x\"y","seq":)";
  EXPECT_EQ(
      Rows(Format::Ndjson, records, facts),
      document + "-1" + common +
          R"("kind":"event","group_id":null,"doc":"0208ae7a5901ccfcd3cbcd5b3b1d6ce0","category":"c",)"
          R"("subcategory":null,"name":"n","value":null})"
          "\n" +
          document + "0" + common +
          R"("kind":"group","group_id":2,"doc":null,"category":"c","subcategory":"s","name":"n","value":null})"
          "\n" +
          document + "1" + common +
          R"("kind":"end","group_id":null,"doc":null,"category":null,"subcategory":null,"name":null,"value":null})"
          "\n");
  const std::string csv = "crash,\"'-F\",\"\"\"P\"\"\",\"1\\\",\"b\n\",,\"u\",\"s\",3,,";
  EXPECT_EQ(Rows(Format::Csv, records, facts),
            "\"ulog_=x\"\"y\",-1," + csv + "event,,0208ae7a5901ccfcd3cbcd5b3b1d6ce0,\"c\",,\"n\",\r\n" +
                "\"ulog_=x\"\"y\",0," + csv + "group,2,,\"c\",\"s\",\"n\",\r\n" + "\"ulog_=x\"\"y\",1," +
                csv + "end,,,,,,\r\n");
}

}  // namespace
}  // namespace vantra::inspect
