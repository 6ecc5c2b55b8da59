#include "api/VantraManager.h"

#include <stdexcept>

namespace vantra::api {

session::UsageSession* VantraManager::Add(std::unique_ptr<session::UsageSession> session) {
  if (sessions_.size() == sessions_.max_size()) throw std::length_error("list<T> too long");
  const auto [place, isNew] = places_.try_emplace(session.get());
  try {
    place->second = sessions_.insert(sessions_.end(), session.get());
  } catch (...) {
    places_.erase(place);
    throw;
  }
  return session.release();
}

session::UsageSession* VantraManager::LookUp(const void* handle) noexcept {
  const auto place = places_.find(handle);
  if (place == places_.end()) return nullptr;
  latest_ = *place->second;
  return latest_;
}

std::unique_ptr<session::UsageSession> VantraManager::Remove(const void* handle) noexcept {
  const auto place = places_.find(handle);
  if (place == places_.end()) return nullptr;
  if (handle == latest_) latest_ = nullptr;
  std::unique_ptr<session::UsageSession> session(*place->second);
  sessions_.erase(place->second);
  places_.erase(place);
  return session;
}

}  // namespace vantra::api
