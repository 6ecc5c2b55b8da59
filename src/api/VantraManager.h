// The list of the process's open sessions. A host's handle is the address of a session in it.
#pragma once

#include <memory>
#include <unordered_map>

#include "session/UsageSession.h"
#include "util/GlobalItems.h"

namespace vantra::api {

// Sessions still open at unload are neither finished nor destroyed.
class VantraManager : public util::OneOf<VantraManager> {
 public:
  // Takes ownership of the session and returns its handle.
  session::UsageSession* Add(std::unique_ptr<session::UsageSession> session);

  // The open session with this handle, or NULL. The handle is only compared, never dereferenced.
  [[nodiscard]] session::UsageSession* Find(const void* handle) noexcept {
    return handle != nullptr && handle == latest_ ? latest_ : LookUp(handle);
  }

  // Removes the session from the list and returns it; empty when it is not listed.
  std::unique_ptr<session::UsageSession> Remove(const void* handle) noexcept;

  // In the order in which they were started.
  [[nodiscard]] const session::SessionList& Sessions() const noexcept { return sessions_; }

 private:
  friend util::OneOf<VantraManager>;
  VantraManager() = default;
  [[nodiscard]] session::UsageSession* LookUp(const void* handle) noexcept;

  session::SessionList sessions_;
  // Finds a handle's list entry in constant time, however many sessions are open.
  std::unordered_map<const void*, session::SessionList::iterator> places_;
  // The session found last: hosts make many calls about one session in a row.
  session::UsageSession* latest_ = nullptr;
};

}  // namespace vantra::api
