#include "util/Digest.h"

#include "util/Windows.h"
// After windows.h, which defines what it needs.
#include <wincrypt.h>

namespace vantra::util {
namespace {

// What is worth remembering of a text; a longer one is hashed each time.
constexpr size_t kLongestRemembered = 4096;

class Md5 {
 public:
  explicit Md5(HCRYPTPROV provider) noexcept {
    if (!CryptCreateHash(provider, CALG_MD5, 0, 0, &hash_)) hash_ = 0;
  }
  Md5(const Md5&) = delete;
  Md5& operator=(const Md5&) = delete;
  ~Md5() {
    if (hash_ != 0) CryptDestroyHash(hash_);
  }

  [[nodiscard]] bool Add(std::string_view bytes) noexcept {
    return hash_ != 0 && CryptHashData(hash_, reinterpret_cast<const BYTE*>(bytes.data()),
                                       static_cast<DWORD>(bytes.size()), 0);
  }

  template <size_t N>
  [[nodiscard]] bool Finish(BYTE (&value)[N]) noexcept {
    DWORD size = N;
    return CryptGetHashParam(hash_, HP_HASHVAL, value, &size, 0) && size == N;
  }

 private:
  HCRYPTHASH hash_ = 0;
};

__m128i LowNibbles(__m128i bytes) noexcept { return _mm_and_si128(bytes, _mm_set1_epi8(15)); }

__m128i HexDigits(__m128i nibbles) noexcept {
  const __m128i isLetter = _mm_cmpgt_epi8(nibbles, _mm_set1_epi8(9));
  const __m128i first =
      _mm_add_epi8(_mm_set1_epi8('0'), _mm_and_si128(isLetter, _mm_set1_epi8('a' - '9' - 1)));
  return _mm_add_epi8(first, nibbles);
}

}  // namespace

SaltedDigest::~SaltedDigest() {
  // At the end of the process the provider's own module may be gone already.
  if (provider_ != 0 && !GlobalItems::IsProcessEnding()) CryptReleaseContext(provider_, 0);
}

bool SaltedDigest::Make(std::string_view bytes) {
  known_ = kNothing;
  if (bytes.size() > kLongestRemembered) return Compute({bytes, salt_});
  salted_.Clear();
  Append(salted_, Raw{bytes}, Raw{salt_});
  if (!Compute({salted_.Text()})) return false;
  known_ = bytes.size();
  return true;
}

bool SaltedDigest::Compute(std::initializer_list<std::string_view> pieces) {
  // Only hashing is asked of the provider, so it needs no key container: the default one costs a handle each
  // time it is opened.
  HCRYPTPROV provider = provider_;
  if (provider == 0 &&
      !CryptAcquireContextW(&provider, nullptr, nullptr, PROV_RSA_FULL, CRYPT_VERIFYCONTEXT)) {
    return false;
  }
  provider_ = provider;

  BYTE value[kMd5Bytes];
  Md5 hash(provider);
  for (const std::string_view piece : pieces) {
    if (!hash.Add(piece)) return false;
  }
  if (!hash.Finish(value)) return false;

  const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(value));
  const __m128i high = LowNibbles(_mm_srli_epi16(bytes, 4));
  const __m128i low = LowNibbles(bytes);
  StoreBlock(text_, HexDigits(_mm_unpacklo_epi8(high, low)));
  StoreBlock(text_ + kBlock, HexDigits(_mm_unpackhi_epi8(high, low)));
  return true;
}

}  // namespace vantra::util
