/**
 * Vantra for C++20: vantra.h with owners, text of any kind and named values.
 *
 *     vantra::Library library;                           // linked; see load.hpp for one that may be missing
 *     library.Initialize("MyProduct", vantra::CrashHandling::kOn);
 *     if (library.GetOptIn() == vantra::OptIn::kNoChoice) static_cast<void>(library.SetOptIn(askUser()));
 *
 *     auto session = library.StartSession({.family = "Acme", .name = "Draw", .version = "3.1"});
 *     session.Add("Theme", "dark");
 *     session.LogEvent("File", "Menu", "Save", path);
 *     session.NewDataGroup("Drawing", "Size", "Shapes").Add("Circles", 17);
 *
 * Nothing is thrown (but see GetDemographic), nothing is allocated, and the header needs no windows.h.
 * Limits, repairs, the effect of consent and what is recorded are those of vantra.h.
 *
 * Each bool tells whether the call succeeded. Those of recording calls may be ignored: a failure harms
 * nothing, and without consent there is simply no session. The results that are [[nodiscard]] carry an answer
 * or the user's choice.
 *
 * Const members may be called from any thread at any time. Closing, moving or destroying a Session needs the
 * care that any object needs.
 */
#ifndef VANTRA_VANTRA_HPP
#define VANTRA_VANTRA_HPP

#include <algorithm>
#include <charconv>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vantra/functions.hpp>

namespace vantra {

/** What a Text is made from besides text. Neither bool nor char says how it is to be written. */
template <class N>
concept Number = std::is_arithmetic_v<N> && !std::is_same_v<N, bool> && !std::is_same_v<N, char>;

/**
 * A parameter: text in UTF-8, or a number. It holds a copy, so it may be kept, alone or in a Product.
 *
 * Text is copied up to its first NUL, at most kCapacity bytes of it. That is more than any limit of vantra.h:
 * of what is cut there, a validation error tells as much. nullptr, and a string_view without data, stand for
 * NULL.
 */
class Text {
 public:
  static constexpr size_t kCapacity = 1023;

  // NOLINTBEGIN(google-explicit-constructor): a call is given what a text can be made of.
  Text(std::string_view text) noexcept : isNull_(text.data() == nullptr) {
    buffer_[text.copy(buffer_, kCapacity)] = '\0';
  }
  Text(const std::string& text) noexcept : Text(std::string_view(text)) {}
  Text(const char* text) noexcept : Text(text == nullptr ? std::string_view() : std::string_view(text)) {}
  template <Number N>
  Text(N number) noexcept {
    *std::to_chars(buffer_, buffer_ + kCapacity, number).ptr = '\0';
  }
  // NOLINTEND(google-explicit-constructor)

  /** Ends in a NUL, and lives as long as this Text. */
  [[nodiscard]] const char* Get() const& noexcept { return isNull_ ? nullptr : buffer_; }
  const char* Get() const&& = delete;

 private:
  bool isNull_ = false;
  char buffer_[kCapacity + 1];
};

/** The user's choice. As an argument kNoChoice forgets it, and the product's demographic values with it. */
enum class OptIn : int32_t { kNoChoice = -1, kOut = 0, kIn = 1 };

/** In kPreRelease a user who has not chosen yet counts as consenting. */
enum class ReleaseState : int32_t { kPreRelease, kTrial, kSerialized, kSharedComponent };

/** Whether crashes of this process are recorded; read about its price at UTInitialize. */
enum class CrashHandling : bool { kOff, kOn };

/** What a session tells about its host; may be kept. Family and name become part of file names. */
struct Product {
  Text family;
  Text name;
  Text version;
  Text build = nullptr;
  Text language = nullptr;
};

namespace detail {

// A document as the C functions take it, none for an empty text. What is too long for them is refused there.
inline const char* DocumentText(std::string_view document) noexcept {
  return document.empty() ? nullptr : document.data();
}
inline uint32_t DocumentLength(std::string_view document) noexcept {
  return static_cast<uint32_t>(std::min<size_t>(document.size(), UINT32_MAX));
}

}  // namespace detail

/** A data group of a session: a number, with nothing to release, that may be copied. Let none outlive its
 * session. */
class Group {
 public:
  /** A group of no session: every call fails. */
  Group() noexcept = default;

  /** Whether the group was opened. */
  [[nodiscard]] explicit operator bool() const noexcept { return session_ != nullptr; }

  /** UTAddToGroup. */
  bool Add(const Text& key, const Text& value) const noexcept {
    return session_ != nullptr && functions_->AddToGroup(session_, id_, key.Get(), value.Get()) == 0;
  }

 private:
  friend class Session;
  Group(const detail::Functions* functions, void* session, uint32_t id) noexcept
      : functions_(functions), session_(session), id_(id) {}

  const detail::Functions* functions_ = nullptr;
  void* session_ = nullptr;
  uint32_t id_ = 0;
};

/** A session, or none when the start was refused: then every call fails and does nothing. */
class Session {
 public:
  Session() noexcept = default;
  Session(Session&& other) noexcept
      : functions_(other.functions_), handle_(std::exchange(other.handle_, nullptr)) {}
  Session& operator=(Session&& other) noexcept {
    std::swap(functions_, other.functions_);
    std::swap(handle_, other.handle_);
    return *this;
  }
  /** Closes the session. */
  ~Session() { Close(); }

  /** Whether there is a session. */
  [[nodiscard]] explicit operator bool() const noexcept { return handle_ != nullptr; }

  /** UTAddToSession: a value of the session itself. */
  bool Add(const Text& key, const Text& value) const noexcept {
    return handle_ != nullptr && functions_->AddToSession(handle_, key.Get(), value.Get()) == 0;
  }

  /** UTLogEvent. Of the document only a digest is recorded; an empty one stands for none. */
  bool LogEvent(const Text& category, const Text& subCategory, const Text& name,
                std::string_view document = {}) const noexcept {
    return handle_ != nullptr &&
           functions_->LogEvent(handle_, category.Get(), subCategory.Get(), name.Get(),
                                detail::DocumentText(document), detail::DocumentLength(document)) == 0;
  }

  /** UTNewDataGroup. The result is false, and takes no values, when the group was refused. */
  Group NewDataGroup(const Text& category, const Text& subCategory, const Text& name,
                     std::string_view document = {}) const noexcept {
    uint32_t group = 0;
    const bool isOpen =
        handle_ != nullptr &&
        functions_->NewDataGroup(handle_, category.Get(), subCategory.Get(), name.Get(), &group,
                                 detail::DocumentText(document), detail::DocumentLength(document)) == 0;
    return isOpen ? Group(functions_, handle_, group) : Group();
  }

  /** UTCloseSession, sooner than at the end of the scope. True when there was a session to close. */
  bool Close() noexcept {
    if (handle_ == nullptr) return false;
    void* handle = std::exchange(handle_, nullptr);
    return functions_->CloseSession(&handle) == 0;
  }

 private:
  friend class Library;
  const detail::Functions* functions_ = nullptr;
  void* handle_ = nullptr;
};

/**
 * The library, as much of it as there is. Keep one for as long as there are sessions of it, in a place of its
 * own: it cannot be copied or moved. Destroying it changes nothing in Vantra.dll.
 */
class Library {
 public:
  /** The library that the host is linked with. Only who uses this constructor needs the import library. */
  Library() noexcept : Library(detail::Linked()) {}

  /**
   * A library found at run time: find(name) gives the address of an export, or a null pointer. The library is
   * present when it has what version 1.0.0 has; a later function that it lacks fails. It must stay loaded as
   * long as this object and its sessions live.
   */
  template <class Find>
  requires std::is_invocable_v<Find&, const char*>
  explicit Library(Find find) noexcept : Library(detail::FindAll(std::move(find))) {}

  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  /** False when it was not found: then every call fails, and there is never a session. */
  [[nodiscard]] bool IsPresent() const noexcept { return isPresent_; }

  /** UTInitialize. A folder of nullptr keeps the present choice. False when the usage key is refused. */
  bool Initialize(const Text& usageKey, CrashHandling crashHandling,
                  const Text& agentFolder = nullptr) const noexcept {
    return functions_.Initialize(usageKey.Get(), crashHandling == CrashHandling::kOn, agentFolder.Get()) == 0;
  }

  /** UTSetSerializationState, before a session starts. */
  void SetReleaseState(ReleaseState state) const noexcept {
    functions_.SetSerializationState(static_cast<int32_t>(state));
  }

  /** UTStartSession. A session that is false when it was refused, for want of consent for one. */
  [[nodiscard]] Session StartSession(const Product& product) const& noexcept {
    Session session;
    session.functions_ = &functions_;
    functions_.StartSession(&session.handle_, product.family.Get(), product.name.Get(), product.version.Get(),
                            product.build.Get(), product.language.Get());
    return session;
  }
  /** A session uses its library, which must therefore have a name. */
  Session StartSession(const Product& product) const&& = delete;

  /** UTGetOptIn; with a usage key, UTOptInGet. */
  [[nodiscard]] OptIn GetOptIn(const Text& usageKey = nullptr) const noexcept {
    const char* const key = usageKey.Get();
    return static_cast<OptIn>(key == nullptr ? functions_.GetOptIn() : functions_.OptInGet(key));
  }
  /** UTSetOptIn; with a usage key, UTOptInSet. False when the choice was not stored. */
  [[nodiscard]] bool SetOptIn(OptIn choice, const Text& usageKey = nullptr) const noexcept {
    const auto value = static_cast<int32_t>(choice);
    const char* const key = usageKey.Get();
    return (key == nullptr ? functions_.SetOptIn(value) : functions_.OptInSet(key, value)) == 0;
  }

  /**
   * UTGetNonDefaultDemographic; without a subkey, UTGetDemographic. The value, or nothing when there is none.
   * The only call here that may throw: std::bad_alloc.
   */
  [[nodiscard]] std::optional<std::string> GetDemographic(const Text& key,
                                                          const Text& subkey = nullptr) const {
    char value[kDemographicSize];
    size_t size = sizeof value;
    if (functions_.GetNonDefaultDemographic(subkey.Get(), key.Get(), value, &size) != 0) return std::nullopt;
    return std::string(value);
  }
  /** UTSetNonDefaultDemographic; without a subkey, UTSetDemographic. */
  bool SetDemographic(const Text& key, const Text& value, const Text& subkey = nullptr) const noexcept {
    return functions_.SetNonDefaultDemographic(subkey.Get(), key.Get(), value.Get()) == 0;
  }

 private:
  // A stored value has at most 511 characters, each at most three bytes.
  static constexpr size_t kDemographicSize = 1536;

  explicit Library(const std::optional<detail::Functions>& found) noexcept
      : functions_(found.value_or(detail::Functions())), isPresent_(found.has_value()) {}

  detail::Functions functions_;
  bool isPresent_;
};

}  // namespace vantra

#endif
