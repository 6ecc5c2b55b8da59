#include "reader/Gunzip.h"

#include <zlib.h>

#include <algorithm>
#include <limits>
#include <new>
#include <vector>

namespace vantra::reader {

struct Gunzip::State {
  z_stream stream{};
  bool isBetweenMembers = false;
  std::vector<char> input;
};

Gunzip::Gunzip(Source& packed, std::string_view beginning)
    : packed_(packed), state_(std::make_unique<State>()) {
  constexpr int kGzipOnly = 16 + MAX_WBITS;
  if (inflateInit2(&state_->stream, kGzipOnly) != Z_OK) throw std::bad_alloc();
  constexpr size_t kPiece = size_t{64} << 10;
  state_->input.resize(std::max(kPiece, beginning.size()));
  const size_t size = beginning.copy(state_->input.data(), beginning.size());
  state_->stream.next_in = reinterpret_cast<Bytef*>(state_->input.data());
  state_->stream.avail_in = static_cast<uInt>(size);
}

Gunzip::~Gunzip() { inflateEnd(&state_->stream); }

bool Gunzip::Refill() {
  z_stream& stream = state_->stream;
  const size_t size = packed_.Read(state_->input.data(), state_->input.size());
  stream.next_in = reinterpret_cast<Bytef*>(state_->input.data());
  stream.avail_in = static_cast<uInt>(size);
  if (size != 0) return true;
  if (!packed_.Error().empty()) {
    error_ = packed_.Error();
  } else if (!state_->isBetweenMembers) {
    error_ = "the packed data end too early";
  }
  return false;
}

size_t Gunzip::Read(char* to, size_t size) {
  z_stream& stream = state_->stream;
  size_t done = 0;
  while (done < size && error_.empty()) {
    if (stream.avail_in == 0 && !Refill()) break;
    if (state_->isBetweenMembers) {
      inflateReset(&stream);
      state_->isBetweenMembers = false;
    }
    const auto room = static_cast<uInt>(std::min<size_t>(size - done, std::numeric_limits<uInt>::max()));
    stream.next_out = reinterpret_cast<Bytef*>(to + done);
    stream.avail_out = room;
    const int result = inflate(&stream, Z_NO_FLUSH);
    done += room - stream.avail_out;
    if (result == Z_STREAM_END) {
      state_->isBetweenMembers = true;
    } else if (result != Z_OK && result != Z_BUF_ERROR) {
      error_ = "the packed data are damaged";
    }
  }
  return done;
}

}  // namespace vantra::reader
