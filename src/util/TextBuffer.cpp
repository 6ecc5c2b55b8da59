#include "util/TextBuffer.h"

#include <algorithm>

namespace vantra::util {

void TextBuffer::Grow(size_t extra) {
  const size_t capacity = std::max(capacity_ * 2, size_ + extra);
  char* grown = new char[capacity];
  if (size_ != 0) std::memcpy(grown, data_, size_);
  delete[] owned_;
  data_ = owned_ = grown;
  capacity_ = capacity;
}

void TextBuffer::Release() noexcept {
  if (owned_ == nullptr) return;
  delete[] owned_;
  data_ = owned_ = nullptr;
  size_ = capacity_ = 0;
}

}  // namespace vantra::util
