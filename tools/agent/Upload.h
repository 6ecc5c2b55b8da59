// Sending over WinHTTP, the platform's own: its proxy, its certificates, TLS 1.2 or later, one connection
// that is kept. No cookies, no redirects, no sign-on.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "agent/Answer.h"
#include "agent/Target.h"
#include "util/Windows.h"

namespace vantra::agent {

class Upload {
 public:
  // Target is a server. Authorization is the value of that header, empty for none.
  Upload(const Target& target, std::string_view authorization);
  ~Upload();

  // Puts the bytes in place under that name, and waits for the answer until the deadline at most. When the
  // deadline passes, a thread stays behind in the platform's call, which nothing ends: see IsStuck.
  [[nodiscard]] Reply Put(std::string_view documentName, std::string body);

  // Whether a deadline has passed. Nothing can be sent any more, and the process should end without waiting.
  [[nodiscard]] bool IsStuck() const noexcept { return isStuck_; }

 private:
  struct Connection;
  struct Call;

  static DWORD WINAPI Perform(void* argument);

  Target target_;
  std::shared_ptr<Connection> connection_;
  bool isStuck_ = false;
};

}  // namespace vantra::agent
