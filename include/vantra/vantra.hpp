/**
 * Vantra for C++20: vantra.h with owning classes, convenient text parameters and enumerations.
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
 * Nothing throws or allocates, except GetDemographic, and the header does not include windows.h. Limits,
 * repairs, the effect of consent and what is recorded are those of vantra.h.
 *
 * A bool result says whether the call succeeded. Results of recording calls may be ignored: a failure harms
 * nothing, and without consent there is simply no session. [[nodiscard]] results carry an answer or the
 * user's choice.
 *
 * Const members may be called from any thread at any time. As with any object, do not close, move or destroy
 * a Session while another thread uses it.
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

/** The numbers that a Text is made from. A bool or a char is none: how to write it would be ambiguous. */
template <class N>
concept Number = std::is_arithmetic_v<N> && !std::is_same_v<N, bool> && !std::is_same_v<N, char>;

/**
 * A parameter: text in UTF-8, or a number in decimal. It holds a copy, so it may be kept, alone or in a
 * Product.
 *
 * At most kCapacity bytes of the text are copied, up to its first NUL. That is more than any limit of
 * vantra.h; a validation error, which records the uncut text there, records at most these bytes. nullptr, and
 * a string_view without data, stand for NULL.
 */
class Text {
 public:
  static constexpr size_t kCapacity = 1023;

  // NOLINTBEGIN(google-explicit-constructor): so that calls take plain text and numbers.
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

  /** The NUL-terminated text, valid as long as this object; nullptr for NULL. */
  [[nodiscard]] const char* Get() const& noexcept { return isNull_ ? nullptr : buffer_; }
  const char* Get() const&& = delete;

 private:
  bool isNull_ = false;
  char buffer_[kCapacity + 1];
};

/** The user's choice. To set kNoChoice deletes it, and the product's demographic values with it. */
enum class OptIn : int32_t { kNoChoice = -1, kOut = 0, kIn = 1 };

/** In kPreRelease a user who has not chosen yet counts as consenting. */
enum class ReleaseState : int32_t { kPreRelease, kTrial, kSerialized, kSharedComponent };

/** Whether crashes of this process are recorded. UTInitialize describes the side effects. */
enum class CrashHandling : bool { kOff, kOn };

/** The product that a session records. Family and name become parts of file names. */
struct Product {
  Text family;
  Text name;
  Text version;
  Text build = nullptr;
  Text language = nullptr;
};

namespace detail {

// A document as the C functions take it; an empty one becomes NULL. They refuse one that is too long.
inline const char* DocumentText(std::string_view document) noexcept {
  return document.empty() ? nullptr : document.data();
}
inline uint32_t DocumentLength(std::string_view document) noexcept {
  return static_cast<uint32_t>(std::min<size_t>(document.size(), UINT32_MAX));
}

}  // namespace detail

/** A data group of a session. Owns nothing and may be copied, but must not outlive its session. */
class Group {
 public:
  /** No group: Add fails. */
  Group() noexcept = default;

  /** Whether the group was opened. */
  [[nodiscard]] explicit operator bool() const noexcept { return session_ != nullptr; }

  /** UTAddToGroup: adds a value to the group. */
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

/** A session; or none, if its start was refused: then every call does nothing and fails. */
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

  /** UTAddToSession: adds a value to the session's own group. */
  bool Add(const Text& key, const Text& value) const noexcept {
    return handle_ != nullptr && functions_->AddToSession(handle_, key.Get(), value.Get()) == 0;
  }

  /** UTLogEvent. Only a digest of the document is recorded; an empty one means none. */
  bool LogEvent(const Text& category, const Text& subCategory, const Text& name,
                std::string_view document = {}) const noexcept {
    return handle_ != nullptr &&
           functions_->LogEvent(handle_, category.Get(), subCategory.Get(), name.Get(),
                                detail::DocumentText(document), detail::DocumentLength(document)) == 0;
  }

  /** UTNewDataGroup. When the group is refused, the result is false and accepts no values. */
  Group NewDataGroup(const Text& category, const Text& subCategory, const Text& name,
                     std::string_view document = {}) const noexcept {
    uint32_t group = 0;
    const bool isOpen =
        handle_ != nullptr &&
        functions_->NewDataGroup(handle_, category.Get(), subCategory.Get(), name.Get(), &group,
                                 detail::DocumentText(document), detail::DocumentLength(document)) == 0;
    return isOpen ? Group(functions_, handle_, group) : Group();
  }

  /** UTCloseSession, before the destructor does it. True when there was a session to close. */
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
 * The library, linked or found at run time. Must outlive its sessions, and cannot be copied or moved.
 * Destroying it changes nothing in Vantra.dll.
 */
class Library {
 public:
  /** The library that the host is linked with. Only this constructor needs the import library. */
  Library() noexcept : Library(detail::Linked()) {}

  /**
   * A library found at run time: find(name) returns the address of an export, or a null pointer. The library
   * is present when it has the functions of version 1.0.0 that this class calls; calls of later ones that it
   * lacks fail. It must stay loaded as long as this object and its sessions exist.
   */
  template <class Find>
  requires std::is_invocable_v<Find&, const char*>
  explicit Library(Find find) noexcept : Library(detail::FindAll(std::move(find))) {}

  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  /** False when the library was not found: then every call fails, and no session starts. */
  [[nodiscard]] bool IsPresent() const noexcept { return isPresent_; }

  /** UTInitialize. An agentFolder of nullptr keeps the previous one. False when the usage key is refused. */
  bool Initialize(const Text& usageKey, CrashHandling crashHandling,
                  const Text& agentFolder = nullptr) const noexcept {
    return functions_.Initialize(usageKey.Get(), crashHandling == CrashHandling::kOn, agentFolder.Get()) == 0;
  }

  /** UTSetSerializationState. Call it before a session starts. */
  void SetReleaseState(ReleaseState state) const noexcept {
    functions_.SetSerializationState(static_cast<int32_t>(state));
  }

  /** UTStartSession. The session is false when the start was refused, for example without consent. */
  [[nodiscard]] Session StartSession(const Product& product) const& noexcept {
    Session session;
    session.functions_ = &functions_;
    functions_.StartSession(&session.handle_, product.family.Get(), product.name.Get(), product.version.Get(),
                            product.build.Get(), product.language.Get());
    return session;
  }
  /** A session uses its library, which therefore must not be a temporary object. */
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
   * UTGetNonDefaultDemographic; without a subkey, UTGetDemographic. Empty when no such value is stored. The
   * only call that allocates; it may throw std::bad_alloc.
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
  // A stored value has at most 511 UTF-16 units, each at most three bytes in UTF-8.
  static constexpr size_t kDemographicSize = 1536;

  explicit Library(const std::optional<detail::Functions>& found) noexcept
      : functions_(found.value_or(detail::Functions())), isPresent_(found.has_value()) {}

  detail::Functions functions_;
  bool isPresent_;
};

}  // namespace vantra

#endif
