#include "util/Digest.h"

#include "util/Windows.h"
// wincrypt.h needs windows.h before it.
#include <wincrypt.h>

namespace vantra::util {
namespace {

// Longer texts are not remembered, and are hashed each time.
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

}  // namespace

SaltedDigest::~SaltedDigest() {
  // At process end the provider's module may be unloaded already.
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
  // Hashing needs no key container, and opening the default one leaks a handle each time.
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
  WriteHex(value, text_);
  return true;
}

}  // namespace vantra::util
