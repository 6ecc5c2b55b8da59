#include "agent/Gzip.h"

#include <zlib.h>

#include <limits>

namespace vantra::agent {

std::string Gzip(std::string_view text) {
  constexpr int kGzipWindow = MAX_WBITS + 16;
  constexpr int kMemory = 8;
  z_stream stream{};
  if (text.size() > std::numeric_limits<uInt>::max() ||
      deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, kGzipWindow, kMemory, Z_DEFAULT_STRATEGY) !=
          Z_OK)
    return {};
  std::string out(deflateBound(&stream, static_cast<uLong>(text.size())), '\0');
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
  stream.avail_in = static_cast<uInt>(text.size());
  stream.next_out = reinterpret_cast<Bytef*>(out.data());
  stream.avail_out = static_cast<uInt>(out.size());
  const bool isDone = deflate(&stream, Z_FINISH) == Z_STREAM_END;
  out.resize(isDone ? stream.total_out : 0);
  deflateEnd(&stream);
  return out;
}

}  // namespace vantra::agent
