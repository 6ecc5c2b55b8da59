// Sends documents over WinHTTP, with the platform's proxy and certificate settings, TLS 1.2 or later, and one
// connection that is kept open. No cookies, redirects or sign-on.
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
  // The target must be a server. authorization is the value of the Authorization header, empty for none.
  Upload(const Target& target, std::string_view authorization);
  ~Upload();

  // Uploads body under the document's name and waits for the answer, at most until a deadline of 60 s. After
  // that a thread stays in the platform's call, which cannot be ended: see IsStuck.
  [[nodiscard]] Reply Put(std::string_view documentName, std::string body);

  // Whether a deadline has passed. Then nothing more can be sent, and the process should end without waiting.
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
