// The open sessions of the process. A host's handle is the address of a session in this list.
#pragma once

#include <memory>
#include <unordered_map>

#include "session/UsageSession.h"
#include "util/GlobalItems.h"

namespace vantra::api {

// Sessions still open at unload are abandoned.
class VantraManager : public util::OneOf<VantraManager> {
 public:
  // Takes the session over and returns its handle.
  session::UsageSession* Add(std::unique_ptr<session::UsageSession> session);

  // NULL unless the handle is that of an open session. A handle is only compared, never followed.
  [[nodiscard]] session::UsageSession* Find(const void* handle) noexcept {
    return handle != nullptr && handle == latest_ ? latest_ : FindPlace(handle);
  }

  // Gives the session back; nothing when the handle is not in the list.
  std::unique_ptr<session::UsageSession> Remove(const void* handle) noexcept;

  // In the order of their starts.
  [[nodiscard]] const session::SessionList& Sessions() const noexcept { return sessions_; }

 private:
  friend util::OneOf<VantraManager>;
  VantraManager() = default;
  [[nodiscard]] session::UsageSession* FindPlace(const void* handle) noexcept;

  session::SessionList sessions_;
  // Where each handle stands in the list, so that a call costs the same however many sessions are open.
  std::unordered_map<const void*, session::SessionList::iterator> places_;
  // The last handle that was found: hosts make many calls about one session in a row.
  session::UsageSession* latest_ = nullptr;
};

}  // namespace vantra::api
