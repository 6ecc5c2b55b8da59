// Records a run of a program through Vantra: one file, made to be copied into a host of your own.
//
// Any call may be made in any state. Without the user's consent, without an agent or with a full disk the
// records are dropped, and the host goes on as if nothing had happened.
#pragma once

#include <vantra/vantra.h>

#include <initializer_list>
#include <optional>
#include <string>
#include <utility>

class Recorder {
 public:
  // Texts in UTF-8. The usage key names the product's settings, family and name become part of file names.
  struct Product {
    const char* usageKey;
    const char* family;
    const char* name;
    const char* version;
    const char* build;
    const char* language;
  };

  explicit Recorder(const Product& product) : product_(product) {
    UTInitialize(product.usageKey, /*crashHandling=*/true, /*agentFolder=*/nullptr);
  }
  ~Recorder() { Close(); }
  Recorder(const Recorder&) = delete;
  Recorder& operator=(const Recorder&) = delete;

  // The user's choice; nothing while the user has not made one.
  [[nodiscard]] std::optional<bool> Consent() const {
    const int32_t optIn = UTGetOptIn();
    return optIn < 0 ? std::nullopt : std::optional(optIn == 1);
  }
  bool SetConsent(bool yes) { return UTSetOptIn(yes ? 1 : 0) == 0; }

  // False when Vantra refuses: the user has not consented, the agent is missing, or recording is switched
  // off.
  bool Start() {
    return UTStartSession(&session_, product_.family, product_.name, product_.version, product_.build,
                          product_.language) == 0;
  }
  void Close() {
    if (session_ != nullptr) UTCloseSession(&session_);
  }

  void Add(const char* key, const std::string& value) { UTAddToSession(session_, key, value.c_str()); }

  // Something that happened. Only a digest of the document's name is recorded, never the name.
  void Event(const char* category, const char* subCategory, const char* name, const std::string& document) {
    UTLogEvent(session_, category, subCategory, name, document.data(), Length(document));
  }

  // Values that belong together. Category, name and keys are identifiers: ASCII letters, digits and '_'.
  // The document may be empty: then the group concerns none.
  void Group(const char* category, const char* subCategory, const char* name, const std::string& document,
             std::initializer_list<std::pair<const char*, std::string>> values) {
    uint32_t group = 0;
    const char* const documentId = document.empty() ? nullptr : document.data();
    if (UTNewDataGroup(session_, category, subCategory, name, &group, documentId, Length(document)) != 0)
      return;
    for (const auto& [key, value] : values) UTAddToGroup(session_, group, key, value.c_str());
  }

 private:
  static uint32_t Length(const std::string& text) { return static_cast<uint32_t>(text.size()); }

  Product product_;
  void* session_ = nullptr;
};
