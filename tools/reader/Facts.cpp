#include "reader/Facts.h"

#include <algorithm>

#include "reader/FileName.h"
#include "reader/QuickRecords.h"
#include "reader/Text.h"

namespace vantra::reader {
namespace {

constexpr size_t kLongestText = 4096;  // longer than any product text of a host

struct Entry {
  Origin origin;
  std::string_view name;
  std::string Facts::*target;
};

// The entries that are facts, by kind of document. Crash and opt-in documents also have ProductFamily and
// ProductName, which only name the kind of document.
constexpr Entry kEntries[] = {
    {Origin::Session, "ProductFamily", &Facts::family},
    {Origin::Session, "ProductName", &Facts::product},
    {Origin::Session, "ProductVersion", &Facts::version},
    {Origin::Session, "ProductBuild", &Facts::build},
    {Origin::Session, "ProductLanguage", &Facts::language},
    {Origin::Session, "User", &Facts::user},
    {Origin::Crash, "CrashProductFamily", &Facts::family},
    {Origin::Crash, "CrashProductName", &Facts::product},
    {Origin::Crash, "UserID", &Facts::user},
    {Origin::OptIn, "OptinProductFamily", &Facts::family},
    {Origin::OptIn, "OptinProductName", &Facts::product},
    {Origin::OptIn, "OptinProductVersion", &Facts::version},
};

void Keep(std::string& target, std::string_view text) {
  target.clear();
  AppendUtf8(text.substr(0, kLongestText), target);
}

void LearnResume(const ResumeTexts& texts, Facts& facts) {
  Keep(facts.family, texts.family);
  Keep(facts.product, texts.product);
  Keep(facts.version, texts.version);
  Keep(facts.build, texts.build);
  Keep(facts.language, texts.language);
  if (texts.user != "NOVALUE") Keep(facts.user, texts.user);
  facts.start = texts.startTime;
}

void LearnValue(const Record& record, Facts& facts) {
  for (const Entry& entry : kEntries) {
    if (entry.origin != facts.origin || entry.name != record.name.raw || !record.value.HasValue()) continue;
    std::string& target = facts.*entry.target;
    target.clear();
    if (record.value.raw.size() <= kLongestText) Unescape(record.value.raw, target);
  }
}

// The kind of document that its first group indicates.
Origin OriginOf(const Record& group) {
  if (group.group != 1 || group.category.raw != "Skylamp" || group.name.raw != "Session")
    return Origin::Session;
  if (group.subcategory.raw == "Crash") return Origin::Crash;
  return group.subcategory.raw == "OptinRate" ? Origin::OptIn : Origin::Session;
}

// False when later records hold no more facts.
bool Learn(const Record& record, Facts& facts) {
  switch (record.kind) {
    case Kind::Start:
      facts.start = record.time;
      break;
    case Kind::Resume:
      LearnResume(record.resume, facts);
      break;
    case Kind::Group:
      if (record.group == 1) facts.origin = OriginOf(record);
      return record.group == 1 || (record.group <= 2 && facts.origin != Origin::Session);
    case Kind::Value:
      if (record.group <= 2) LearnValue(record, facts);
      return true;
    default:
      return false;
  }
  if (!record.id.empty() && record.id != kNilGuid) facts.session = record.id;
  return record.kind == Kind::Start;
}

}  // namespace

std::string_view NameOf(Origin origin) noexcept {
  return origin == Origin::Session ? "session" : origin == Origin::Crash ? "crash" : "optin";
}

void Facts::Complete(const Facts& other) {
  for (auto part : {&Facts::family, &Facts::product, &Facts::version, &Facts::build, &Facts::language,
                    &Facts::user, &Facts::session, &Facts::start}) {
    if ((this->*part).empty()) this->*part = other.*part;
  }
}

Facts FactsIn(std::string_view beginning) {
  constexpr int kEnough = 16;
  Facts facts;
  Records records = EmptyRecords();
  QuickRecords quick(records);
  for (int i = 0; i < kEnough && !beginning.empty(); ++i) {
    const Record* const expected = quick.Read(beginning.data());
    if (expected != nullptr && expected->text.size() <= beginning.size()) {
      if (!Learn(*expected, facts)) break;
      beginning.remove_prefix(expected->text.size());
      continue;
    }
    const Parsed parsed = Parse(beginning, records);
    if (parsed.piece == Piece::Record) {
      const Record& record = records[static_cast<size_t>(parsed.kind)];
      if (!Learn(record, facts)) break;
      quick.Learn(record);
    }
    if (parsed.piece == Piece::EndTag) break;
    beginning.remove_prefix(parsed.piece == Piece::Malformed
                                ? std::min(beginning.find("\n<"), beginning.size() - 1) + 1
                                : parsed.size);
  }
  return facts;
}

}  // namespace vantra::reader
