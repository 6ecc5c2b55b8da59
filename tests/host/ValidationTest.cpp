// What becomes of texts, numbers and handles that hosts pass.
#include <windows.h>

#include <algorithm>

#include "Document.h"
#include "Host.h"

namespace vantra::test {
namespace {

constexpr char kUser[] = "0a1b2c3d-4e5f-6071-8293-a4b5c6d7e8f9";

class ValidationTest : public HostTest {
 protected:
  ValidationTest() {
    SetValue(Hive::kUser, kUsage, "GUID", std::string("sz:") + kUser);
    SetValue(Hive::kUser, kUsage, "obfuscate", "sz:0");
    SetValue(Hive::kUser, kUsage, "send", "sz:0");
    SwitchLogOn();
  }
};

// What a call adds to the document and to the log, in short.
class Traces {
 public:
  std::vector<std::string> NewRecords() {
    const std::string text = ReadDocument(OpenFile());
    std::vector<std::string> lines;
    for (const Record& record : Records(text.substr(read_))) {
      if (record.element == "DataRec")
        lines.push_back(record["name"] + "=" + record["data"]);
      else
        lines.push_back(record["category"] + "/" + record["subcategory"] + "/" + record["name"]);
      if (record.element == "NewGroup") lines.back() += " " + record["group"];
    }
    read_ = text.size();
    return lines;
  }
  // Those that are neither traces nor progress.
  std::vector<std::string> NewRefusals() {
    std::vector<std::string> lines = LogLines();
    lines.erase(lines.begin(), lines.begin() + static_cast<ptrdiff_t>(logged_));
    logged_ += lines.size();
    std::erase_if(lines, [](const std::string& line) {
      return line.starts_with("INFO") || line.find(" has valid session @") != std::string::npos;
    });
    return lines;
  }

 private:
  size_t read_ = 0;
  size_t logged_ = 0;
};

enum class Rule { kIdentifier, kUpTo128, kUpTo512 };

// One text argument of one export; %s in the record that the call leaves stands for its value.
struct Argument {
  const char* name;
  Rule rule;
  int32_t (*call)(Library& ut, void* session, const char* text);
  std::string record;
  std::string refusal;  // the log's words for it, of an identifier alone
};

const Argument kArguments[] = {
    {"AddToSession key", Rule::kIdentifier,
     [](Library& ut, void* s, const char* text) { return ut.AddToSession(s, text, "v"); }, "%s=v",
     "VerifyString pcKey: %s @WrapperUTLogData:376"},
    {"AddToSession value", Rule::kUpTo512,
     [](Library& ut, void* s, const char* text) { return ut.AddToSession(s, "k", text); }, "k=%s", ""},
    {"LogEvent category", Rule::kUpTo128,
     [](Library& ut, void* s, const char* text) { return ut.LogEvent(s, text, "b", "c", nullptr, 0); },
     "%s/b/c", ""},
    {"LogEvent subcategory", Rule::kUpTo128,
     [](Library& ut, void* s, const char* text) { return ut.LogEvent(s, "a", text, "c", nullptr, 0); },
     "a/%s/c", ""},
    {"LogEvent name", Rule::kUpTo128,
     [](Library& ut, void* s, const char* text) { return ut.LogEvent(s, "a", "b", text, nullptr, 0); },
     "a/b/%s", ""},
    {"NewDataGroup category", Rule::kIdentifier,
     [](Library& ut, void* s, const char* text) {
       return ut.NewDataGroup(s, text, "b", "c", nullptr, nullptr, 0);
     },
     "%s/b/c %g", "VerifyString pcCategory: %s @"},
    {"NewDataGroup subcategory", Rule::kUpTo128,
     [](Library& ut, void* s, const char* text) {
       return ut.NewDataGroup(s, "a", text, "c", nullptr, nullptr, 0);
     },
     "a/%s/c %g", ""},
    {"NewDataGroup name", Rule::kIdentifier,
     [](Library& ut, void* s, const char* text) {
       return ut.NewDataGroup(s, "a", "b", text, nullptr, nullptr, 0);
     },
     "a/b/%s %g", "VerifyString pcGroupName: %s @"},
    {"AddToGroup key", Rule::kIdentifier,
     [](Library& ut, void* s, const char* text) { return ut.AddToGroup(s, 1, text, "v"); }, "%s=v",
     "VerifyString pcKey: %s @WrapperUTLogData:376"},
    {"AddToGroup value", Rule::kUpTo512,
     [](Library& ut, void* s, const char* text) { return ut.AddToGroup(s, 0, "k", text); }, "k=%s", ""},
};

// What a text becomes under a rule: "" when it is refused; isCut tells whether an error is recorded.
struct Input {
  Rule rule;
  std::string text;
  std::string value;
  bool isCut;
};

const std::string kLetters(600, 'x');

std::vector<Input> Inputs() {
  const auto letters = [](size_t count) { return kLetters.substr(0, count); };
  return {
      {Rule::kIdentifier, "Plain_9", "Plain_9", false},
      {Rule::kIdentifier, "1st-value", "SK_1st_value", false},
      {Rule::kIdentifier, "_x y", "SK__x_y", false},
      {Rule::kIdentifier, "\xC3\xA9\xFF\x01z", "SK_____z", false},
      {Rule::kIdentifier, letters(128), letters(128), false},
      {Rule::kIdentifier, letters(129), letters(128), true},
      {Rule::kIdentifier, "9" + letters(124), "SK_9" + letters(124), false},
      {Rule::kIdentifier, "9" + letters(126), "SK_9" + letters(124), true},
      {Rule::kUpTo128, letters(128), letters(128), false},
      {Rule::kUpTo128, letters(129), letters(128), true},
      {Rule::kUpTo128, letters(127) + "\xC3\xA9", letters(127) + "\xC3", true},
      {Rule::kUpTo128, "C:\\1 -x", "C:&#92;1 -x", false},
      {Rule::kUpTo512, letters(512), letters(512), false},
      {Rule::kUpTo512, letters(513), letters(512), true},
      {Rule::kUpTo512, "\x01\x7F\xFF\xFE", "\x01\x7F\xFF\xFE", false},
  };
}

std::string With(std::string text, std::string_view place, const std::string& value) {
  const size_t at = text.find(place);
  return at == std::string::npos ? text : text.replace(at, place.size(), value);
}

TEST_F(ValidationTest, TextsAreRepairedOrRefused) {
  RunHost([](Library& ut) {
    void* session = ut.Open();
    Traces traces;
    traces.NewRecords();
    traces.NewRefusals();
    int group = 6;
    const auto errors = [&](const std::string& value) {
      return std::vector<std::string>{"Skylamp/NOVALUE/ValidationErrors " + std::to_string(++group),
                                      "ErrorType=SK_INVALID_STRING", "Value=" + value};
    };
    const auto check = [&](const Argument& argument, const char* text, const std::string& value,
                           bool isError) {
      SCOPED_TRACE(testing::Message() << argument.name << ": " << (text ? text : "NULL"));
      const bool isRefused = value.starts_with("SK_STR");
      std::vector<std::string> records;
      if (isError) records = errors(*text == '\0' ? "NOVALUE" : text);
      if (!isRefused) records.push_back(With(argument.record, "%s", value));
      if (!isRefused && argument.record.ends_with("%g")) {
        records.back() = With(records.back(), "%g", std::to_string(++group));
      }
      EXPECT_EQ(argument.call(ut, session, text), isRefused ? 1 : 0);
      EXPECT_EQ(traces.NewRecords(), records);
      const std::vector<std::string> refusals = traces.NewRefusals();
      ASSERT_EQ(refusals.size(), isRefused ? 1u : 0u);
      if (!isRefused) return;
      const std::string refusal = "DEBUG " + With(argument.refusal, "%s", value);
      EXPECT_EQ(refusals[0].substr(0, refusal.size()), refusal);
    };
    for (const Argument& argument : kArguments) {
      const bool isRequired = argument.rule == Rule::kIdentifier;
      check(argument, nullptr, isRequired ? "SK_STR_NULL" : "NOVALUE", false);
      check(argument, "", isRequired ? "SK_STR_EMPTY" : "NOVALUE", isRequired);
      for (const Input& input : Inputs()) {
        if (input.rule == argument.rule) check(argument, input.text.c_str(), input.value, input.isCut);
      }
    }
  });
}

TEST_F(ValidationTest, GroupNumbers) {
  RunHost([](Library& ut) {
    void* session = ut.Open();
    Traces traces;
    for (const uint32_t accepted : {0u, 1u, 6u}) EXPECT_EQ(ut.AddToGroup(session, accepted, "k", "v"), 0);
    traces.NewRecords();
    traces.NewRefusals();
    int next = 7;
    for (const auto& [refused, text] :
         {std::pair{7u, "7"}, {UINT32_MAX, "-1"}, {0x80000000u, "-2147483648"}}) {
      EXPECT_EQ(ut.AddToGroup(session, refused, "k", "v"), 1);
      const std::string error = "Skylamp/NOVALUE/ValidationErrors ";
      const std::string first = std::to_string(next++);
      const std::string second = std::to_string(next++);
      EXPECT_EQ(traces.NewRecords(),
                (std::vector<std::string>{error + first, error + second, "ErrorType=SK_INVALID_GROUPID",
                                          "Value=" + first}));
      EXPECT_EQ(traces.NewRefusals(),
                std::vector<std::string>{std::string("DEBUG AddToGroup VerifyGroupId: ") + text +
                                         " @WrapperUTLogData:889"});
    }
  });
}

TEST_F(ValidationTest, DocumentIds) {
  // Of the text with the user's identifier behind it.
  static constexpr char kEmptyDigest[] = "dbd7cd8cefa8654c32d32f23c5437fe3";
  static constexpr char kDigest[] = "b8ccee5ab43080ff108981a72e158a63";
  struct Row {
    const char* text;
    uint32_t length;
    const char* doc;  // empty when refused
  };
  RunHost([](Library& ut) {
    void* session = ut.Open();
    // Nothing beyond the given length is read: the next page is not there.
    auto* const pages = static_cast<char*>(VirtualAlloc(nullptr, 8192, MEM_RESERVE, PAGE_NOACCESS));
    VirtualAlloc(pages, 4096, MEM_COMMIT, PAGE_READWRITE);
    char* const pageEnd = pages + 4096 - 3;
    std::memcpy(pageEnd, "abc", 3);
    for (const Row& row :
         {Row{nullptr, 0, "0"}, Row{nullptr, UINT32_MAX, "0"}, Row{"", 5, kEmptyDigest},
          Row{"abc", 0, kEmptyDigest}, Row{"abc", 3, kDigest}, Row{"abc", 0x7fffffff, kDigest},
          Row{"abcdef", 3, kDigest}, Row{"abc\0def", 7, kDigest}, Row{pageEnd, 3, kDigest},
          Row{"abc", 0x80000000, ""}}) {
      SCOPED_TRACE(testing::Message()
                   << (row.text && row.text != pageEnd ? row.text : "-") << " " << row.length);
      const size_t before = ReadFile(OpenFile()).size();
      const int32_t wanted = *row.doc == '\0' ? 1 : 0;
      const size_t count = wanted == 0 ? 2 : 0;
      EXPECT_EQ(ut.LogEvent(session, "a", "b", "c", row.text, row.length), wanted);
      uint32_t group = 12345;
      EXPECT_EQ(ut.NewDataGroup(session, wanted ? nullptr : "a", "b", "c", &group, row.text, row.length),
                wanted);
      EXPECT_EQ(group == 12345, wanted == 1);
      const std::vector<Record> records = Records(ReadFile(OpenFile()).substr(before));
      EXPECT_EQ(records.size(), count);
      for (const Record& record : records) EXPECT_EQ(record["doc"], row.doc);
    }
  });
  EXPECT_NE(std::ranges::count(LogLines(), "DEBUG VerifyDocIdBuffer:  @WrapperUTLogData:419"), 0);
}

TEST_F(ValidationTest, UsageKeys) {
  RunHost([](Library& ut) {
    const std::string key64 = kLetters.substr(0, 64);
    struct Row {
      const char* key;
      std::string_view refusal;  // empty when accepted
      std::string stored;        // the key that counts afterwards
    };
    const std::string long65 = key64 + "y";
    const std::string late = kLetters.substr(0, 70) + "\\z";
    Traces traces;
    for (const Row& row :
         {Row{"First", "", "First"}, Row{nullptr, "SK_STR_NULL", "First"}, Row{"", "SK_STR_EMPTY", "First"},
          Row{"a\\b", "a\\b", "First"}, Row{late.c_str(), late, "First"}, Row{long65.c_str(), "", key64},
          Row{"1 /\xC3\xA9", "", "1 /\xC3\xA9"}}) {
      SCOPED_TRACE(testing::Message() << (row.key ? row.key : "NULL"));
      const bool isRefused = !row.refusal.empty();
      EXPECT_EQ(ut.Initialize(row.key, true, "C:\\nowhere"), isRefused ? 1 : 0);
      EXPECT_EQ(ut.OptInGet(row.key), -1);
      EXPECT_EQ(ut.OptInSet(row.key, 0), isRefused ? 1 : 0);
      const std::string value(row.refusal);
      const std::vector<std::string> refusals = traces.NewRefusals();
      if (isRefused) {
        EXPECT_EQ(refusals,
                  (std::vector<std::string>{
                      "DEBUG pcUsagekey: " + value + " @WrapperUTLogData:167",
                      "DEBUG OptInGet VerifyString pcUsagekey: " + value + " @WrapperUTLogData:911",
                      "DEBUG OptInSet VerifyString pcUsagekey: " + value + " @WrapperUTLogData:946"}));
      }
      EXPECT_EQ(ut.SetOptIn(1), 0);
      EXPECT_EQ(GetValue(Hive::kUser, std::string(kUsage) + "\\" + row.stored, "OptIn"), "dword:1");
      ut.SetOptIn(-1);
      traces.NewRefusals();
    }
  });
}

// A text that a start cuts is told in the log, for want of a session to record it in.
TEST_F(ValidationTest, ProductTexts) {
  RunHost([](Library& ut) {
    void* session = ut.Open();
    ut.CloseSession(&session);
    Traces traces;
    traces.NewRefusals();
    const std::string cut = "DEBUG SK_INVALID_STRING: " + kLetters.substr(0, 512) + " @WrapperUTLogData:1068";
    EXPECT_EQ(ut.StartSession(&session, "Acme", "Long", kLetters.c_str(), kLetters.c_str(), kLetters.c_str()),
              0);
    EXPECT_EQ(std::ranges::count(traces.NewRefusals(), cut), 3);
    const std::vector<Record> records = Records(ReadFile(OpenFile()));
    for (size_t i = 4; i < 7; ++i) EXPECT_EQ(records[i]["data"], kLetters.substr(0, 512));
  });
}

// Whatever is passed, at each export: a result, no crash, and other sessions go on undisturbed.
TEST_F(ValidationTest, NothingHarms) {
  RunHost([](Library& ut) {
    void* const open = ut.Open();
    void* freed = ut.Open("Acme", "Freed");
    void* const stale = freed;
    ut.CloseSession(&freed);
    const Path file = OpenFile();
    const std::string before = ReadFile(file);

    std::string bytes;
    for (int i = 1; i < 256; ++i) bytes += static_cast<char>(i);
    const std::string megabyte(1 << 20, '\\');
    const std::string letters(1 << 20, 'x');
    int here = 0;
    char buffer[64];
    for (const char* text :
         {static_cast<const char*>(nullptr), "", bytes.c_str(), megabyte.c_str(), letters.c_str(), "%s%n%s",
          "\xFF\xFE\x80", "\xED\xA0\x80\xC0\x80", "..\\..\\x", "\\\\?\\C:\\"}) {
      for (void* handle :
           {static_cast<void*>(nullptr), reinterpret_cast<void*>(1), reinterpret_cast<void*>(-1),
            static_cast<void*>(&here), stale, static_cast<void*>(GetModuleHandleW(nullptr))}) {
        EXPECT_EQ(ut.AddToSession(handle, text, text), 1);
        EXPECT_EQ(ut.LogEvent(handle, text, text, text, text, 3), 1);
        EXPECT_EQ(ut.NewDataGroup(handle, text, text, text, nullptr, text, 3), 1);
        EXPECT_EQ(ut.AddToGroup(handle, 1, text, text), 1);
        void* variable = handle;
        EXPECT_EQ(ut.CloseSession(&variable), 1);
        EXPECT_EQ(variable, handle);
      }
      EXPECT_EQ(ut.CloseSession(nullptr), 1);
      EXPECT_EQ(ut.StartSession(nullptr, text, text, text, text, text), 1);
      void* session = nullptr;
      if (ut.StartSession(&session, text, text, text, text, text) == 0) ut.CloseSession(&session);
      EXPECT_EQ(session, nullptr);
      size_t size = sizeof buffer;
      for (const char* subkey : {text, "Sub"}) {
        ut.GetNonDefaultDemographic(subkey, text, buffer, &size);
        ut.SetNonDefaultDemographic(subkey, text, text);
        EXPECT_EQ(ut.GetNonDefaultDemographic(subkey, text, nullptr, &size), 1);
        EXPECT_EQ(ut.GetNonDefaultDemographic(subkey, text, buffer, nullptr), 1);
      }
      ut.GetDemographic(text, buffer, &size);
      ut.SetDemographic(text, text);
      ut.OptInGet(text);
      ut.OptInSet(text, 5);
      ut.OptInSet(text, 0);
      ut.Initialize(text, true, text);
      ut.Initialize("MyProduct", false, nullptr);
    }
    EXPECT_EQ(ReadFile(file), before);
    EXPECT_EQ(ut.AddToSession(open, "after", "all"), 0);
    EXPECT_TRUE(
        Normalised(ReadFile(file)).ends_with(" group=\"1\" name=\"after\" data=\"all\" seq=\"33\" />\n"));
  });
}

}  // namespace
}  // namespace vantra::test
