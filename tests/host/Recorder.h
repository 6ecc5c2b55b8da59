// Random calls that record, with texts at the ends of pages and at times with a handle that is none, and what
// they make of a session.
#pragma once

#include "Settings.h"

namespace vantra::test {

class Recorder : public Settings {
 public:
  using Settings::Settings;

 protected:
  void CallWithSession() {
    ++log.call;
    const bool isOpen = chance.Below(30) != 0;
    void* const none =
        chance.One<void*>({nullptr, &ut, reinterpret_cast<void*>(-1), closed == handle ? nullptr : closed});
    void* const used = isOpen ? handle : none;
    const Text a = chance.Any(), b = chance.Any(), c = chance.Any();
    const char *const placedA = Place(a), *const placedB = Place(b), *const placedC = Place(c);
    // A document is named by a text with its end, or by bytes alone.
    const Text name = chance.Some({"", std::string_view("ab\0", 3)});
    const bool hasEnd = chance.Below(2) == 0;
    const char* const placedName = hasEnd || !name ? Place(name) : AtPageEnd(*name);
    const size_t size = name ? name->size() : 0;
    const auto length = static_cast<uint32_t>(
        chance.Below(8) == 0 ? chance.One({hasEnd ? 0x7fffffffU : 0x80000000U, 0x80000000U, UINT32_MAX})
                             : chance.Below(size + (hasEnd ? 9 : 1)));
    const Text doc = DocumentId(name, length);
    const int number = chance.One(
        {0, 1, session->groups, session->groups + 1, -1, INT_MIN, static_cast<int>(chance.Below(40))});
    if (!isOpen) {
      void* variable = none;
      log.Info("UTCloseSession", 620);
      EXPECT_TRUE(ut.CloseSession(a ? &variable : nullptr) == 1 && variable == none);
    }
    uint32_t group = 7;
    int rightGroup = 7, result = 0, right = 1;
    switch (chance.Below(4)) {
      case 0:
        log.Info("UTAddToSession", 352);
        result = ut.AddToSession(used, placedA, placedB);
        if (isOpen) right = session->AddToSession(a, b);
        break;
      case 1:
        log.Info("UTLogEvent", 404);
        result = ut.LogEvent(used, placedA, placedB, placedC, placedName, length);
        if (isOpen) right = session->LogEvent(a, b, c, doc);
        break;
      case 2:
        log.Info("UTNewDataGroup", 489);
        result = ut.NewDataGroup(used, placedA, placedB, placedC, &group, placedName, length);
        if (isOpen) right = session->NewDataGroup(a, b, c, doc, rightGroup);
        break;
      default:
        log.Info("UTAddToGroup", 577);
        result = ut.AddToGroup(used, static_cast<uint32_t>(number), placedA, placedB);
        if (isOpen) right = session->AddToGroup(number, a, b);
    }
    EXPECT_TRUE(result == right && group == static_cast<uint32_t>(rightGroup)) << "Call " << log.call;
  }

  // Values until about so many bytes are left before a split; exactly so many as long as numbers grow no
  // digit.
  void Fill(size_t left) {
    constexpr size_t kMost = 500;
    const size_t end = kSplitSize - left;
    for (size_t overhead = 100; session->bytes + overhead < end;) {
      const size_t room = end - session->bytes - overhead, before = session->bytes;
      const std::string value(room > 2 * kMost ? kMost : room > kMost ? room / 2 : room, 'x');
      log.Info("UTAddToSession", 352);
      EXPECT_EQ(ut.AddToSession(handle, "filler", value.c_str()), session->AddToSession("filler", value));
      if (session->bytes < before) return;
      overhead = session->bytes - before - value.size();
    }
  }

  void* handle = nullptr;
  void* closed = nullptr;  // the handle before
  std::optional<Session> session;
};

}  // namespace vantra::test
