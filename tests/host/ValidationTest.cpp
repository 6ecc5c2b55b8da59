// Which check each argument passes, and what is told of it. The checks themselves are tested in the core.
#include <windows.h>

#include <algorithm>
#include <functional>

#include "HostTest.h"

namespace vantra::test {
namespace {

class Validation : public HostTest {
 protected:
  Validation() {
    SetValue(Hive::kUser, kUsage, "GUID", "sz:0a1b2c3d-4e5f-6071-8293-a4b5c6d7e8f9");
    SetValue(Hive::kUser, kUsage, "obfuscate", "sz:0");
    SetValue(Hive::kUser, kUsage, "send", "sz:0");
    SwitchLogOn();
  }
};

const std::string kLetters(600, 'x');

// What has been added to the open file since the last call: "name=data", or the labels of a group or event.
Lines NewRecords() {
  static size_t read = 0;
  const std::string text = ReadDocument(OpenFile());
  Lines lines;
  for (const Record& record : Records(text.substr(std::exchange(read, text.size())))) {
    const std::string labels = record["category"] + "/" + record["subcategory"] + "/" + record["name"];
    const std::string group = record["group"].empty() ? "" : " " + record["group"];
    lines.push_back(record.element == "DataRec" ? record["name"] + "=" + record["data"] : labels + group);
  }
  return lines;
}

// An export, and for each of its texts the name and the rule: an identifier, or the limit on its length.
struct Export {
  std::string name;
  std::vector<std::pair<std::string, size_t>> arguments;
  std::function<int32_t(const char* const* texts)> call;
};

constexpr size_t kIdentifier = 0;

TEST_F(Validation, TextsOfEachArgument) {
  RunHost([](Library& ut) {
    void* s = ut.Open();
    // clang-format off
    const Export exports[] = {
        {"UTAddToSession", {{"pcKey", kIdentifier}, {"", 512}}, [&](auto t) { return ut.AddToSession(s, t[0], t[1]); }},
        {"UTAddToGroup", {{"pcKey", kIdentifier}, {"", 512}}, [&](auto t) { return ut.AddToGroup(s, 0, t[0], t[1]); }},
        {"UTLogEvent", {{"", 128}, {"", 128}, {"", 128}},
         [&](auto t) { return ut.LogEvent(s, t[0], t[1], t[2], nullptr, 0); }},
        {"UTNewDataGroup", {{"pcCategory", kIdentifier}, {"", 128}, {"pcGroupName", kIdentifier}},
         [&](auto t) { return ut.NewDataGroup(s, t[0], t[1], t[2], nullptr, nullptr, 0); }}};
    // clang-format on
    int group = 6;
    NewRecords(), NewLog("DEBUG");
    for (const Export& e : exports) {
      for (size_t i = 0; i < e.arguments.size(); ++i) {
        const auto& [name, rule] = e.arguments[i];
        for (const char* text : {static_cast<const char*>(nullptr), "", kLetters.c_str(), "1-\xC3\xA9\\"}) {
          SCOPED_TRACE(e.name + " " + std::to_string(i) + " " + (text ? text : "NULL"));
          const bool isMissing = !text || !*text, isRefused = isMissing && rule == kIdentifier;
          const bool isCut = text == kLetters.c_str();
          const std::string sentinel = !isRefused ? "NOVALUE" : text ? "SK_STR_EMPTY" : "SK_STR_NULL";
          const std::string repaired = rule == kIdentifier ? "SK_1____" : "1-\xC3\xA9\\";
          std::string shown[] = {"a", "b", "c"};
          shown[i] = isMissing ? sentinel : isCut ? kLetters.substr(0, rule == 512 ? 512 : 128) : repaired;
          Lines records;
          if (isCut || (isRefused && text)) {
            records = {"Skylamp/NOVALUE/ValidationErrors " + std::to_string(++group),
                       "ErrorType=SK_INVALID_STRING", "Value=" + (isCut ? kLetters : "NOVALUE")};
          }
          const std::string labels = shown[0] + "/" + shown[1] + "/" + shown[2];
          if (!isRefused && e.arguments.size() == 2)
            records.push_back(shown[0] + "=" + shown[1]);
          else if (!isRefused)
            records.push_back(labels +
                              (name.empty() && e.name == "UTLogEvent" ? "" : " " + std::to_string(++group)));

          const char* texts[] = {"a", "b", "c"};
          texts[i] = text;
          EXPECT_EQ(e.call(texts), isRefused ? 1 : 0);
          EXPECT_EQ(NewRecords(), records);
          const Lines log = NewLog("DEBUG");
          ASSERT_EQ(log.size(), isRefused ? 2u : 1u);
          const std::string message =
              isRefused ? "VerifyString " + name + ": " + sentinel : e.name + " has valid session";
          EXPECT_TRUE(log.back().starts_with(message + "@")) << log.back();
        }
      }
    }
  });
}

TEST_F(Validation, GroupNumbers) {
  RunHost([](Library& ut) {
    void* session = ut.Open();
    for (const uint32_t accepted : {0u, 1u, 6u}) EXPECT_EQ(ut.AddToGroup(session, accepted, "k", "v"), 0);
    NewRecords(), NewLog("DEBUG");
    int next = 7;
    for (const auto& [refused, text] :
         {std::pair{7u, "7"}, {UINT32_MAX, "-1"}, {0x80000000u, "-2147483648"}}) {
      const std::string error = "Skylamp/NOVALUE/ValidationErrors ", first = std::to_string(next++);
      EXPECT_EQ(ut.AddToGroup(session, refused, "k", "v"), 1);
      EXPECT_EQ(NewRecords(), (Lines{error + first, error + std::to_string(next++),
                                     "ErrorType=SK_INVALID_GROUPID", "Value=" + first}));
      EXPECT_EQ(NewLog("DEBUG"), (Lines{"UTAddToGroup has valid session@588",
                                        std::string("AddToGroup VerifyGroupId: ") + text + "@889"}));
    }
  });
}

TEST_F(Validation, DocumentIds) {
  RunHost([](Library& ut) {
    void* session = ut.Open();
    // MD5 of the text with the user's identifier behind it.
    const char *ofNothing = "dbd7cd8cefa8654c32d32f23c5437fe3", *ofAbc = "b8ccee5ab43080ff108981a72e158a63";
    // clang-format off
    const struct { const char* text; uint32_t length; const char* doc; } rows[] = {
        {nullptr, UINT32_MAX, "0"}, {"", 5, ofNothing}, {"abc", 0, ofNothing}, {"abc", 0x7fffffff, ofAbc},
        {"abcdef", 3, ofAbc}, {"abc\0def", 7, ofAbc}, {"abc", 0x80000000, nullptr}};
    // clang-format on
    for (const auto& [text, length, doc] : rows) {
      const size_t before = ReadFile(OpenFile()).size();
      uint32_t group = 0;
      EXPECT_EQ(ut.LogEvent(session, "a", "b", "c", text, length), doc ? 0 : 1);
      EXPECT_EQ(ut.NewDataGroup(session, doc ? "a" : nullptr, "b", "c", &group, text, length), doc ? 0 : 1);
      EXPECT_EQ(group == 0, doc == nullptr);
      const std::vector<Record> records = Records(ReadFile(OpenFile()).substr(before));
      EXPECT_EQ(records.size(), doc ? 2u : 0u);
      for (const Record& record : records) EXPECT_EQ(record["doc"], doc) << length;
    }
    const Lines log = NewLog("DEBUG");
    EXPECT_EQ(log.at(log.size() - 3), "VerifyDocIdBuffer: @419");
    EXPECT_TRUE(log.back().starts_with("VerifyDocIdBuffer: @"));
  });
}

TEST_F(Validation, UsageKeys) {
  RunHost([](Library& ut) {
    const std::string key64 = kLetters.substr(0, 64), late = key64 + "xxxx\\z";
    const std::pair<const char*, std::string> rows[] = {
        {"First", "First"},   {nullptr, "SK_STR_NULL"},  {"", "SK_STR_EMPTY"},          {"a\\b", "a\\b"},
        {late.c_str(), late}, {kLetters.c_str(), key64}, {"1 /\xC3\xA9", "1 /\xC3\xA9"}};
    std::string stored = "First";
    for (const auto& [key, value] : rows) {
      const bool isRefused = value.starts_with("SK_") || value.find('\\') != std::string::npos;
      NewLog("DEBUG");
      EXPECT_EQ(ut.Initialize(key, true, "C:\\nowhere"), isRefused ? 1 : 0);
      EXPECT_EQ(ut.OptInGet(key), -1);
      EXPECT_EQ(ut.OptInSet(key, 0), isRefused ? 1 : 0);
      const Lines log = NewLog("DEBUG");
      if (!isRefused)
        stored = value;
      else
        EXPECT_EQ(log, (Lines{"pcUsagekey: " + value + "@167",
                              "OptInGet VerifyString pcUsagekey: " + value + "@911",
                              "OptInSet VerifyString pcUsagekey: " + value + "@946"}));
      // The key that counts is the last that was accepted.
      EXPECT_EQ(ut.SetOptIn(1), 0);
      EXPECT_EQ(GetValue(Hive::kUser, std::string(kUsage) + "\\" + stored, "OptIn"), "dword:1");
      ut.SetOptIn(-1);
    }
  });
}

// A start's texts are cut in the document; that they were is told in the log alone, for want of a session.
TEST_F(Validation, ProductTexts) {
  RunHost([](Library& ut) {
    void* session = ut.Open();
    ut.CloseSession(&session);
    NewLog("DEBUG");
    const char* const text = kLetters.c_str();
    EXPECT_EQ(ut.StartSession(&session, "Acme", "Long", text, text, text), 0);
    EXPECT_EQ(std::ranges::count_if(NewLog("DEBUG"),
                                    [](auto& line) {
                                      return line.starts_with(
                                          "SK_INVALID_STRING: " + kLetters.substr(0, 512) + "@");
                                    }),
              3);
    const std::vector<Record> records = Records(ReadFile(OpenFile()));
    for (size_t i = 4; i < 7; ++i) EXPECT_EQ(records.at(i)["data"], kLetters.substr(0, 512));
  });
}

// Whatever is passed, at each export: a result, no crash, and other sessions go on undisturbed.
TEST_F(Validation, NothingHarms) {
  RunHost([](Library& ut) {
    void *open = ut.Open(), *closed = ut.Open("Acme", "Closed"), *const stale = closed;
    ut.CloseSession(&closed);
    const std::string before = ReadFile(OpenFile());
    std::string bytes;
    for (int i = 1; i < 256; ++i) bytes += static_cast<char>(i);
    const std::string backslashes(1 << 20, '\\'), letters(1 << 20, 'x');
    char buffer[64];
    size_t size = sizeof buffer;
    for (const char* text :
         {static_cast<const char*>(nullptr), "", bytes.c_str(), backslashes.c_str(), letters.c_str(),
          "%s%n%s", "\xFF\xFE\x80", "\xED\xA0\x80\xC0\x80", "..\\..\\x", "\\\\?\\C:\\"}) {
      for (void* handle :
           {static_cast<void*>(nullptr), reinterpret_cast<void*>(1), reinterpret_cast<void*>(-1),
            static_cast<void*>(buffer), stale, static_cast<void*>(GetModuleHandleW(nullptr))}) {
        void* variable = handle;
        EXPECT_EQ(ut.AddToSession(handle, text, text) + ut.LogEvent(handle, text, text, text, text, 3) +
                      ut.NewDataGroup(handle, text, text, text, nullptr, text, 3) +
                      ut.AddToGroup(handle, 1, text, text) + ut.CloseSession(&variable),
                  5);
        EXPECT_EQ(variable, handle);
      }
      EXPECT_EQ(ut.CloseSession(nullptr) + ut.StartSession(nullptr, text, text, text, text, text), 2);
      void* session = nullptr;
      if (ut.StartSession(&session, text, text, text, text, text) == 0) ut.CloseSession(&session);
      EXPECT_EQ(session, nullptr);
      for (const char* subkey : {text, "Sub"}) {
        ut.GetNonDefaultDemographic(subkey, text, buffer, &size);
        ut.SetNonDefaultDemographic(subkey, text, text);
        EXPECT_EQ(ut.GetNonDefaultDemographic(subkey, text, nullptr, &size), 1);
        EXPECT_EQ(ut.GetNonDefaultDemographic(subkey, text, buffer, nullptr), 1);
      }
      ut.GetDemographic(text, buffer, &size), ut.SetDemographic(text, text);
      ut.OptInGet(text), ut.OptInSet(text, 5), ut.OptInSet(text, 0);
      ut.Initialize(text, true, text), ut.Initialize("MyProduct", false, nullptr);
    }
    EXPECT_EQ(ReadFile(OpenFile()), before);
    EXPECT_EQ(ut.AddToSession(open, "after", "all"), 0);
    EXPECT_TRUE(Normalised(ReadFile(OpenFile()))
                    .ends_with(" group=\"1\" name=\"after\" data=\"all\" seq=\"33\" />\n"));
  });
}

}  // namespace
}  // namespace vantra::test
