#include "reader/Decoded.h"

#include "session/Obfuscation.h"
#include "util/ByteScans.h"

namespace vantra::reader {

DecodedSource::DecodedSource(Source& file) : source_(&file) {
  Begin();
  if (BeginsPacked(beginning_)) {
    gunzip_.emplace(file, beginning_);
    source_ = &*gunzip_;
    Begin();
  }
  isObfuscated_ = beginning_ == session::kObfuscationMarker;
  if (isObfuscated_) beginning_.clear();
}

void DecodedSource::Begin() {
  beginning_.resize(session::kObfuscationMarker.size());
  beginning_.resize(source_->Read(beginning_.data(), beginning_.size()));
}

size_t DecodedSource::Read(char* to, size_t size) {
  const size_t given = beginning_.copy(to, size);
  beginning_.erase(0, given);
  const size_t got = given < size ? source_->Read(to + given, size - given) : 0;
  if (isObfuscated_) util::Rotate({to, got});
  return given + got;
}

}  // namespace vantra::reader
